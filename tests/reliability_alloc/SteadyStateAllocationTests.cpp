#include "reliability_alloc/AllocationCounter.h"

#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

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

TEST_F (SteadyStateAllocations, TheCounterSeesTheLoadThatADropCauses)
{
    // The one place where the audio path may allocate is the load after a drop; the
    // counter must see it, or the zero counts above would prove nothing.
    Instrument::drop (instrument.processor, sample.getFullPathName());
    juce::MidiBuffer none;
    renderCounting (none, 512);
    EXPECT_GT (allocations, 0);
    EXPECT_GT (deallocations, 0);
}
