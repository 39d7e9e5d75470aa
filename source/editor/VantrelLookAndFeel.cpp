#include "editor/VantrelLookAndFeel.h"

#include <cmath>

namespace
{
// The shadow radius never drops below one pixel however small the knob.
int shadowRadius (double length)
{
    return juce::jmax (1, (int) length);
}

juce::Path ellipseAround (double centreX, double centreY, double radius)
{
    juce::Path path;
    path.addEllipse ((float) (centreX - radius), (float) (centreY - radius),
                     (float) (2.0 * radius), (float) (2.0 * radius));
    return path;
}
} // namespace

VantrelLookAndFeel::VantrelLookAndFeel()
{
    setColour (juce::Slider::textBoxTextColourId, juce::Colour (0xffa0a0a0));

    // Asking for a face that isn't installed would leave texts without glyphs on some
    // platforms, so the platform's default sans-serif face stays in charge there.
    if (const auto face = getFaceName(); face.isNotEmpty())
        setDefaultSansSerifTypefaceName (face);
}

juce::String VantrelLookAndFeel::getFaceName()
{
    static const juce::String face = []
    {
        const auto installed = juce::Font::findAllTypefaceNames();

        for (const auto* name : { preferredFaceName, fallbackFaceName })
            if (installed.contains (name))
                return juce::String (name);

        return juce::String();
    }();

    return face;
}

//==============================================================================
void VantrelLookAndFeel::drawButtonBackground (juce::Graphics& g, juce::Button& button, const juce::Colour&,
                                               bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown)
{
    const auto bounds = button.getLocalBounds().toFloat().reduced (0.5f);
    const auto lit = shouldDrawButtonAsHighlighted || shouldDrawButtonAsDown || button.getToggleState();

    g.setColour (lit ? juce::Colour (0xff505050) : juce::Colours::black);
    g.fillRect (bounds);
}

juce::Font VantrelLookAndFeel::getTextButtonFont (juce::TextButton&, int)
{
    return juce::Font (baseFontHeight);
}

void VantrelLookAndFeel::drawButtonText (juce::Graphics& g, juce::TextButton& button,
                                         bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown)
{
    const auto lit = shouldDrawButtonAsHighlighted || shouldDrawButtonAsDown || button.getToggleState();

    g.setFont (getTextButtonFont (button, button.getHeight()));
    g.setColour (lit ? juce::Colours::white : juce::Colour (0xffa0a0a0));
    g.drawFittedText (button.getButtonText(), button.getLocalBounds().reduced (2), juce::Justification::centred, 1);
}

juce::Font VantrelLookAndFeel::getLabelFont (juce::Label& label)
{
    return label.getFont().withHeight (baseFontHeight * 0.8f);
}

//==============================================================================
float VantrelLookAndFeel::tickStep (double interval, double minimum, double maximum)
{
    const auto range = maximum - minimum;
    const auto step = range > 0.0 ? (float) (interval / range) : 0.0f;

    // Continuous knobs (and knobs with too many or too few stops) get a tick every tenth.
    if (step < 0.019f || step > 0.79f)
        return 0.1f;

    return step;
}

std::vector<float> VantrelLookAndFeel::tickPositions (float step)
{
    std::vector<float> positions;

    for (auto position = 0.0f; position <= 1.01f; position += step)
        positions.push_back (position);

    return positions;
}

void VantrelLookAndFeel::drawTicks (juce::Graphics& g, const KnobGeometry& knob, const juce::Slider& slider,
                                    bool underPass) const
{
    const auto step = tickStep (slider.getInterval(), slider.getMinimum(), slider.getMaximum());
    const auto widthFactor = underPass ? 0.707 : 0.4;
    const auto tickWidth = widthFactor * knob.lineUnit;

    for (const auto position : tickPositions (step))
    {
        // One long edge of the tick lies on the radius line, so the mark stands beside it.
        juce::Path tick;
        tick.addRectangle ((float) -tickWidth, (float) -(knob.radius - knob.lineUnit),
                           (float) tickWidth, knob.tickLength);
        tick.applyTransform (juce::AffineTransform::rotation (knob.startAngle + position * (knob.endAngle - knob.startAngle))
                                 .translated ((float) knob.centreX, (float) knob.centreY));

        if (underPass)
        {
            juce::DropShadow (juce::Colour (0x40ffffff), shadowRadius (0.1 * knob.lineUnit),
                              { 0, (int) (0.25 * knob.lineUnit) })
                .drawForPath (g, tick);
            g.setColour (juce::Colour (0xff000000));
        }
        else
        {
            g.setColour (juce::Colour (0x50000000));
        }

        g.fillPath (tick);
    }
}

void VantrelLookAndFeel::drawColouredRanges (juce::Graphics& g, const KnobGeometry& knob, const juce::Slider& slider,
                                             float valueAngle)
{
    const auto arcRadius = (float) (int) (knob.radius - 2.25 * knob.lineUnit);
    auto runningStart = knob.startAngle;

    for (const auto& [position, colour] : colouredRanges[&slider])
    {
        const auto endAngle = juce::jmin (valueAngle, knob.startAngle + position * (knob.endAngle - knob.startAngle));

        if (runningStart < valueAngle)
        {
            juce::Path arc;
            arc.addCentredArc ((float) knob.centreX, (float) knob.centreY, arcRadius, arcRadius, 0.0f,
                               runningStart, endAngle, true);
            g.setColour (colour);
            g.strokePath (arc, juce::PathStrokeType (1.8f * knob.tickLength));
            runningStart = endAngle;
        }
    }
}

void VantrelLookAndFeel::drawRotarySlider (juce::Graphics& g, int x, int y, int width, int height, float sliderPos,
                                           float rotaryStartAngle, float rotaryEndAngle, juce::Slider& slider)
{
    KnobGeometry knob {};
    knob.radius = juce::jmin (0.4 * width, 0.4 * height);
    knob.bevel = 0.2 * knob.radius;
    knob.lineUnit = 0.04 * knob.radius;
    // The knob sits a little below the middle, leaving room for the caption above it.
    knob.centreX = x + 0.5 * width;
    knob.centreY = y + 0.5 * height + 6.0;
    knob.tickLength = (float) (0.1 * knob.radius);
    knob.startAngle = rotaryStartAngle;
    knob.endAngle = rotaryEndAngle;

    const auto r = knob.radius;
    const auto t = knob.lineUnit;
    const auto cx = knob.centreX;
    const auto cy = knob.centreY;
    const auto valueAngle = rotaryStartAngle + sliderPos * (rotaryEndAngle - rotaryStartAngle);

    drawTicks (g, knob, slider, true);
    drawColouredRanges (g, knob, slider, valueAngle);
    drawTicks (g, knob, slider, false);

    // Outer ring, lifted by a faint shadow above it.
    const auto ring = ellipseAround (cx, cy, 1.02 * r);
    g.setColour (juce::Colour (0xff000000));
    g.fillPath (ring);
    juce::DropShadow (juce::Colour (0x50000000), shadowRadius (0.5 * t), { 0, -(int) t }).drawForPath (g, ring);

    // The face casts its shadow downwards into the ring.
    juce::DropShadow (juce::Colour (0xff000000), shadowRadius (t), { 0, (int) t })
        .drawForPath (g, ellipseAround (cx, cy, 0.8 * r));

    // Bevel: a light edge above and a dark edge below the face.
    const auto side = 2.0 * r - 2.0 * knob.bevel;
    const juce::Rectangle<float> inner ((float) (cx - r + knob.bevel), (float) (cy - r + knob.bevel),
                                        (float) side, (float) side);
    g.setColour (juce::Colour (0xffffffff));
    g.fillEllipse (inner.translated (0.0f, -1.0f));
    g.setColour (juce::Colour (0xff000000));
    g.fillEllipse (inner.translated (0.0f, 1.0f));

    g.setGradientFill (juce::ColourGradient (juce::Colour (0xffa0a0a0), (float) cx, (float) (cy - 0.6 * r),
                                             juce::Colour (0xff707070), (float) cx, (float) (cy + r + 0.1), true));
    g.fillEllipse (inner);

    // Pointer: from near the face's rim towards the centre, at the value angle.
    juce::Path pointer;
    pointer.addRectangle ((float) (-1.5 * t), (float) -(0.8 * r - 2.0 * t), (float) (3.0 * t), (float) (0.4 * r));
    pointer.applyTransform (juce::AffineTransform::rotation (valueAngle).translated ((float) cx, (float) cy));
    juce::DropShadow (juce::Colour (0xff000000), shadowRadius (0.5 * t), { 0, (int) t }).drawForPath (g, pointer);
    g.setColour (juce::Colour (0xfff0f0f0));
    g.fillPath (pointer);
}
