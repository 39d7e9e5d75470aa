#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

#include <string>
#include <vector>

class ParameterSlider;

namespace juce
{

/** A float parameter whose own range is always 0..1 (so the host, the saved state and
    the engine all see normalised values) and which shows that value in display units.

    The display minimum/maximum, the display kind and the unit label only shape the text;
    the kind picks one of the formatting rules in getDisplayText(). The choice constructor
    makes a list parameter (kind 10) whose choice count may exceed the number of names.
*/
class AudioParameterFloatVantrel : public AudioParameterFloat
{
public:
    /** Display kinds understood by getDisplayText(); other values use the generic rule. */
    enum DisplayKind
    {
        percent = 2,
        cubicRange = 3,
        cubicDecibelsSmall = 4,
        cubicDecibels = 5,
        frequency = 6,
        logTime = 7,
        linearSigned15 = 8,
        squaredOctaves = 9,
        choiceList = 10,
        bipolar = 11,
        ratio = 12,
        logDuration = 13
    };

    AudioParameterFloatVantrel (const String& parameterID, const String& parameterName,
                                float displayMinimum, float displayMaximum,
                                float defaultNormalisedValue, int displayKind,
                                const std::string& unitLabel);

    AudioParameterFloatVantrel (const String& parameterID, const String& parameterName,
                                float displayMinimum, float displayMaximum,
                                int defaultChoiceIndex, const std::vector<std::string>& choiceNames,
                                int numberOfChoices);

    ~AudioParameterFloatVantrel() override;

    /** The text the host and the editor show for a normalised value. */
    String getDisplayText (float normalisedValue) const;

    /** The duration text of a number of seconds: the largest non-zero unit only,
        e.g. 0.25 gives "250 ms" and 90 gives "1 minute". Empty below a microsecond. */
    static std::string formatDuration (double seconds);

    int getDisplayKind() const noexcept                         { return displayKind; }
    int getNumberOfChoices() const noexcept                     { return numberOfChoices; }
    float getDisplayMinimum() const noexcept                    { return displayMinimum; }
    float getDisplayMaximum() const noexcept                    { return displayMaximum; }
    const std::string& getUnitLabel() const noexcept            { return unitLabel; }
    const std::vector<std::string>& getChoiceNames() const noexcept { return choiceNames; }
    float getStoredDefault() const noexcept                     { return storedDefault; }

    /** The knob that shows this parameter; the parameter never uses it itself. */
    ParameterSlider* getAttachedSlider() const noexcept         { return attachedSlider; }
    void setAttachedSlider (ParameterSlider* slider) noexcept   { attachedSlider = slider; }

private:
    void applyPlainValue (float normalisedValue);
    std::string formatValue (float v) const;
    std::string formatGeneric (float v) const;

    static std::string defaultLabelForKind (int kind);

    int displayKind = 0;
    int numberOfChoices = 0;
    float displayMinimum = 0.0f;
    float displayMaximum = 1.0f;
    std::string unitLabel;
    std::vector<std::string> choiceNames;
    float storedDefault = 0.0f;
    ParameterSlider* attachedSlider = nullptr;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AudioParameterFloatVantrel)
};

} // namespace juce
