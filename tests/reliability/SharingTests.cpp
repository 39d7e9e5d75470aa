#include "reliability/ReliabilityRig.h"

#include "sampler/SamplerSoundLog.h"

#include <gtest/gtest.h>

using namespace ReliabilityRig;

namespace
{
constexpr double sampleRate = 48000.0;
constexpr int blockSize = 256;

/** A pool and a processor prepared to play, for every test of this file. */
class Sharing : public testing::Test
{
protected:
    Sharing() { prepare (processor, sampleRate, blockSize); }

    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
};
} // namespace

TEST_F (Sharing, DropsSavesRestoresPushesAndReloadsRunTogether)
{
    FailureLog failures;
    const auto bound = outputBound (1.0f);

    juce::Random audioRandom (1), dropRandom (2), stateRandom (3), messageRandom (4);
    LoopThread audio ([&]
    {
        if (const auto fault = checkBlock (render (processor, blockSize, randomNotes (audioRandom, blockSize, 6)), bound);
            fault.isNotEmpty())
            failures.report (fault);
    });

    // The editor's drops.
    LoopThread drops ([&]
    {
        drop (processor, pool.randomFileList (dropRandom));
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    });

    // The host's saves and restores; every saved document must be whole.
    LoopThread state ([&]
    {
        juce::MemoryBlock saved;
        processor.getStateInformation (saved);
        const auto xml = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());

        if (xml == nullptr || ! xml->hasTagName ("settings"))
            return failures.report ("a save produced no settings document");

        for (auto* parameter : processor.getParameters())
            if (auto* withID = dynamic_cast<juce::AudioProcessorParameterWithID*> (parameter))
                if (! xml->hasAttribute (withID->paramID))
                    failures.report ("a save lost the parameter " + withID->paramID);

        for (const auto* key : { "plugin", "pluginversion", "samplerate" })
            if (xml->getStringAttribute (key).isEmpty())
                failures.report (juce::String ("a save lost the property ") + key);

        if (stateRandom.nextBool())
            processor.setStateInformation (saved.getData(), (int) saved.getSize());
    });

    // The editor's knob pushes and status reads, and a host's program changes (which load
    // on this thread while the audio thread may be loading too).
    LoopThread message ([&]
    {
        automateAtRandom (processor.getParameters(), messageRandom);
        processor.controlsNeedUpdate = true;
        processor.controlCounter = 0;
        processor.updateSoundParameters();
        processor.setSampleLoadStatus ("status " + juce::String (messageRandom.nextInt (100)));
        juce::ignoreUnused (processor.getSampleLoadStatus(), processor.getNumLoadedSounds(),
                            processor.isLoadingSamples.load(), processor.getStatePropertiesSnapshot());

        if (messageRandom.nextInt (50) == 0)
            processor.setCurrentProgram (0);
    });

    std::this_thread::sleep_for (std::chrono::seconds (2));
    message.stop();
    state.stop();
    drops.stop();

    // The last drop is loaded by the blocks that follow it, even if it arrived while a
    // load was running; both of its files load, in list order.
    drop (processor, pool.list (2));
    audio.waitFor (3);
    audio.stop();

    EXPECT_FALSE (failures.any()) << failures.first();
    EXPECT_GT (drops.iterations(), 10);
    EXPECT_GT (state.iterations(), 10);
    EXPECT_GT (message.iterations(), 10);
    const std::map<juce::String, int> expected { { pool.files()[0].getFullPathName(), 60 },
                                                 { pool.files()[1].getFullPathName(), 59 } };
    EXPECT_EQ (loadedSounds (processor), expected);
    EXPECT_EQ (processor.getStateProperty ("filenames"), pool.list (2));
    EXPECT_FALSE (processor.isLoadingSamples.load());
}

TEST_F (Sharing, ADropDuringALoadIsServedByTheNextBlock)
{
    // A long first list, so that the second drop lands while it loads.
    drop (processor, pool.list (400));

    std::atomic<bool> blockDone { false };
    std::thread audio ([&]
    {
        render (processor, blockSize);
        blockDone = true;
    });

    while (! processor.isLoadingSamples.load() && ! blockDone.load())
        std::this_thread::yield();

    const auto droppedDuringLoad = ! blockDone.load();
    const auto secondList = pool.files().back().getFullPathName();
    drop (processor, secondList);
    audio.join();

    if (! droppedDuringLoad)
        GTEST_SKIP() << "the load finished before the second drop could land";

    // The block that was loading finished the list it started with; the request made
    // meanwhile is still pending, and the next block serves it.
    EXPECT_TRUE (processor.reloadRequested.load());
    render (processor, blockSize);
    EXPECT_FALSE (processor.reloadRequested.load());
    EXPECT_EQ (loadedSounds (processor), (std::map<juce::String, int> { { secondList, 60 } }));
}

TEST_F (Sharing, ReloadsOnTwoThreadsNeverInterleave)
{
    // A program change loads on the host's thread while a drop loads on the audio thread.
    // Each load clears and refills the list; were two to interleave, the list would hold
    // more sounds than the file list names.
    processor.setStateProperty ("filenames", pool.list (12));

    std::atomic<int> mostSeen { 0 };
    LoopThread watcher ([&] { mostSeen = std::max (mostSeen.load(), processor.getNumLoadedSounds()); });
    LoopThread audio ([&]
    {
        processor.reloadRequested = true;
        render (processor, blockSize);
    });

    for (auto i = 0; i < 200; ++i)
        processor.setCurrentProgram (0);

    audio.stop();
    watcher.stop();
    EXPECT_LE (mostSeen.load(), 12);
    EXPECT_GT (audio.iterations(), 0);

    // Whichever load ran last, it ran whole.
    processor.setCurrentProgram (0);
    EXPECT_EQ (processor.getNumLoadedSounds(), 12);
}

TEST_F (Sharing, PushesFromTwoThreadsLeaveEverySoundWithOneThreadsValues)
{
    // The editor and the audio thread push at once; each field is an atomic store, and
    // with the variation turned off both pushes write the same values, which every sound
    // must hold afterwards.
    const auto count = (int) pool.files().size();
    processor.setStateProperty ("filenames", pool.list (count));
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), count);

    processor.randomOtherParam->setValueNotifyingHost (0.0f);
    processor.volumeParam->setValueNotifyingHost (1.0f);
    processor.panParam->setValueNotifyingHost (1.0f);
    processor.decayParam->setValueNotifyingHost (0.5f);

    LoopThread audio ([&] { render (processor, blockSize); });

    for (auto i = 0; i < 2000; ++i)
        processor.updateSoundParameters();

    audio.stop();

    // Full volume: 1^3 * 7.943282127380371 * 10; pan 1 is hard right; decay 0.5^2.
    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
    {
        auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get());
        ASSERT_NE (sound, nullptr);
        EXPECT_FLOAT_EQ (sound->gain.load(), 79.43282127380371f);
        EXPECT_FLOAT_EQ (sound->pan.load(), 1.0f);
        EXPECT_FLOAT_EQ (sound->decay.load(), 0.25f);
        EXPECT_FLOAT_EQ (sound->envelopeSampleRate.load(), (float) sampleRate);
    }
}
