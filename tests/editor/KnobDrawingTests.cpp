#include "EditorTestHelpers.h"

#include <gtest/gtest.h>

using namespace EditorTestHelpers;

namespace
{
size_t ticksOn (const juce::Slider& knob)
{
    const auto step = VantrelLookAndFeel::tickStep (knob.getInterval(), knob.getMinimum(), knob.getMaximum());
    return VantrelLookAndFeel::tickPositions (step).size();
}
} // namespace

TEST (KnobDrawing, ElevenTicksOnContinuousKnobsThreeOnTheCurve)
{
    VantrelSampivoAudioProcessor processor;
    const std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditor());

    for (auto* knob : childrenOfType<ParameterSlider> (*editor))
    {
        const auto isCurve = knob->getParameter() == processor.curveParam;
        EXPECT_EQ (ticksOn (*knob), isCurve ? 3u : 11u) << knob->getParameter()->paramID;
    }
}

TEST (KnobDrawing, TickStepRule)
{
    // Steps too coarse or too fine to mark are replaced by a tenth of the range.
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (0.8, 0.0, 1.0), 0.1f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (0.79, 0.0, 1.0), 0.79f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (0.0, 0.0, 1.0), 0.1f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (0.01, 0.0, 1.0), 0.1f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (0.02, 0.0, 1.0), 0.02f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (2.0, 0.0, 8.0), 0.25f);
    EXPECT_FLOAT_EQ (VantrelLookAndFeel::tickStep (1.0, 0.0, 0.0), 0.1f);

    // A kept step of 0.79 marks the start and one more position; a replaced one eleven.
    EXPECT_EQ (VantrelLookAndFeel::tickPositions (VantrelLookAndFeel::tickStep (0.79, 0.0, 1.0)).size(), 2u);
    EXPECT_EQ (VantrelLookAndFeel::tickPositions (VantrelLookAndFeel::tickStep (0.8, 0.0, 1.0)).size(), 11u);
    EXPECT_EQ (VantrelLookAndFeel::tickPositions (0.25f).size(), 5u);

    const auto tenths = VantrelLookAndFeel::tickPositions (0.1f);
    EXPECT_FLOAT_EQ (tenths.front(), 0.0f);
    EXPECT_NEAR (tenths.back(), 1.0f, 1.0e-5f);
}

TEST (KnobDrawing, PointerFollowsTheValue)
{
    VantrelSampivoAudioProcessor processor;
    const std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditor());
    auto& knob = knobFor (processor, "sustain");

    // The pointer's near-white paint sits left of centre at the start of the travel and
    // right of it at the end (the travel runs clockwise from lower left to lower right).
    const auto pointerBalance = [&knob] (double value)
    {
        knob.setValue (value, juce::dontSendNotification);
        const auto image = knob.createComponentSnapshot (knob.getLocalBounds(), true, 1.0f);
        const juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readOnly);
        auto left = 0, right = 0;

        for (auto y = 0; y < image.getHeight(); ++y)
            for (auto x = 0; x < image.getWidth(); ++x)
                if (pixels.getPixelColour (x, y).getARGB() == 0xfff0f0f0)
                    (x < image.getWidth() / 2 ? left : right) += 1;

        return std::make_pair (left, right);
    };

    const auto [startLeft, startRight] = pointerBalance (0.0);
    const auto [endLeft, endRight] = pointerBalance (1.0);
    EXPECT_GT (startLeft, 3);
    EXPECT_EQ (startRight, 0);
    EXPECT_GT (endRight, 3);
    EXPECT_EQ (endLeft, 0);
}
