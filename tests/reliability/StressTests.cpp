// Long runs with every thread busy at once, at every rate and at four block sizes, the
// loader asked for new sets faster than it can read them.
#include "reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <thread>

using namespace ReliabilityRig;

namespace
{
/** The seed of a stress run: SAMPIVO_STRESS_SEED when it is set (to replay a run), else
    a new one each time, so that every run tries other interleavings. */
juce::int64 stressSeed()
{
    const auto fromEnvironment = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_STRESS_SEED", {});
    return fromEnvironment.isNotEmpty() ? fromEnvironment.getLargeIntValue()
                                        : juce::Random::getSystemRandom().nextInt64() & 0x7fffffffffff;
}

/** Runs body over and over on a thread of its own until stopped or destroyed. */
struct LoopThread
{
    explicit LoopThread (std::function<void()> body) : thread ([this, loop = std::move (body)] { for (; running; ++count) loop(); }) {}
    ~LoopThread() { stop(); }
    long stop() { running = false; if (thread.joinable()) thread.join(); return count; }

    std::atomic<bool> running { true };   // both before the thread, which reads them at once
    std::atomic<long> count { 0 };
    std::thread thread;
};

/** What a host does to the processor while it plays: automation, saves (which must be
    whole) and restores, restores of garbage, drops, editor pushes and program changes.
    Returns the action's name and sets fault when it found one. */
const char* hostAction (VantrelSampivoAudioProcessor& processor, const SamplePool& pool, juce::Random& random,
                        juce::MemoryBlock& saved, juce::String& fault)
{
    juce::MemoryBlock junk ((size_t) random.nextInt (64));
    random.fillBitsRandomly (junk.getData(), junk.getSize());

    switch (random.nextInt (10))
    {
        case 0:
            processor.getStateInformation (saved);
            if (const auto xml = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());
                xml == nullptr || ! xml->hasAttribute ("msec") || ! xml->hasAttribute ("pluginversion"))
                fault = "a save written during playback is not whole";
            return "save";
        case 1: processor.setStateInformation (saved.getData(), (int) saved.getSize()); return "restore";
        case 2: processor.setStateInformation (junk.getData(), (int) junk.getSize()); return "restore of garbage";
        case 3: case 4: Instrument::drop (processor, pool.randomList (random)); return "drop";
        case 5: processor.controlsNeedUpdate = true; processor.updateSoundParameters(); return "editor push";
        case 6: processor.setCurrentProgram (0); return "program change";
        default:
            // Automation: the extremes come up often.
            for (auto* parameter : processor.getParameters())
                parameter->setValueNotifyingHost (random.nextInt (3) == 0 ? (float) random.nextInt (2) : random.nextFloat());
            return "automation";
    }
}

class ProcessorStress : public testing::TestWithParam<int> {};
} // namespace

// Per rate from 22050 to 192000 Hz (every third into a mono output): one thread renders
// random notes and checks every block, another acts as the host, and this (the message)
// thread opens, paints and closes the editor. A failure names the seed and the host
// action that ran last.
TEST_P (ProcessorStress, RendersSafelyWhileTheHostActsOnEveryThread)
{
    const auto blockSize = GetParam();
    const auto seed = stressSeed();
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock saved;
    juce::Random seeds (seed + blockSize);
    std::mutex lock;
    juce::String failure;
    std::atomic<const char*> lastAction { "none yet" };
    long blocks = 0, actions = 0;
    const double rates[] { 22050.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0 };

    for (size_t r = 0; r < std::size (rates); ++r)
    {
        Instrument::prepare (processor, rates[r], blockSize, r % 3 == 2 ? 1 : 2);
        const auto report = [&, where = "rate " + juce::String (rates[r]) + ", block " + juce::String (blockSize) + ": "] (const juce::String& fault)
        {
            const std::lock_guard<std::mutex> guard (lock);
            if (failure.isEmpty())
                failure = where + fault + " (last host action: " + lastAction.load() + "; replay with SAMPIVO_STRESS_SEED=" + juce::String (seed) + ")";
        };
        juce::AudioBuffer<float> buffer (processor.getTotalNumOutputChannels(), blockSize);
        juce::Random audioRandom (seeds.nextInt64()), hostRandom (seeds.nextInt64());

        LoopThread audio ([&]
        {
            juce::MidiBuffer midi;
            for (auto i = audioRandom.nextInt (9); i > 0; --i)
            {
                const auto channel = 1 + audioRandom.nextInt (16), key = audioRandom.nextInt (128);
                midi.addEvent (audioRandom.nextBool() ? juce::MidiMessage::noteOn (channel, key, (juce::uint8) audioRandom.nextInt (128))
                                                      : juce::MidiMessage::noteOff (channel, key), audioRandom.nextInt (blockSize));
            }

            buffer.clear();
            processor.processBlock (buffer, midi);
            if (const auto fault = checkBlock (buffer); fault.isNotEmpty())
                report (fault);
        });

        LoopThread host ([&]
        {
            juce::String fault;
            lastAction = hostAction (processor, pool, hostRandom, saved, fault);
            if (fault.isNotEmpty())
                report (fault);
            std::this_thread::yield();
        });

        for (const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds (500); std::chrono::steady_clock::now() < end;)
        {
            std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditorIfNeeded());
            editor->createComponentSnapshot (editor->getLocalBounds());
            juce::MessageManager::getInstance()->runDispatchLoopUntil (10);
        }

        actions += host.stop();
        blocks += audio.stop();
        processor.releaseResources();
    }

    std::cout << "seed " << seed << ", block size " << blockSize << ": " << blocks << " blocks, " << actions << " host actions" << std::endl;
    EXPECT_EQ (failure, juce::String());
    EXPECT_EQ (processor.getNonFiniteCount(), 0);

    // Afterwards the last request wins: a long list, then a short one at once, whether
    // the first is still loading or already done.
    Instrument::prepare (processor, 48000.0, 512);
    Instrument::drop (processor, pool.list (400));
    Instrument::drop (processor, pool.files().back().getFullPathName());
    Instrument::settle (processor);
    EXPECT_EQ (loadedSounds (processor), (std::map<juce::String, int> { { pool.files().back().getFullPathName(), 60 } }));
    EXPECT_FALSE (processor.isLoadingSamples.load());
}

INSTANTIATE_TEST_SUITE_P (, ProcessorStress, testing::Values (1, 17, 512, 4096),
                          [] (const testing::TestParamInfo<int>& row) { return "Block" + std::to_string (row.param); });
