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
    Sharing() { Instrument::prepare (processor, 48000.0, blockSize); }

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
