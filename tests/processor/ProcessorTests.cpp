#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerVoiceLog.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

namespace
{
struct ProcessorFixture : public ::testing::Test
{
    ProcessorFixture()
    {
        processor.setRateAndBufferSizeDetails (48000.0, 512);
        processor.prepareToPlay (48000.0, 512);
    }

    void process (juce::MidiBuffer midi, int numSamples = 512)
    {
        buffer.setSize (2, numSamples, false, false, true);
        // Garbage in the buffer: the block path must clear it itself.
        for (auto c = 0; c < 2; ++c)
            for (auto i = 0; i < numSamples; ++i)
                buffer.setSample (c, i, 0.75f);

        processor.processBlock (buffer, midi);
    }

    static juce::MidiBuffer events (std::initializer_list<juce::MidiMessage> messages)
    {
        juce::MidiBuffer midi;
        auto position = 0;

        for (const auto& message : messages)
            midi.addEvent (message, position++ * 10);

        return midi;
    }

    VantrelSampivoAudioProcessor processor;
    juce::AudioBuffer<float> buffer;
};
} // namespace

TEST (Processor, IdentityAndShape)
{
    VantrelSampivoAudioProcessor processor;
    EXPECT_EQ (processor.getName(), "Vantrel Sampivo");
    EXPECT_TRUE (processor.acceptsMidi());
    EXPECT_FALSE (processor.producesMidi());
    EXPECT_FALSE (processor.isMidiEffect());
    EXPECT_TRUE (processor.hasEditor());
    EXPECT_EQ (processor.getTailLengthSeconds(), 0.0);
    EXPECT_EQ (processor.getTotalNumInputChannels(), 0);
    EXPECT_EQ (processor.getTotalNumOutputChannels(), 2);
    EXPECT_EQ (processor.getBus (false, 0)->getName(), "Output");
    EXPECT_EQ (processor.synth.getNumVoices(), 128);
    EXPECT_EQ (processor.synth.getNumSounds(), 0);
    EXPECT_TRUE (processor.reloadRequested.load());
    EXPECT_FALSE (processor.isLoadingSamples.load());
    EXPECT_TRUE (processor.controlsNeedUpdate.load());
    EXPECT_EQ (processor.getStateProperty ("filenames"), "");

    for (auto i = 0; i < processor.synth.getNumVoices(); ++i)
        EXPECT_NE (dynamic_cast<juce::SamplerVoiceLog*> (processor.synth.getVoice (i)), nullptr);
}

TEST (Processor, OutputLayouts)
{
    VantrelSampivoAudioProcessor processor;

    juce::AudioProcessor::BusesLayout layout;
    layout.outputBuses.add (juce::AudioChannelSet::stereo());
    EXPECT_TRUE (processor.checkBusesLayoutSupported (layout));

    layout.outputBuses.getReference (0) = juce::AudioChannelSet::mono();
    EXPECT_TRUE (processor.checkBusesLayoutSupported (layout));

    layout.outputBuses.getReference (0) = juce::AudioChannelSet::create5point1();
    EXPECT_FALSE (processor.checkBusesLayoutSupported (layout));

    layout.outputBuses.getReference (0) = juce::AudioChannelSet::quadraphonic();
    EXPECT_FALSE (processor.checkBusesLayoutSupported (layout));
}

TEST (Processor, OneProgramAndEveryProgramChangeReloads)
{
    AudioFixtures::TempFolder folder;
    const auto a = folder.file ("a.wav"), b = folder.file ("b.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (a, 48000.0, 1, 4800, 0.5f));
    ASSERT_TRUE (AudioFixtures::writeConstant (b, 48000.0, 1, 4800, 0.5f));

    VantrelSampivoAudioProcessor processor;
    EXPECT_EQ (processor.getNumPrograms(), 1);
    EXPECT_EQ (processor.getProgramName (0), "Default");

    processor.setStateProperty ("filenames", a.getFullPathName());
    processor.prepareToPlay (48000.0, 256);
    ASSERT_EQ (processor.synth.getNumSounds(), 1);

    // A second prepare does not reload while sounds are present...
    processor.setStateProperty ("filenames", a.getFullPathName() + "\n" + b.getFullPathName());
    processor.prepareToPlay (48000.0, 256);
    EXPECT_EQ (processor.synth.getNumSounds(), 1);

    // ...but any program selection does, whatever its number.
    processor.setCurrentProgram (7);
    EXPECT_EQ (processor.synth.getNumSounds(), 2);
    EXPECT_EQ (processor.getCurrentProgram(), 0);

    processor.changeProgramName (0, "renamed");
    EXPECT_EQ (processor.getProgramName (0), "Default");
}

TEST_F (ProcessorFixture, NoteOnThenOffOfAnotherNoteEndsReleased)
{
    process (events ({ juce::MidiMessage::noteOn (1, 60, 0.8f), juce::MidiMessage::noteOff (1, 64) }));
    EXPECT_FALSE (processor.noteHeld.load());
    EXPECT_EQ (processor.noteHeldSamples.load(), 0);
}

TEST_F (ProcessorFixture, NoteOnWithVelocityZeroCountsAsOff)
{
    process (events ({ juce::MidiMessage::noteOn (3, 60, 0.8f) }));
    EXPECT_TRUE (processor.noteHeld.load());

    process (events ({ juce::MidiMessage::noteOn (3, 60, (juce::uint8) 0) }));
    EXPECT_FALSE (processor.noteHeld.load());
    EXPECT_EQ (processor.noteHeldSamples.load(), 0);
}

TEST_F (ProcessorFixture, HeldNoteCountsSamplesAcrossBlocks)
{
    process (events ({ juce::MidiMessage::noteOn (1, 60, 0.5f) }));
    EXPECT_EQ (processor.noteHeldSamples.load(), 512);

    // Blocks without MIDI, or with other messages, keep the state and keep counting.
    process ({});
    EXPECT_EQ (processor.noteHeldSamples.load(), 1024);

    process (events ({ juce::MidiMessage::controllerEvent (1, 7, 100), juce::MidiMessage::pitchWheel (1, 9000) }));
    EXPECT_EQ (processor.noteHeldSamples.load(), 1536);
    EXPECT_TRUE (processor.noteHeld.load());

    // The last event of the block decides.
    process (events ({ juce::MidiMessage::noteOff (1, 60), juce::MidiMessage::noteOn (2, 40, 0.1f) }), 100);
    EXPECT_TRUE (processor.noteHeld.load());
    EXPECT_EQ (processor.noteHeldSamples.load(), 1636);

    process (events ({ juce::MidiMessage::noteOff (2, 40) }));
    EXPECT_EQ (processor.noteHeldSamples.load(), 0);
    process ({});
    EXPECT_EQ (processor.noteHeldSamples.load(), 0);
}

TEST_F (ProcessorFixture, SilentWithoutSoundsWhateverTheMidi)
{
    process (events ({ juce::MidiMessage::noteOn (1, 60, 1.0f), juce::MidiMessage::noteOn (1, 0, 1.0f),
                       juce::MidiMessage::noteOn (1, 127, 1.0f) }));

    for (auto c = 0; c < 2; ++c)
        for (auto i = 0; i < buffer.getNumSamples(); ++i)
            ASSERT_EQ (buffer.getSample (c, i), 0.0f);

    EXPECT_FALSE (processor.reloadRequested.load()) << "the first block takes the reload request";
}

TEST_F (ProcessorFixture, ReloadRequestIsServedBeforeRendering)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("dc.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, 48000.0, 1, 48000, 0.5f));

    process ({});
    ASSERT_EQ (processor.synth.getNumSounds(), 0);

    // As a file drop does: new list and a request; the note in the same block already plays.
    processor.setStateProperty ("filenames", file.getFullPathName());
    processor.reloadRequested = true;
    process (events ({ juce::MidiMessage::noteOn (1, 60, 1.0f) }));

    EXPECT_EQ (processor.synth.getNumSounds(), 1);
    EXPECT_FALSE (processor.reloadRequested.load());
    EXPECT_GT (buffer.getMagnitude (0, 0, buffer.getNumSamples()), 0.0f);
}
