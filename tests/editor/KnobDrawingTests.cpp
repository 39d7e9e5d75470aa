#include "EditorTestHelpers.h"

using namespace EditorTestHelpers;

using KnobDrawing = EditorFixture;

TEST_F (KnobDrawing, ElevenTicksOnContinuousKnobsThreeOnTheCurve)
{
    for (auto* knob : childrenOfType<ParameterSlider> (*editor))
    {
        const auto step = VantrelLookAndFeel::tickStep (knob->getInterval(), knob->getMinimum(), knob->getMaximum());
        const auto isCurve = knob->getParameter() == processor.curveParam;
        EXPECT_EQ (VantrelLookAndFeel::tickPositions (step).size(), isCurve ? 3u : 11u) << knob->getParameter()->paramID;
    }
}

TEST (KnobDrawingRule, StepsTooCoarseOrTooFineBecomeATenthOfTheRange)
{
    const struct { double interval, minimum, maximum; float step; size_t ticks; } rows[] = {
        { 0.79, 0.0, 1.0, 0.79f, 2 }, // kept: the start and one more position
        { 0.8, 0.0, 1.0, 0.1f, 11 },  { 0.0, 0.0, 1.0, 0.1f, 11 },    { 0.01, 0.0, 1.0, 0.1f, 11 },
        { 0.02, 0.0, 1.0, 0.02f, 51 }, { 2.0, 0.0, 8.0, 0.25f, 5 },   { 1.0, 0.0, 0.0, 0.1f, 11 },
    };

    for (const auto& row : rows)
    {
        SCOPED_TRACE (row.interval);
        const auto step = VantrelLookAndFeel::tickStep (row.interval, row.minimum, row.maximum);
        EXPECT_FLOAT_EQ (step, row.step);
        const auto positions = VantrelLookAndFeel::tickPositions (step);
        EXPECT_EQ (positions.size(), row.ticks);
        EXPECT_FLOAT_EQ (positions.front(), 0.0f);
        EXPECT_NEAR (positions.back(), step * float (row.ticks - 1), 1.0e-4f);
    }
}

TEST_F (KnobDrawing, PointerFollowsTheValue)
{
    // The pointer's near-white paint sits left of centre at the start of the travel and
    // right of it at the end (the travel runs clockwise from lower left to lower right).
    auto& knob = knobFor (processor, "sustain");
    const auto pointerPixels = [&knob] (double value, bool leftHalf)
    {
        knob.setValue (value, juce::dontSendNotification);
        const auto image = knob.createComponentSnapshot (knob.getLocalBounds(), true, 1.0f);
        return countPixels (image, [&] (int x, int, juce::Colour c)
                            { return c.getARGB() == 0xfff0f0f0 && (x < image.getWidth() / 2) == leftHalf; });
    };

    EXPECT_GT (pointerPixels (0.0, true), 3);
    EXPECT_EQ (pointerPixels (0.0, false), 0);
    EXPECT_GT (pointerPixels (1.0, false), 3);
    EXPECT_EQ (pointerPixels (1.0, true), 0);
}
