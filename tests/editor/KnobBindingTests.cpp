#include "EditorTestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include "sampler/SamplerSoundLog.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

using namespace EditorTestHelpers;

namespace
{
const char* const continuousIds[] = { "volume",  "pan",      "attack",  "decay",    "sustain",  "release",
                                      "rndpitch", "rnddecay", "vel2vol", "vel2offs", "vel2prob", "probabl" };

class KnobBinding : public ::testing::Test
{
protected:
    VantrelSampivoAudioProcessor processor;
    std::unique_ptr<juce::AudioProcessorEditor> editor { processor.createEditor() };

    SampivoEditor& sampivoEditor() { return dynamic_cast<SampivoEditor&> (*editor); }

    juce::SamplerSoundLog* firstSound()
    {
        return dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (0).get());
    }

    // Presses on the knob's face, drags straight up by the given distance and lets go.
    void dragUp (ParameterSlider& knob, float distance, juce::ModifierKeys heldDuringDrag = {})
    {
        const juce::Point<float> start (37.0f, 30.0f);
        knob.mouseDown (mouseEventOn (knob, start, juce::ModifierKeys::leftButtonModifier, start));
        juce::ModifierKeys::currentModifiers = heldDuringDrag;
        const auto end = start.translated (0.0f, -distance);
        knob.mouseDrag (mouseEventOn (knob, end, juce::ModifierKeys::leftButtonModifier, start));
        knob.mouseUp (mouseEventOn (knob, end, {}, start));
        juce::ModifierKeys::currentModifiers = {};
    }
};

const auto ninth = 1.0 / 9.0;
} // namespace

TEST_F (KnobBinding, ContinuousKnobsSpanTheNormalisedRange)
{
    for (const auto* id : continuousIds)
    {
        SCOPED_TRACE (id);
        const auto& knob = knobFor (processor, id);
        EXPECT_EQ (knob.getMinimum(), 0.0);
        EXPECT_EQ (knob.getMaximum(), 1.0);
        EXPECT_EQ (knob.getInterval(), 0.0);
        EXPECT_EQ (knob.getParameter(), parameterWithId (processor, id));
    }
}

TEST_F (KnobBinding, CurveKnobStopsAtTheThreeNamedCurves)
{
    auto& knob = knobFor (processor, "curve");
    EXPECT_EQ (knob.getMinimum(), 0.0);
    EXPECT_NEAR (knob.getMaximum(), 2.0 * ninth, 1.0e-12);
    EXPECT_NEAR (knob.getInterval(), ninth, 1.0e-12);

    // Wherever it is put, it lands on one of three stops.
    for (auto wanted = 0.0; wanted <= 1.0; wanted += 0.01)
    {
        knob.setValue (wanted, juce::dontSendNotification);
        const auto stop = knob.getValue() / ninth;
        EXPECT_NEAR (stop, std::round (stop), 1.0e-9) << wanted;
        EXPECT_LE (std::round (stop), 2.0) << wanted;
    }

    EXPECT_EQ (knob.getTextFromValue (0.0), "Log");
    EXPECT_EQ (knob.getTextFromValue (ninth), "1/x");
    EXPECT_EQ (knob.getTextFromValue (2.0 * ninth), "Atan");
}

TEST_F (KnobBinding, TextBoxShowsTheParametersOwnTextReadOnly)
{
    auto& volume = knobFor (processor, "volume");
    EXPECT_EQ (volume.getTextFromValue (0.5), "+0.0 dB");
    EXPECT_EQ (volume.getTextFromValue (1.0), "+18.1 dB");
    EXPECT_EQ (knobFor (processor, "pan").getTextFromValue (0.75), "+50 %");
    EXPECT_EQ (knobFor (processor, "pan").getTextFromValue (0.5), "  0 %");
    EXPECT_EQ (knobFor (processor, "sustain").getTextFromValue (0.35), "35 %");

    for (const auto* id : continuousIds)
    {
        SCOPED_TRACE (id);
        const auto& knob = knobFor (processor, id);
        EXPECT_FALSE (knob.isTextBoxEditable());
        EXPECT_EQ (knob.getTextBoxPosition(), juce::Slider::TextBoxBelow);
        EXPECT_EQ (knob.getTextBoxHeight(), 20);
        EXPECT_EQ (knob.findColour (juce::Slider::textBoxOutlineColourId), juce::Colour (0x00000000));
        EXPECT_EQ (knob.findColour (juce::Slider::textBoxTextColourId), juce::Colour (0xff909090));
        EXPECT_EQ (knob.getMouseDragSensitivity(), ParameterSlider::normalDragDistance);
        EXPECT_FALSE (knob.getVelocityBasedMode());
    }
}

TEST_F (KnobBinding, OpeningShowsCurrentValuesAtOnce)
{
    VantrelSampivoAudioProcessor other;
    setHostValue (*other.attackParam, 0.8f);
    setHostValue (*other.curveParam, (float) ninth);
    setHostValue (*other.millisecondsParam, 1.0f);

    const std::unique_ptr<juce::AudioProcessorEditor> otherEditor (other.createEditor());
    EXPECT_NEAR (knobFor (other, "attack").getValue(), 0.8, 1.0e-6);
    EXPECT_NEAR (knobFor (other, "curve").getValue(), ninth, 1.0e-6);
    EXPECT_NEAR (knobFor (other, "probabl").getValue(), 1.0, 1.0e-6);
    EXPECT_TRUE (millisecondsToggle (*otherEditor).getToggleState());
}

TEST_F (KnobBinding, DoubleClickAndCtrlClickReturnToTheDefault)
{
    auto& attack = knobFor (processor, "attack");
    setHostValue (*processor.attackParam, 0.9f);
    sampivoEditor().timerCallback();
    ASSERT_NEAR (attack.getValue(), 0.9, 1.0e-6);

    attack.mouseDoubleClick (mouseEventOn (attack, { 37.0f, 30.0f }, {}, { 37.0f, 30.0f }, 2));
    EXPECT_NEAR (valueOf (*processor.attackParam), 0.15f, 1.0e-6f);

    auto& release = knobFor (processor, "release");
    setHostValue (*processor.releaseParam, 0.05f);
    sampivoEditor().timerCallback();
    const juce::ModifierKeys ctrlClick (juce::ModifierKeys::ctrlModifier | juce::ModifierKeys::leftButtonModifier);
    release.mouseDown (mouseEventOn (release, { 37.0f, 30.0f }, ctrlClick, { 37.0f, 30.0f }));
    release.mouseUp (mouseEventOn (release, { 37.0f, 30.0f }, {}, { 37.0f, 30.0f }));
    EXPECT_NEAR (valueOf (*processor.releaseParam), 0.4f, 1.0e-6f);
}

TEST_F (KnobBinding, DragDistanceForTheWholeRange)
{
    auto& sustain = knobFor (processor, "sustain");

    // 250 pixels cover the range, so 100 pixels move it by 0.4.
    dragUp (sustain, 100.0f);
    EXPECT_NEAR (valueOf (*processor.sustainParam), 0.4f, 1.0e-4f);

    // With Alt held as the drag starts, 2500 pixels cover it: 100 pixels give 0.04.
    sustain.setValue (0.0, juce::sendNotificationSync);
    juce::ModifierKeys::currentModifiers = juce::ModifierKeys (juce::ModifierKeys::altModifier);
    dragUp (sustain, 100.0f, juce::ModifierKeys (juce::ModifierKeys::altModifier));
    EXPECT_NEAR (valueOf (*processor.sustainParam), 0.04f, 1.0e-4f);

    // Alt pressed only once the drag is under way leaves that drag coarse.
    sustain.setValue (0.0, juce::sendNotificationSync);
    dragUp (sustain, 100.0f, juce::ModifierKeys (juce::ModifierKeys::altModifier));
    EXPECT_NEAR (valueOf (*processor.sustainParam), 0.4f, 1.0e-4f);
}

TEST_F (KnobBinding, DraggingSendsValuesWithoutGestures)
{
    auto& volume = knobFor (processor, "volume");
    ParameterSpy spy (*processor.volumeParam);

    dragUp (volume, 50.0f);

    EXPECT_GT (spy.valueChanges, 0);
    EXPECT_EQ (spy.gestures, 0);
}

TEST_F (KnobBinding, KnobMoveReachesParameterAndSoundsAtOnce)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("tone.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, 44100.0, 1, 4410, 0.25f));
    loadSamples (processor, { file.getFullPathName() });
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);
    sampivoEditor().timerCallback();

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
    auto* sound = firstSound();
    ASSERT_NE (sound, nullptr);
    EXPECT_NEAR (sound->velToOffset.load(), 0.6f, 1.0e-6f);
    EXPECT_NEAR (sound->pan.load(), 0.5f, 1.0e-6f); // 0.75 of the way from hard left to hard right
}

TEST_F (KnobBinding, HostAutomationReachesTheKnobWithinOneTick)
{
    auto& decay = knobFor (processor, "decay");
    ParameterSpy spy (*processor.decayParam);

    setHostValue (*processor.decayParam, 0.25f);
    EXPECT_NEAR (decay.getValue(), 0.6, 1.0e-6); // not yet: the knob follows on the tick

    // Let the real one-second timer fire; the knob must follow within one tick.
    const auto deadline = juce::Time::getMillisecondCounter() + 1500;

    while (std::abs (decay.getValue() - 0.25) > 1.0e-6 && juce::Time::getMillisecondCounter() < deadline)
        juce::MessageManager::getInstance()->runDispatchLoopUntil (50);

    EXPECT_NEAR (decay.getValue(), 0.25, 1.0e-6);
    EXPECT_NEAR (valueOf (*processor.decayParam), 0.25f, 1.0e-6f);
    EXPECT_EQ (spy.valueChanges, 0); // nothing was sent back to the host
}

TEST_F (KnobBinding, ToggleFollowsTheParameterAtOneHalf)
{
    auto& toggle = millisecondsToggle (*editor);
    ParameterSpy spy (*processor.millisecondsParam);

    setHostValue (*processor.millisecondsParam, 0.5f);
    sampivoEditor().timerCallback();
    EXPECT_TRUE (toggle.getToggleState());

    setHostValue (*processor.millisecondsParam, 0.49f);
    sampivoEditor().timerCallback();
    EXPECT_FALSE (toggle.getToggleState());

    EXPECT_EQ (spy.valueChanges, 0);
}

TEST_F (KnobBinding, ToggleClickWritesTheParameterSoundsFollowOnTheTick)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("tone.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, 44100.0, 1, 4410, 0.25f));
    loadSamples (processor, { file.getFullPathName() });
    sampivoEditor().timerCallback();
    ASSERT_NE (firstSound(), nullptr);
    ASSERT_FALSE (firstSound()->offsetInSeconds.load());

    processor.controlsNeedUpdate.store (false);
    auto& toggle = millisecondsToggle (*editor);
    toggle.setToggleState (true, juce::sendNotificationSync);

    EXPECT_EQ (valueOf (*processor.millisecondsParam), 1.0f);
    EXPECT_FALSE (processor.controlsNeedUpdate.load());
    EXPECT_FALSE (firstSound()->offsetInSeconds.load());

    sampivoEditor().timerCallback();
    EXPECT_TRUE (firstSound()->offsetInSeconds.load());

    toggle.setToggleState (false, juce::sendNotificationSync);
    EXPECT_EQ (valueOf (*processor.millisecondsParam), 0.0f);
}

TEST_F (KnobBinding, ClosingTheEditorReleasesEveryParameter)
{
    editor.reset();

    // Parameters outlive the editor and must not call into destroyed knobs.
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (0.3f);

    EXPECT_NEAR (valueOf (*processor.volumeParam), 0.3f, 1.0e-6f);

    // A second editor on the same processor binds afresh.
    editor.reset (processor.createEditor());
    EXPECT_NEAR (knobFor (processor, "volume").getValue(), 0.3, 1.0e-6);
}

TEST (ParameterSliderBinding, BackPointerLivesAsLongAsTheKnob)
{
    VantrelSampivoAudioProcessor processor;
    auto& parameter = *processor.sustainParam;

    {
        ParameterSlider unbound;
        EXPECT_EQ (unbound.getParameter(), nullptr);
        EXPECT_EQ (unbound.getSliderStyle(), juce::Slider::RotaryVerticalDrag);
    }
    EXPECT_EQ (parameter.getAttachedSlider(), nullptr);

    {
        ParameterSlider knob;
        knob.bindToParameter (&parameter);
        EXPECT_EQ (parameter.getAttachedSlider(), &knob);
        EXPECT_TRUE (knob.getValueChangeListener().hasChanged());

        // The knob alone never writes its parameter; only the editor does.
        knob.setValue (0.7, juce::sendNotificationSync);
        EXPECT_EQ (valueOf (parameter), 0.0f);
    }

    EXPECT_EQ (parameter.getAttachedSlider(), nullptr);
    parameter.setValueNotifyingHost (0.5f); // no listener of the destroyed knob is left to call
    EXPECT_EQ (valueOf (parameter), 0.5f);
}

TEST_F (KnobBinding, EditorIgnoresAKnobWithoutParameter)
{
    ParameterSlider stray;
    stray.setValue (0.9, juce::dontSendNotification);
    processor.controlsNeedUpdate.store (false);

    sampivoEditor().sliderValueChanged (&stray);
    sampivoEditor().sliderValueChanged (nullptr);

    EXPECT_FALSE (processor.controlsNeedUpdate.load());
    for (auto* parameter : processor.getParameters())
        EXPECT_NE (valueOf (*parameter), 0.9f);
}
