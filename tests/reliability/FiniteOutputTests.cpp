#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
constexpr double rate = 48000.0;
constexpr int blockSize = 512;

/** Sustain 0 and no randomness: a released note falls from a level of exactly 0,
    where an envelope stepped at a rate of 0 turns 0 x infinity into NaN. */
void setQuietSustain (VantrelSampivoAudioProcessor& processor)
{
    const std::pair<const char*, float> settings[] = { { "attack", 0.0f }, { "sustain", 0.0f },
                                                       { "rnddecay", 0.0f }, { "vel2offs", 0.0f } };

    for (const auto& [id, value] : settings)
        for (auto* parameter : processor.getParameters())
            if (auto* withID = dynamic_cast<juce::AudioProcessorParameterWithID*> (parameter))
                if (withID->paramID == id)
                    withID->setValueNotifyingHost (value);
}
} // namespace

// A load on the host's thread lands between a block's parameter push and its render:
// the note that block starts must play the new sound with real settings.
TEST (FiniteOutput, ASoundLoadedBetweenThePushAndTheRenderPlaysWithTheCurrentSettings)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("dc.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, rate, 1, (int) rate, 0.5f));

    VantrelSampivoAudioProcessor processor;
    processor.setRateAndBufferSizeDetails (rate, blockSize);
    processor.prepareToPlay (rate, blockSize);
    setQuietSustain (processor);

    // The block's push, with nothing loaded yet...
    processor.updateSoundParameters();

    // ...then the host changes the program and the list loads on its thread...
    processor.setStateProperty ("filenames", file.getFullPathName());
    processor.setCurrentProgram (0);
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);

    // ...and the block renders: a note, released half-way.
    juce::AudioBuffer<float> buffer (2, blockSize);
    buffer.clear();
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    midi.addEvent (juce::MidiMessage::noteOff (1, 60), blockSize / 2);
    processor.synth.renderNextBlock (buffer, midi, 0, blockSize);

    EXPECT_TRUE (SignalAnalysis::allFinite (buffer));

    // Volume at its middle is 10 x 0.5^3 x 7.943 = 9.93; without velocity to volume a
    // note takes an eighth of it; centred, each side sqrt(1/2); the file holds 0.5.
    const auto expectedPeak = 9.9291 * 0.125 * std::sqrt (0.5) * 0.5;
    EXPECT_NEAR (SignalAnalysis::peak (buffer.getReadPointer (0), 0, blockSize), expectedPeak, 0.01 * expectedPeak);
    EXPECT_EQ (processor.getNonFiniteCount(), 0);
}

// A voice that reads a sound half-way through a push sees the rate a sound is built with
// (0) beside the pushed sustain (0): every envelope rate becomes infinite and the release
// from 0 computes 0 x infinity. Whatever a voice computes, the block stays finite.
TEST (FiniteOutput, AVoiceWithInfiniteEnvelopeRatesIsSilencedAndCounted)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("dc.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, rate, 1, (int) rate, 0.5f));

    VantrelSampivoAudioProcessor processor;
    processor.setRateAndBufferSizeDetails (rate, blockSize);
    processor.prepareToPlay (rate, blockSize);
    processor.setStateProperty ("filenames", file.getFullPathName());
    processor.setCurrentProgram (0);
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);

    auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (0).get());
    ASSERT_NE (sound, nullptr);
    sound->envelopeSampleRate = 0.0f;
    sound->sustain = 0.0f;

    juce::AudioBuffer<float> buffer (2, blockSize);
    buffer.clear();
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    midi.addEvent (juce::MidiMessage::noteOff (1, 60), blockSize / 2);
    processor.synth.renderNextBlock (buffer, midi, 0, blockSize);

    EXPECT_TRUE (SignalAnalysis::allFinite (buffer));
    EXPECT_EQ (processor.getNonFiniteCount(), 1);
}
