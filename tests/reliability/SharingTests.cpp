// What two threads share: the reload request, the sound list and the sounds' settings.
#include "reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

using namespace ReliabilityRig;

namespace
{
constexpr int blockSize = 256;

class Sharing : public testing::Test
{
protected:
    Sharing() { prepare (processor, 48000.0, blockSize); }

    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
};
} // namespace

TEST_F (Sharing, ADropDuringALoadIsServedByTheNextBlock)
{
    // A long first list, so that the second drop lands while it loads.
    Instrument::drop (processor, pool.list (400));
    std::atomic<bool> blockDone { false };
    std::thread audio ([&] { render (processor, blockSize); blockDone = true; });

    while (! processor.isLoadingSamples.load() && ! blockDone.load())
        std::this_thread::yield();

    const auto droppedDuringLoad = ! blockDone.load();
    Instrument::drop (processor, pool.files().back().getFullPathName());
    audio.join();

    if (! droppedDuringLoad)
        GTEST_SKIP() << "the load finished before the second drop could land";

    // The block that was loading finished its own list; the request made meanwhile is
    // still pending, and the next block serves it.
    EXPECT_TRUE (processor.reloadRequested.load());
    render (processor, blockSize);
    EXPECT_EQ (loadedSounds (processor), (std::map<juce::String, int> { { pool.files().back().getFullPathName(), 60 } }));
}

TEST_F (Sharing, LoadsOnTwoThreadsNeverInterleaveAndPushesLeaveOneThreadsValues)
{
    // A program change loads on the host's thread while a drop loads on the audio thread.
    // Were two loads to interleave, the list would hold more sounds than the file list.
    processor.setStateProperty ("filenames", pool.list (12));
    std::atomic<int> mostSeen { 0 };
    {
        LoopThread watcher ([&] { mostSeen = std::max (mostSeen.load(), processor.getNumLoadedSounds()); });
        LoopThread audio ([&] { processor.reloadRequested = true; render (processor, blockSize); });

        for (auto i = 0; i < 200; ++i)
            processor.setCurrentProgram (0);
    }

    EXPECT_LE (mostSeen.load(), 12);
    processor.setCurrentProgram (0);
    Instrument::settle (processor);
    ASSERT_EQ (processor.getNumLoadedSounds(), 12);

    // The editor and the audio thread push at once; with no random variation both push
    // the same values, which every sound holds afterwards: full volume is a gain of
    // 10^(18/20) * 10, pan 1 is hard right, decay 0.5 is 0.25 s.
    processor.randomOtherParam->setValueNotifyingHost (0.0f);
    processor.volumeParam->setValueNotifyingHost (1.0f);
    processor.panParam->setValueNotifyingHost (1.0f);
    processor.decayParam->setValueNotifyingHost (0.5f);
    {
        LoopThread audio ([&] { render (processor, blockSize); });

        for (auto i = 0; i < 2000; ++i)
            processor.updateSoundParameters();
    }

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
    {
        auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get());
        EXPECT_NEAR (sound->gain.load(), 79.4328f, 1.0e-3f);
        EXPECT_EQ (sound->pan.load(), 1.0f);
        EXPECT_EQ (sound->decay.load(), 0.25f);
    }
}
