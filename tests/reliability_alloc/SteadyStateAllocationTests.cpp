// What the audio thread allocates and frees, counted from a fresh instance's very first
// block on: a restored list, every voice busy with notes starting and stopping at
// changing block sizes while every parameter moves, then a drop under all voices until
// the old set has been handed back. Every count must be 0.
#include "reliability_alloc/AllocationCounter.h"

#include "support/AudioFixtures.h"
#include "support/Instrument.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
/** Renders one block of numSamples, returning what the calling thread allocated and freed. */
long countedBlock (Instrument& instrument, juce::AudioBuffer<float>& buffer, juce::MidiBuffer& midi, int numSamples)
{
    buffer.setSize (2, numSamples, false, false, true);
    AllocationCounter::start();
    instrument.processor.processBlock (buffer, midi);
    AllocationCounter::stop();
    return AllocationCounter::allocations() + AllocationCounter::deallocations();
}
} // namespace

TEST (Allocations, NoneFromTheFirstBlockThroughFullPolyphonyAndADrop)
{
    AudioFixtures::TempFolder folder;
    juce::StringArray files;

    // A quarter-second sample first: long enough that 128 voices overlap, short enough
    // that voices also end on their own. Then 32 one-second files to drop.
    for (auto i = 0; i < 33; ++i)
        if (const auto file = folder.file ("f" + juce::String (i) + ".wav"); AudioFixtures::writeSine (file, 44100.0, 2, i == 0 ? 0.25 : 1.0, 110.0 + i))
            files.add (file.getFullPathName());

    juce::MemoryBlock state;
    {
        VantrelSampivoAudioProcessor saved;
        saved.setStateProperty ("filenames", files[0]);
        saved.getStateInformation (state);
    }

    // What a host does before audio runs: create, restore, prepare. Then the first
    // blocks, each with a note, counted from the very first.
    Instrument instrument (48000.0, 4096);
    instrument.processor.setStateInformation (state.getData(), (int) state.getSize());
    Instrument::prepare (instrument.processor, 48000.0, 4096);
    juce::AudioBuffer<float> buffer (2, 4096);
    juce::MidiBuffer note;
    note.addEvent (juce::MidiMessage::noteOn (1, 60, 0.9f), 0);
    long firstBlocks = 0, steady = 0, drop = 0;

    for (auto block = 0; block < 40; ++block)
        firstBlocks += countedBlock (instrument, buffer, note, 512);

    EXPECT_EQ (instrument.sounds().size(), 1u);

    // Per block twelve note-ons and twelve note-offs over the whole keyboard, built
    // before counting, and every parameter moved as automation would, the curve
    // through its three shapes and a frozen index.
    const int sizes[] { 256, 1, 17, 512, 4096, 64, 333 };
    juce::Random random (2024);
    std::vector<juce::MidiBuffer> patterns (64 * std::size (sizes));
    for (size_t p = 0; p < patterns.size(); ++p)
        for (auto i = 0; i < 12; ++i)
        {
            const auto size = sizes[p % std::size (sizes)];
            patterns[p].addEvent (juce::MidiMessage::noteOn (1 + random.nextInt (16), random.nextInt (128), (juce::uint8) (1 + random.nextInt (127))), random.nextInt (size));
            patterns[p].addEvent (juce::MidiMessage::noteOff (1 + random.nextInt (16), random.nextInt (128)), random.nextInt (size));
        }

    size_t mostVoices = 0;
    for (auto block = 0; block < 4000; ++block)
    {
        for (auto* parameter : instrument.processor.getParameters())
            parameter->setValueNotifyingHost (random.nextFloat());

        const float curves[] { 0.0f, 1.0f / 9.0f, 2.0f / 9.0f, 0.6f };
        instrument.processor.curveParam->setValueNotifyingHost (curves[block % 4]);
        instrument.processor.probabilityParam->setValueNotifyingHost (block % 5 == 0 ? 0.3f : 1.0f);
        const auto pattern = (size_t) block % patterns.size();
        steady += countedBlock (instrument, buffer, patterns[pattern], sizes[pattern % std::size (sizes)]);
        mostVoices = std::max (mostVoices, instrument.activeVoices().size());
    }

    // Every voice was busy at some point, so new notes also stole voices.
    EXPECT_EQ (mostVoices, 128u);

    // The lower 64 keys struck on two channels keep all 128 voices busy through the drop
    // (none pitched up far enough to end within a few blocks); the counted blocks are
    // paced, so that the old notes still sound when the new set plays.
    instrument.steady().processor.synth.allNotesOff (0, false);

    juce::MidiBuffer allKeys, none;
    for (auto voice = 0; voice < 128; ++voice)
        allKeys.addEvent (juce::MidiMessage::noteOn (1 + voice / 64, voice % 64, 0.9f), 0);

    drop += countedBlock (instrument, buffer, allKeys, 512);
    EXPECT_EQ (instrument.activeVoices().size(), 128u);
    files.remove (0);
    Instrument::drop (instrument.processor, files.joinIntoString ("\n"));

    while (instrument.processor.isLoadingSamples.load() || instrument.processor.synth.getNumSounds() != 32)
    {
        drop += countedBlock (instrument, buffer, none, 512);
        std::this_thread::sleep_for (std::chrono::milliseconds (1));
    }

    // By now the loader has taken the old set back while the old notes still sound; the
    // strikes below steal their voices, which let go of the old sounds here.
    std::this_thread::sleep_for (std::chrono::milliseconds (50));

    for (auto block = 0; block < 50; ++block)
    {
        drop += countedBlock (instrument, buffer, block % 10 == 0 ? allKeys : none, 512);
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    }

    EXPECT_EQ (std::tuple (firstBlocks, steady, drop), std::tuple (0L, 0L, 0L)) << "first blocks, steady state, drop";
}

TEST (AllocationCounter, SeesWhatTheThreadAllocatesAndFrees)
{
    // Without this the zero counts above would prove nothing.
    AllocationCounter::start();
    auto text = std::make_unique<juce::String> ("a string long enough for the heap");
    text.reset();
    AllocationCounter::stop();
    EXPECT_GE (AllocationCounter::allocations(), 2);
    EXPECT_GE (AllocationCounter::deallocations(), 2);
}
