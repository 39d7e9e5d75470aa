#include "reliability_alloc/AllocationCounter.h"

#include "processor/VantrelSampivoAudioProcessor.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
constexpr double sampleRate = 48000.0;
constexpr int maxBlockSize = 4096;

/** A processor with one sample loaded by a warm-up block, as it is after a drop. */
struct PlayingInstrument
{
    PlayingInstrument()
    {
        // A quarter-second sample: long enough that 128 voices overlap, short enough that
        // voices also end on their own and are freed by the engine.
        EXPECT_TRUE (AudioFixtures::writeSine (sample, 44100.0, 2, 0.25, 220.0));

        processor.setRateAndBufferSizeDetails (sampleRate, maxBlockSize);
        processor.prepareToPlay (sampleRate, maxBlockSize);
        processor.setStateProperty ("filenames", sample.getFullPathName());
        processor.reloadRequested = true;

        juce::MidiBuffer warmUpMidi;
        warmUpMidi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 100), 0);
        buffer.setSize (2, 512, false, false, true);
        processor.processBlock (buffer, warmUpMidi);
        EXPECT_EQ (processor.getNumLoadedSounds(), 1);
    }

    int activeVoices() const
    {
        auto active = 0;

        for (auto i = 0; i < processor.synth.getNumVoices(); ++i)
            active += processor.synth.getVoice (i)->isVoiceActive() ? 1 : 0;

        return active;
    }

    AudioFixtures::TempFolder folder;
    juce::File sample { folder.file ("steady.wav") };
    VantrelSampivoAudioProcessor processor;
    juce::AudioBuffer<float> buffer { 2, maxBlockSize };
};

/** Per block: up to twelve note-ons and twelve note-offs on keys spread over the whole
    keyboard, built before counting so that only the processor's work is measured. */
std::vector<juce::MidiBuffer> makeNotePatterns (int count, int blockSize, juce::Random& random)
{
    std::vector<juce::MidiBuffer> patterns ((size_t) count);

    for (auto& midi : patterns)
    {
        for (auto i = 0; i < 12; ++i)
        {
            const auto position = random.nextInt (blockSize);
            midi.addEvent (juce::MidiMessage::noteOn (1 + random.nextInt (16), random.nextInt (128),
                                                      (juce::uint8) (1 + random.nextInt (127))), position);
            midi.addEvent (juce::MidiMessage::noteOff (1 + random.nextInt (16), random.nextInt (128)),
                           random.nextInt (blockSize));
        }
    }

    return patterns;
}

/** Moves every parameter somewhere new, between blocks, as automation would; the curve
    visits its three named shapes and the frozen indices. */
void automate (VantrelSampivoAudioProcessor& processor, juce::Random& random, int block)
{
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (random.nextFloat());

    const float curves[] = { 0.0f, 1.0f / 9.0f, 2.0f / 9.0f, 0.6f };
    processor.curveParam->setValueNotifyingHost (curves[block % 4]);
    processor.probabilityParam->setValueNotifyingHost (block % 5 == 0 ? 0.3f : 1.0f);
}

struct Counts
{
    long allocations = 0, deallocations = 0;
    int maxActiveVoices = 0;
};

Counts renderCounting (PlayingInstrument& instrument, const std::vector<int>& blockSizes, int blocks)
{
    juce::Random random (2024);
    Counts counts;
    std::vector<std::vector<juce::MidiBuffer>> patterns;

    for (const auto size : blockSizes)
        patterns.push_back (makeNotePatterns (64, size, random));

    for (auto block = 0; block < blocks; ++block)
    {
        const auto sizeIndex = (size_t) block % blockSizes.size();
        auto& midi = patterns[sizeIndex][(size_t) (block / (int) blockSizes.size()) % 64];
        instrument.buffer.setSize (2, blockSizes[sizeIndex], false, false, true);
        automate (instrument.processor, random, block);

        AllocationCounter::start();
        instrument.processor.processBlock (instrument.buffer, midi);
        AllocationCounter::stop();

        counts.allocations += AllocationCounter::allocations();
        counts.deallocations += AllocationCounter::deallocations();
        counts.maxActiveVoices = std::max (counts.maxActiveVoices, instrument.activeVoices());
    }

    return counts;
}
} // namespace

/** Block sizes a host renders with, one after another: a steady 256, and a host that
    changes the size every block. */
class SteadyStateAllocations : public testing::TestWithParam<std::vector<int>> {};

TEST_P (SteadyStateAllocations, NoneWhileNotesStartAndStopOnAllVoices)
{
    PlayingInstrument instrument;
    const auto counts = renderCounting (instrument, GetParam(), 3000);

    // Every voice was busy at some point, so new notes also stole voices.
    EXPECT_EQ (counts.maxActiveVoices, 128);
    EXPECT_EQ (counts.allocations, 0);
    EXPECT_EQ (counts.deallocations, 0);
}

INSTANTIATE_TEST_SUITE_P (BlockSizes, SteadyStateAllocations,
                          testing::Values (std::vector<int> { 256 }, std::vector<int> { 1, 17, 512, 4096, 64, 333 }));

TEST_F (SteadyStateAllocations, TheCounterSeesTheLoadThatADropCauses)
{
    // The one place where the audio path may allocate is the load after a drop; the
    // counter must see it, or the zero counts above would prove nothing.
    PlayingInstrument instrument;
    instrument.processor.setStateProperty ("filenames", instrument.sample.getFullPathName());
    instrument.processor.reloadRequested = true;

    juce::MidiBuffer midi;
    instrument.buffer.setSize (2, 512, false, false, true);

    AllocationCounter::start();
    instrument.processor.processBlock (instrument.buffer, midi);
    AllocationCounter::stop();

    EXPECT_GT (AllocationCounter::allocations(), 0);
    EXPECT_GT (AllocationCounter::deallocations(), 0);
}
