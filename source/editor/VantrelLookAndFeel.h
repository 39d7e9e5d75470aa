#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <map>
#include <vector>

/** The editor's drawing style: bevelled grey knobs with a white pointer and a ring of
    tick marks, light grey value texts and captions at 80 % of the base font height.
*/
class VantrelLookAndFeel : public juce::LookAndFeel_V4
{
public:
    VantrelLookAndFeel();

    //==============================================================================
    void drawButtonBackground (juce::Graphics& g, juce::Button& button, const juce::Colour& backgroundColour,
                               bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown) override;
    juce::Font getTextButtonFont (juce::TextButton& button, int buttonHeight) override;
    void drawButtonText (juce::Graphics& g, juce::TextButton& button,
                         bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown) override;

    juce::Font getLabelFont (juce::Label& label) override;

    void drawRotarySlider (juce::Graphics& g, int x, int y, int width, int height, float sliderPos,
                           float rotaryStartAngle, float rotaryEndAngle, juce::Slider& slider) override;

    //==============================================================================
    /** The fraction of the knob's travel between two tick marks: the knob's own step
        when it is coarse enough to be worth marking, otherwise a tenth. */
    static float tickStep (double interval, double minimum, double maximum);

    /** The positions (0 to 1) of the ticks for a step, summed in float as drawn. */
    static std::vector<float> tickPositions (float step);

    /** The face asked for by name, and the one used where it isn't installed: the usual
        sans-serif face of Linux desktops. Without either, the platform's own sans-serif
        face is used. */
    static constexpr const char* preferredFaceName = "Microsoft Sans Serif";
    static constexpr const char* fallbackFaceName = "DejaVu Sans";

    /** The installed face that texts are drawn in, or empty for the platform's own. It
        is decided once per process: listing the installed fonts is slow. */
    static juce::String getFaceName();

    static constexpr float baseFontHeight = 18.0f;

private:
    /** The knob geometry shared by every part of one knob's drawing. */
    struct KnobGeometry
    {
        double radius, bevel, lineUnit, centreX, centreY;
        float tickLength;
        float startAngle, endAngle;
    };

    void drawTicks (juce::Graphics& g, const KnobGeometry& knob, const juce::Slider& slider, bool underPass) const;
    void drawColouredRanges (juce::Graphics& g, const KnobGeometry& knob, const juce::Slider& slider, float valueAngle);

    // Coloured stretches of a knob's value arc, by knob and by normalised end position.
    // Nothing fills it yet; a knob gains an empty entry the first time it is drawn.
    std::map<const juce::Slider*, std::map<float, juce::Colour>> colouredRanges;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VantrelLookAndFeel)
};
