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

TEST_F (Sharing, TheLastRequestWins)
{
    // A long list, then a short one at once: whether the first is still loading or
    // already done, the second is what plays in the end.
    Instrument::drop (processor, pool.list (400));
    Instrument::drop (processor, pool.files().back().getFullPathName());
    Instrument::settle (processor);
    EXPECT_EQ (loadedSounds (processor), (std::map<juce::String, int> { { pool.files().back().getFullPathName(), 60 } }));
    EXPECT_FALSE (processor.isLoadingSamples.load());
}
