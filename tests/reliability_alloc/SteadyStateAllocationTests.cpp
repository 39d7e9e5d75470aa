#include "reliability_alloc/AllocationCounter.h"

#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
struct SizesRow { const char* name; std::vector<int> sizes; };   // block sizes a host renders with, in turn

class SteadyStateAllocations : public testing::TestWithParam<SizesRow>
{
protected:
    SteadyStateAllocations()
    {
        // A quarter-second sample: long enough that 128 voices overlap, short enough that
        // voices also end on their own and are freed by the engine.
        EXPECT_TRUE (AudioFixtures::writeSine (sample, 44100.0, 2, 0.25, 220.0));
        EXPECT_EQ (instrument.load ({ sample.getFullPathName() }), 1);
    }

    /** Renders one block of numSamples, counting what the audio thread allocates. */
    void renderCounting (juce::MidiBuffer& midi, int numSamples)
    {
        buffer.setSize (2, numSamples, false, false, true);
        AllocationCounter::start();
        instrument.processor.processBlock (buffer, midi);
        AllocationCounter::stop();
        allocations += AllocationCounter::allocations();
        deallocations += AllocationCounter::deallocations();
    }

    AudioFixtures::TempFolder folder;
    juce::File sample { folder.file ("steady.wav") };
    Instrument instrument { 48000.0, 4096 };
    juce::AudioBuffer<float> buffer { 2, 4096 };
    long allocations = 0, deallocations = 0;
};

} // namespace

TEST_P (SteadyStateAllocations, NoneWhileNotesStartAndStopOnAllVoices)
{
    const auto& sizes = GetParam().sizes;
    juce::Random random (2024);
    auto mostVoices = 0;

    // Per block: twelve note-ons and twelve note-offs over the whole keyboard, built
    // before counting, and every parameter moved as automation would, the curve
    // through its three shapes and a frozen index.
    std::vector<std::vector<juce::MidiBuffer>> patterns;
    for (const auto size : sizes)
        for (auto& midi : patterns.emplace_back (64))
            for (auto i = 0; i < 12; ++i)
            {
                midi.addEvent (juce::MidiMessage::noteOn (1 + random.nextInt (16), random.nextInt (128), (juce::uint8) (1 + random.nextInt (127))), random.nextInt (size));
                midi.addEvent (juce::MidiMessage::noteOff (1 + random.nextInt (16), random.nextInt (128)), random.nextInt (size));
            }

    for (auto block = 0; block < 3000; ++block)
    {
        for (auto* parameter : instrument.processor.getParameters())
            parameter->setValueNotifyingHost (random.nextFloat());

        const float curves[] { 0.0f, 1.0f / 9.0f, 2.0f / 9.0f, 0.6f };
        instrument.processor.curveParam->setValueNotifyingHost (curves[block % 4]);
        instrument.processor.probabilityParam->setValueNotifyingHost (block % 5 == 0 ? 0.3f : 1.0f);
        const auto which = (size_t) block % sizes.size();
        renderCounting (patterns[which][(size_t) block / sizes.size() % 64], sizes[which]);
        mostVoices = std::max (mostVoices, (int) instrument.activeVoices().size());
    }

    // Every voice was busy at some point, so new notes also stole voices.
    EXPECT_EQ (mostVoices, 128);
    EXPECT_EQ (allocations, 0);
    EXPECT_EQ (deallocations, 0);
}

INSTANTIATE_TEST_SUITE_P (BlockSizes, SteadyStateAllocations,
                          testing::Values (SizesRow { "Steady256", { 256 } }, SizesRow { "Changing", { 1, 17, 512, 4096, 64, 333 } }),
                          RowName());

TEST_F (SteadyStateAllocations, NoneWhileThirtyTwoFilesLoadUnderAllVoices)
{
    // The lower 64 keys struck on two channels keep all 128 voices busy through the drop
    // (none pitched up far enough to end within a few blocks); the counted blocks run
    // until the new set is playing and the old one has been handed back.
    juce::StringArray files;
    for (auto i = 0; i < 32; ++i)
        if (AudioFixtures::writeSine (folder.file ("f" + juce::String (i) + ".wav"), 44100.0, 2, 1.0, 110.0 + i))
            files.add (folder.file ("f" + juce::String (i) + ".wav").getFullPathName());

    juce::MidiBuffer allKeys, none;
    for (auto voice = 0; voice < 128; ++voice)
        allKeys.addEvent (juce::MidiMessage::noteOn (1 + voice / 64, voice % 64, 0.9f), 0);

    renderCounting (allKeys, 512);
    EXPECT_EQ (instrument.activeVoices().size(), 128u);
    Instrument::drop (instrument.processor, files.joinIntoString ("\n"));

    while (instrument.processor.isLoadingSamples.load() || instrument.processor.synth.getNumSounds() != 32)
        renderCounting (none, 512);

    // Paced, so that the loader takes back the old set while voices still play it: the
    // last of them to end must not free a sound here.
    for (auto block = 0; block < 50; ++block)
    {
        renderCounting (block % 10 == 0 ? allKeys : none, 512);
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    }

    EXPECT_EQ (allocations, 0);
    EXPECT_EQ (deallocations, 0);
}

TEST (FirstBlockAllocations, NoneFromTheVeryFirstBlockFreshRestoredOrAfterADrop)
{
    AudioFixtures::TempFolder folder;
    const auto sample = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (sample, 44100.0, 2, 0.5, 220.0));

    juce::MemoryBlock withFile;
    {
        VantrelSampivoAudioProcessor saved;
        saved.setStateProperty ("filenames", sample.getFullPathName());
        saved.getStateInformation (withFile);
    }

    // What a host does before audio runs: create, maybe restore, prepare. Then the
    // first blocks, each with a note, counted from the very first.
    for (const auto how : { "fresh", "restored", "dropped" })
    {
        VantrelSampivoAudioProcessor processor;

        if (juce::String (how) == "restored")
            processor.setStateInformation (withFile.getData(), (int) withFile.getSize());

        Instrument::prepare (processor, 48000.0, 512);

        if (juce::String (how) == "dropped")
            Instrument::drop (processor, sample.getFullPathName());

        juce::AudioBuffer<float> buffer (2, 512);
        juce::MidiBuffer note;
        note.addEvent (juce::MidiMessage::noteOn (1, 60, 0.9f), 0);
        long allocations = 0;

        for (auto block = 0; block < 40; ++block)
        {
            AllocationCounter::start();
            processor.processBlock (buffer, note);
            AllocationCounter::stop();
            allocations += AllocationCounter::allocations() + AllocationCounter::deallocations();
            std::this_thread::sleep_for (std::chrono::milliseconds (2));
        }

        EXPECT_EQ (allocations, 0) << how;
        EXPECT_EQ (processor.synth.getNumSounds(), juce::String (how) == "fresh" ? 0 : 1) << how;
    }
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
