#include "EditorTestHelpers.h"

using namespace EditorTestHelpers;

namespace
{
const auto ninth = 1.0 / 9.0;
const juce::Point<float> onTheFace { 37.0f, 30.0f };

class KnobBinding : public EditorFixture
{
protected:
    // Presses on the knob's face, drags straight up by the given distance and lets go.
    static void dragUp (ParameterSlider& knob, float distance, juce::ModifierKeys atStart, juce::ModifierKeys during)
    {
        juce::ModifierKeys::currentModifiers = atStart;
        knob.mouseDown (mouseEventOn (knob, onTheFace, juce::ModifierKeys::leftButtonModifier, onTheFace));
        juce::ModifierKeys::currentModifiers = during;
        const auto end = onTheFace.translated (0.0f, -distance);
        knob.mouseDrag (mouseEventOn (knob, end, juce::ModifierKeys::leftButtonModifier, onTheFace));
        knob.mouseUp (mouseEventOn (knob, end, {}, onTheFace));
        juce::ModifierKeys::currentModifiers = {};
    }
};
} // namespace

TEST_F (KnobBinding, RangesAndReadOnlyTextBoxes)
{
    for (auto* knob : childrenOfType<ParameterSlider> (*editor))
    {
        const auto isCurve = knob->getParameter() == processor.curveParam;
        SCOPED_TRACE (knob->getParameter()->paramID);
        EXPECT_EQ (knob->getMinimum(), 0.0);
        EXPECT_NEAR (knob->getMaximum(), isCurve ? 2.0 * ninth : 1.0, 1.0e-12);
        EXPECT_NEAR (knob->getInterval(), isCurve ? ninth : 0.0, 1.0e-12);
        EXPECT_EQ (knob->getSliderStyle(), juce::Slider::RotaryVerticalDrag);
        EXPECT_FALSE (knob->isTextBoxEditable());
        EXPECT_EQ (knob->getTextBoxPosition(), juce::Slider::TextBoxBelow);
        EXPECT_EQ (knob->getTextBoxHeight(), 20);
        EXPECT_EQ (knob->findColour (juce::Slider::textBoxOutlineColourId), juce::Colour (0x00000000));
        EXPECT_EQ (knob->findColour (juce::Slider::textBoxTextColourId), juce::Colour (0xff909090));
        EXPECT_FALSE (knob->getVelocityBasedMode());
    }

    // Wherever the curve knob is put, it lands on one of its three stops.
    auto& curve = knobFor (processor, "curve");
    for (auto wanted = 0.0; wanted <= 1.0; wanted += 0.01)
    {
        curve.setValue (wanted, juce::dontSendNotification);
        const auto stop = curve.getValue() / ninth;
        EXPECT_NEAR (stop, std::round (stop), 1.0e-9) << wanted;
        EXPECT_LE (std::round (stop), 2.0) << wanted;
    }
}

TEST_F (KnobBinding, TextBoxShowsTheParametersOwnText)
{
    const struct { const char* id; double value; const char* text; } rows[] = {
        { "curve", 0.0, "Log" },          { "curve", ninth, "1/x" },    { "curve", 2.0 * ninth, "Atan" },
        { "volume", 0.5, "+0.0 dB" },     { "volume", 1.0, "+18.1 dB" }, { "pan", 0.75, "+50 %" },
        { "pan", 0.5, "  0 %" },          { "sustain", 0.35, "35 %" },
    };

    for (const auto& row : rows)
        EXPECT_EQ (knobFor (processor, row.id).getTextFromValue (row.value), row.text) << row.id << " " << row.value;
}

TEST_F (KnobBinding, DoubleClickAndCtrlClickReturnToTheDefault)
{
    const struct { const char* id; float moved; float defaultValue; bool ctrlClick; } rows[] = {
        { "attack", 0.9f, 0.15f, false }, { "release", 0.05f, 0.4f, true }, { "curve", 2.0f / 9.0f, 0.0f, false },
    };

    for (const auto& row : rows)
    {
        SCOPED_TRACE (row.id);
        auto& knob = knobFor (processor, row.id);
        setHostValue (*knob.getParameter(), row.moved);
        sampivoEditor().timerCallback();
        ASSERT_NEAR (knob.getValue(), row.moved, 1.0e-6);

        if (row.ctrlClick)
        {
            const juce::ModifierKeys ctrl (juce::ModifierKeys::ctrlModifier | juce::ModifierKeys::leftButtonModifier);
            knob.mouseDown (mouseEventOn (knob, onTheFace, ctrl, onTheFace));
            knob.mouseUp (mouseEventOn (knob, onTheFace, {}, onTheFace));
        }
        else
        {
            knob.mouseDoubleClick (mouseEventOn (knob, onTheFace, {}, onTheFace, 2));
        }

        EXPECT_NEAR (valueOf (*knob.getParameter()), row.defaultValue, 1.0e-6f);
    }
}

TEST_F (KnobBinding, DragCoversTheRangeIn250PixelsOr2500WithAltAtTheStart)
{
    const juce::ModifierKeys alt (juce::ModifierKeys::altModifier);
    // 100 pixels of drag: 0.4 of the range normally, 0.04 when Alt is held as the drag
    // starts; Alt pressed only once the drag is under way leaves that drag coarse.
    const struct { juce::ModifierKeys atStart, during; float expected; } rows[] = {
        { {}, {}, 0.4f }, { alt, alt, 0.04f }, { {}, alt, 0.4f },
    };

    auto& sustain = knobFor (processor, "sustain");
    ParameterSpy spy (*processor.sustainParam);

    for (const auto& row : rows)
    {
        sustain.setValue (0.0, juce::sendNotificationSync);
        dragUp (sustain, 100.0f, row.atStart, row.during);
        EXPECT_NEAR (valueOf (*processor.sustainParam), row.expected, 1.0e-4f);
    }

    EXPECT_GT (spy.valueChanges, 0);
    EXPECT_EQ (spy.gestures, 0);
}

TEST_F (KnobBinding, KnobAndToggleMovesReachTheParameterAndTheSounds)
{
    loadSamples (processor, { writeTone ("tone.wav") });
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);
    sampivoEditor().timerCallback();
    auto* sound = firstSound();
    ASSERT_NE (sound, nullptr);

    processor.controlsNeedUpdate.store (false);
    processor.controlCounter.store (77);
    ParameterSpy spy (*processor.velToOffsetParam);

    knobFor (processor, "vel2offs").setValue (0.6, juce::sendNotificationSync);
    knobFor (processor, "pan").setValue (0.75, juce::sendNotificationSync);

    EXPECT_NEAR (valueOf (*processor.velToOffsetParam), 0.6f, 1.0e-6f);
    EXPECT_EQ (spy.valueChanges, 1);
    EXPECT_TRUE (processor.controlsNeedUpdate.load());
    EXPECT_EQ (processor.controlCounter.load(), 0);

    // The sound carries the new values without waiting for a block or a timer tick.
    EXPECT_NEAR (sound->velToOffset.load(), 0.6f, 1.0e-6f);
    EXPECT_NEAR (sound->pan.load(), 0.5f, 1.0e-6f); // 0.75 of the way from hard left to hard right

    // A toggle click writes the parameter alone; the sounds follow on the next tick.
    processor.controlsNeedUpdate.store (false);
    ASSERT_FALSE (sound->offsetInSeconds.load());
    onlyChild<juce::ToggleButton> (*editor).setToggleState (true, juce::sendNotificationSync);
    EXPECT_EQ (valueOf (*processor.millisecondsParam), 1.0f);
    EXPECT_FALSE (processor.controlsNeedUpdate.load());
    EXPECT_FALSE (sound->offsetInSeconds.load());

    sampivoEditor().timerCallback();
    EXPECT_TRUE (sound->offsetInSeconds.load());
}

TEST_F (KnobBinding, HostChangesReachKnobAndToggleWithinOneTickWithoutBeingSentBack)
{
    auto& decay = knobFor (processor, "decay");
    auto& toggle = onlyChild<juce::ToggleButton> (*editor);
    ParameterSpy decaySpy (*processor.decayParam), toggleSpy (*processor.millisecondsParam);

    setHostValue (*processor.decayParam, 0.25f);
    EXPECT_NEAR (decay.getValue(), 0.6, 1.0e-6); // not yet: the knob follows on the tick

    // Let the real one-second timer fire; the knob must follow within one tick.
    const auto deadline = juce::Time::getMillisecondCounter() + 1500;

    while (std::abs (decay.getValue() - 0.25) > 1.0e-6 && juce::Time::getMillisecondCounter() < deadline)
        juce::MessageManager::getInstance()->runDispatchLoopUntil (50);

    EXPECT_NEAR (decay.getValue(), 0.25, 1.0e-6);
    EXPECT_NEAR (valueOf (*processor.decayParam), 0.25f, 1.0e-6f);

    // The toggle is on from one half upwards.
    for (const auto& [value, on] : { std::make_pair (0.5f, true), std::make_pair (0.49f, false) })
    {
        setHostValue (*processor.millisecondsParam, value);
        sampivoEditor().timerCallback();
        EXPECT_EQ (toggle.getToggleState(), on) << value;
    }

    EXPECT_EQ (decaySpy.valueChanges + toggleSpy.valueChanges, 0);
}

TEST_F (KnobBinding, KnobsAndParametersOutliveEachOther)
{
    editor.reset();

    // Parameters outlive the editor and must not call into destroyed knobs.
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (0.8f);
    processor.curveParam->setValueNotifyingHost ((float) ninth);

    {
        ParameterSlider knob;
        knob.bindToParameter (processor.sustainParam);
        EXPECT_EQ (processor.sustainParam->getAttachedSlider(), &knob);
        EXPECT_TRUE (knob.getValueChangeListener().hasChanged());

        // The knob alone never writes its parameter; only the editor does.
        knob.setValue (0.3, juce::sendNotificationSync);
        EXPECT_EQ (valueOf (*processor.sustainParam), 0.8f);
    }

    EXPECT_EQ (processor.sustainParam->getAttachedSlider(), nullptr);
    processor.sustainParam->setValueNotifyingHost (0.5f); // no listener of the destroyed knob is left

    // A new editor shows the current values at once.
    editor.reset (processor.createEditor());
    EXPECT_NEAR (knobFor (processor, "attack").getValue(), 0.8, 1.0e-6);
    EXPECT_NEAR (knobFor (processor, "sustain").getValue(), 0.5, 1.0e-6);
    EXPECT_NEAR (knobFor (processor, "curve").getValue(), ninth, 1.0e-6);
    EXPECT_TRUE (onlyChild<juce::ToggleButton> (*editor).getToggleState());
}
