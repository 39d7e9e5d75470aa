// A NaN in the output mutes a track or a whole mix bus in many hosts. These drive, in a
// fixed order, the interleavings that once let one out.
#include "reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

namespace
{
/** One block through the synthesiser alone, as the block path renders after its push:
    a note, released half-way. */
juce::AudioBuffer<float> renderNote (VantrelSampivoAudioProcessor& processor)
{
    juce::AudioBuffer<float> buffer (2, 512);
    buffer.clear();
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    midi.addEvent (juce::MidiMessage::noteOff (1, 60), 256);
    processor.synth.renderNextBlock (buffer, midi, 0, 512);
    return buffer;
}

/** Sustain 0 and no randomness: a released note falls from a level of exactly 0. */
struct QuietInstrument : Instrument
{
    QuietInstrument()
    {
        steady().set ("sustain", 0.0f);
        EXPECT_TRUE (AudioFixtures::writeAudioFile (file, 48000.0, 1, 48000, [] (int, int) { return 0.5f; }));
    }

    AudioFixtures::TempFolder folder;
    juce::File file { folder.file ("dc.wav") };
};
} // namespace

// A sound joins the synthesiser with the current settings: here prepareToPlay loads a
// restored list and no block has pushed anything yet when a note starts on it.
TEST (FiniteOutput, ASoundPlaysWithTheCurrentSettingsBeforeAnyPush)
{
    QuietInstrument instrument;
    auto& processor = instrument.processor;
    processor.setStateProperty ("filenames", instrument.file.getFullPathName());
    processor.prepareToPlay (48000.0, 512);
    ASSERT_EQ (processor.synth.getNumSounds(), 1);

    const auto buffer = renderNote (processor);

    // Volume at its middle is 10 x 0.5^3 x 7.943 = 9.93; without velocity to volume a
    // note takes an eighth of it; centred, each side sqrt(1/2); the file holds 0.5.
    const auto expectedPeak = 9.9291 * 0.125 * std::sqrt (0.5) * 0.5;
    EXPECT_EQ (ReliabilityRig::checkBlock (buffer), "");
    EXPECT_NEAR (buffer.getMagnitude (0, 0, 512), expectedPeak, 0.01 * expectedPeak);
    EXPECT_EQ (processor.getNonFiniteCount(), 0);
}

// A voice that read a sound half-way through a push once saw the envelope rate a sound
// is built with (0) beside the pushed sustain (0): every envelope rate became infinite
// and the release from 0 computed 0 x infinity. Whatever a voice computes, the block
// stays finite, and the guard counts what it caught.
TEST (FiniteOutput, AVoiceWithInfiniteEnvelopeRatesIsSilencedAndCounted)
{
    QuietInstrument instrument;
    auto& processor = instrument.processor;
    ASSERT_EQ (instrument.load ({ instrument.file.getFullPathName() }), 1);

    auto* sound = instrument.sounds().front();
    sound->envelopeSampleRate = 0.0f;
    sound->sustain = 0.0f;

    EXPECT_EQ (ReliabilityRig::checkBlock (renderNote (processor)), "");
    EXPECT_EQ (processor.getNonFiniteCount(), 1);
}
