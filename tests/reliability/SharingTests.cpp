#include "reliability/ReliabilityRig.h"

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace ReliabilityRig;

namespace
{
constexpr double sampleRate = 48000.0;
constexpr int blockSize = 256;

void prepare (VantrelSampivoAudioProcessor& processor)
{
    processor.setRateAndBufferSizeDetails (sampleRate, blockSize);
    processor.prepareToPlay (sampleRate, blockSize);
}

juce::StringArray loadedNames (VantrelSampivoAudioProcessor& processor)
{
    const juce::ScopedLock lock (processor.synth.getLock());
    juce::StringArray names;

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
            names.add (sound->getName());

    return names;
}

/** The paths of a list that name readable files, in list order. */
juce::StringArray readablePaths (const juce::String& list)
{
    juce::StringArray paths, readable;
    paths.addTokens (list, "\n", "\"");

    for (const auto& path : paths)
        if (juce::File (path).existsAsFile())
            readable.add (path);

    return readable;
}

void waitForBlocks (const LoopThread& audio, long blocks)
{
    const auto target = audio.iterations() + blocks;

    while (audio.iterations() < target)
        std::this_thread::sleep_for (std::chrono::milliseconds (1));
}
} // namespace

TEST (Sharing, DropsSavesRestoresPushesAndReloadsRunTogether)
{
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    prepare (processor);

    FailureLog failures;
    const auto bound = outputBound (1.0f);

    juce::Random audioRandom (1);
    juce::AudioBuffer<float> buffer (2, blockSize);
    LoopThread audio ([&]
    {
        auto midi = randomNotes (audioRandom, blockSize, 6);
        processor.processBlock (buffer, midi);
        const auto fault = checkBlock (buffer, bound);

        if (fault.isNotEmpty())
            failures.report (fault);
    });

    // The editor's drops.
    juce::Random dropRandom (2);
    LoopThread drops ([&]
    {
        processor.setStateProperty ("filenames", pool.randomFileList (dropRandom));
        processor.reloadRequested = true;
        std::this_thread::sleep_for (std::chrono::milliseconds (2));
    });

    // The host's saves and restores; every saved document must be whole.
    juce::Random stateRandom (3);
    LoopThread state ([&]
    {
        juce::MemoryBlock saved;
        processor.getStateInformation (saved);
        const auto xml = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());

        if (xml == nullptr || ! xml->hasTagName ("settings"))
        {
            failures.report ("a save produced no settings document");
            return;
        }

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
    juce::Random messageRandom (4);
    LoopThread message ([&]
    {
        automateAtRandom (processor, messageRandom);
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
    // load was running.
    const auto finalList = pool.files()[0].getFullPathName() + "\n" + pool.files()[1].getFullPathName();
    processor.setStateProperty ("filenames", finalList);
    processor.reloadRequested = true;
    waitForBlocks (audio, 3);
    audio.stop();

    EXPECT_FALSE (failures.any()) << failures.first();
    EXPECT_GT (drops.iterations(), 10);
    EXPECT_GT (state.iterations(), 10);
    EXPECT_GT (message.iterations(), 10);
    EXPECT_EQ (loadedNames (processor), readablePaths (finalList));
    EXPECT_EQ (processor.getStateProperty ("filenames"), finalList);
    EXPECT_FALSE (processor.isLoadingSamples.load());
}

TEST (Sharing, ADropDuringALoadIsServedByTheNextBlock)
{
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    prepare (processor);

    // A long first list, so that the second drop lands while it loads.
    juce::StringArray longList;

    for (auto i = 0; i < 400; ++i)
        longList.add (pool.files()[(size_t) i % pool.files().size()].getFullPathName());

    const auto secondList = pool.files().back().getFullPathName();
    processor.setStateProperty ("filenames", longList.joinIntoString ("\n"));
    processor.reloadRequested = true;

    std::atomic<bool> blockDone { false };
    std::thread audio ([&]
    {
        juce::AudioBuffer<float> buffer (2, blockSize);
        juce::MidiBuffer midi;
        processor.processBlock (buffer, midi);
        blockDone = true;
    });

    while (! processor.isLoadingSamples.load() && ! blockDone.load())
        std::this_thread::yield();

    const auto droppedDuringLoad = ! blockDone.load();
    processor.setStateProperty ("filenames", secondList);
    processor.reloadRequested = true;
    audio.join();

    if (! droppedDuringLoad)
        GTEST_SKIP() << "the load finished before the second drop could land";

    // The block that was loading finished the list it started with; the request made
    // meanwhile is still pending, and the next block serves it.
    EXPECT_TRUE (processor.reloadRequested.load());

    juce::AudioBuffer<float> buffer (2, blockSize);
    juce::MidiBuffer midi;
    processor.processBlock (buffer, midi);

    EXPECT_FALSE (processor.reloadRequested.load());
    EXPECT_EQ (loadedNames (processor), juce::StringArray (secondList));
}

TEST (Sharing, ReloadsOnTwoThreadsNeverInterleave)
{
    // A program change loads on the host's thread while a drop loads on the audio thread.
    // Each load clears and refills the list; were two to interleave, the list would hold
    // more sounds than the file list names.
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    prepare (processor);

    juce::StringArray list;

    for (auto i = 0; i < 12; ++i)
        list.add (pool.files()[(size_t) i % pool.files().size()].getFullPathName());

    processor.setStateProperty ("filenames", list.joinIntoString ("\n"));
    const auto expected = list.size();

    std::atomic<int> mostSeen { 0 };
    LoopThread watcher ([&]
    {
        const auto seen = processor.getNumLoadedSounds();

        if (seen > mostSeen.load())
            mostSeen = seen;
    });

    LoopThread audio ([&]
    {
        juce::AudioBuffer<float> buffer (2, blockSize);
        juce::MidiBuffer midi;
        processor.reloadRequested = true;
        processor.processBlock (buffer, midi);
    });

    for (auto i = 0; i < 200; ++i)
        processor.setCurrentProgram (0);

    audio.stop();
    watcher.stop();

    EXPECT_LE (mostSeen.load(), expected);
    EXPECT_GT (audio.iterations(), 0);

    // Whichever load ran last, it ran whole.
    processor.setCurrentProgram (0);
    EXPECT_EQ (processor.getNumLoadedSounds(), expected);
}

TEST (Sharing, PushesFromTwoThreadsLeaveEverySoundWithOneThreadsValues)
{
    // The editor and the audio thread push at once; each field is an atomic store, and
    // with the variation turned off both pushes write the same values, which every sound
    // must hold afterwards.
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    prepare (processor);

    juce::StringArray list;

    for (const auto& file : pool.files())
        list.add (file.getFullPathName());

    processor.setStateProperty ("filenames", list.joinIntoString ("\n"));
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), list.size());

    processor.randomOtherParam->setValueNotifyingHost (0.0f);
    processor.volumeParam->setValueNotifyingHost (1.0f);
    processor.panParam->setValueNotifyingHost (1.0f);
    processor.decayParam->setValueNotifyingHost (0.5f);

    LoopThread audio ([&]
    {
        juce::AudioBuffer<float> buffer (2, blockSize);
        juce::MidiBuffer midi;
        processor.processBlock (buffer, midi);
    });

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

TEST (Sharing, ASoundLoadedOffTheAudioThreadIsSafeToPlayBeforeItsFirstPush)
{
    // A program change loads on the host's thread. The audio thread pushes the settings
    // into the sounds and then renders, so a sound added between the two is played
    // before any push reaches it: with its initial settings, and an envelope rate of 0
    // that makes every stage rate infinite. That must still give finite, bounded audio.
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    prepare (processor);

    // The instrument has been playing: its first block (which loads) is behind it.
    juce::AudioBuffer<float> buffer (2, blockSize);
    juce::MidiBuffer none;
    processor.processBlock (buffer, none);

    processor.setStateProperty ("filenames", pool.files().front().getFullPathName());
    processor.setCurrentProgram (0);
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);

    const juce::SynthesiserSound::Ptr held (processor.synth.getSound (0));
    auto* sound = dynamic_cast<juce::SamplerSoundLog*> (held.get());
    ASSERT_NE (sound, nullptr);
    ASSERT_EQ (sound->envelopeSampleRate.load(), 0.0f);

    // What the synthesiser does in that window: start and release notes on the sound,
    // one of them re-struck while it sounds.
    buffer.clear();
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    midi.addEvent (juce::MidiMessage::noteOn (1, 64, (juce::uint8) 30), 10);
    midi.addEvent (juce::MidiMessage::noteOff (1, 60), 64);
    midi.addEvent (juce::MidiMessage::noteOn (1, 64, (juce::uint8) 90), 100);
    processor.synth.renderNextBlock (buffer, midi, 0, blockSize);

    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());

    // The next block's push gives it the settings, and it plays on.
    processor.processBlock (buffer, none);
    EXPECT_FLOAT_EQ (sound->envelopeSampleRate.load(), (float) sampleRate);
    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());
}
