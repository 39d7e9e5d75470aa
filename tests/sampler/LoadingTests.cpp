#include "SamplerRig.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace
{
using AudioFixtures::TempFolder;

// The file that the layout gives key k when count files are loaded, or -1 for none:
// every count-th key from the file's index, and the top count keys left empty.
int expectedOwner (int key, int count)
{
    if (count < 2)
        return 0;

    return key < 128 - count ? key % count : -1;
}

juce::String writeShortSine (const TempFolder& folder, const juce::String& name, double frequency = 441.0)
{
    const auto file = folder.file (name);
    EXPECT_TRUE (AudioFixtures::writeSine (file, 44100.0, 2, 0.05, frequency));
    return file.getFullPathName();
}

// How many of this process's open files lie inside the folder.
int countOpenFilesIn (const juce::File& folder)
{
    const auto prefix = folder.getFullPathName().toStdString() + "/";
    auto open = 0;
    std::error_code error;

    for (const auto& entry : std::filesystem::directory_iterator ("/proc/self/fd", error))
    {
        const auto target = std::filesystem::read_symlink (entry.path(), error).string();

        if (! error && target.rfind (prefix, 0) == 0)
            ++open;
    }

    return open;
}
} // namespace

//==============================================================================
// Each letter is a file, each '-' an empty line of the list.
class KeyLayout : public testing::TestWithParam<const char*> {};

TEST_P (KeyLayout, FilesAlternateAcrossKeysWithLoweredRoots)
{
    const juce::String pattern (GetParam());
    const auto count = pattern.length();
    TempFolder folder;
    SamplerRig rig;

    juce::StringArray entries, paths;
    juce::Array<int> indices;

    for (auto i = 0; i < count; ++i)
    {
        const auto isFile = pattern[i] != '-';
        entries.add (isFile ? writeShortSine (folder, juce::String::charToString (pattern[i]) + ".wav") : juce::String());

        if (isFile)
        {
            paths.add (entries[i]);
            indices.add (i);
        }
    }

    rig.load (entries);
    const auto sounds = rig.sounds();
    ASSERT_EQ ((int) sounds.size(), paths.size());

    // An empty line keeps its place in the layout, and its keys stay silent.
    for (auto s = 0; s < paths.size(); ++s)
    {
        EXPECT_EQ (sounds[(size_t) s]->getName(), paths[s]);
        EXPECT_EQ (sounds[(size_t) s]->getRootNote(), count < 2 ? 60 : 60 - indices[s]);

        for (auto key = -1; key <= 128; ++key)
            EXPECT_EQ (sounds[(size_t) s]->appliesToNote (key), key >= 0 && key < 128 && expectedOwner (key, count) == indices[s])
                << "key " << key << " entry " << indices[s] << " of " << pattern;
    }

    EXPECT_FALSE (sounds[0]->appliesToNote (std::numeric_limits<int>::min()));
}

INSTANTIATE_TEST_SUITE_P (Loading, KeyLayout, testing::Values ("a", "ab", "abc", "a-b"));

TEST (Loading, MissingUnreadableAndUnsupportedFilesLeaveTheirKeysSilent)
{
    TempFolder folder;
    SamplerRig rig;
    rig.makeDeterministic();

    const auto good0 = writeShortSine (folder, "good0.wav");
    const auto good4 = writeShortSine (folder, "good4.flac");
    const auto corrupt = folder.file ("corrupt.wav");
    ASSERT_TRUE (corrupt.replaceWithText ("RIFF this is not audio at all"));
    const auto text = folder.file ("notes.txt");
    ASSERT_TRUE (text.replaceWithText ("hello"));

    rig.load ({ good0, folder.file ("missing.wav").getFullPathName(), corrupt.getFullPathName(),
                text.getFullPathName(), good4 });

    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 2u);
    EXPECT_EQ (sounds[0]->getName(), good0);
    EXPECT_EQ (sounds[1]->getName(), good4);
    EXPECT_EQ (sounds[1]->getRootNote(), 56);
    EXPECT_TRUE (sounds[1]->appliesToNote (4));
    EXPECT_TRUE (sounds[1]->appliesToNote (9));

    // Key 1 belonged to the missing file: silence. Key 5 to good0: sound.
    const auto silent = rig.render (2048, { SamplerRig::noteOn (0, 61) });
    EXPECT_EQ (silent.getMagnitude (0, 2048), 0.0f);

    const auto sounding = rig.render (2048, { SamplerRig::noteOn (0, 60) });
    EXPECT_GT (sounding.getMagnitude (0, 2048), 0.1f);
}

TEST (Loading, UnforcedReloadOnlyLoadsWhenNothingIsLoadedAndAnEmptyListKeepsTheSounds)
{
    TempFolder folder;
    SamplerRig rig;
    const auto a = writeShortSine (folder, "a.wav");
    const auto b = writeShortSine (folder, "b.wav");

    rig.processor.setStateProperty ("filenames", a);
    rig.processor.prepareToPlay (48000.0, 512);
    const auto before = rig.sounds();
    ASSERT_EQ (before.size(), 1u);
    EXPECT_EQ (before[0]->getName(), a);

    rig.processor.setStateProperty ("filenames", a + "\n" + b);
    rig.processor.reloadSamples (false);
    rig.processor.prepareToPlay (44100.0, 512);
    EXPECT_EQ (rig.sounds(), before);

    rig.processor.setStateProperty ("filenames", {});
    rig.processor.reloadSamples (true);
    rig.processor.setCurrentProgram (0);
    EXPECT_EQ (rig.sounds(), before);

    rig.processor.setStateProperty ("filenames", a + "\n" + b);
    rig.processor.reloadSamples (true);
    EXPECT_EQ (rig.sounds().size(), 2u);
}

TEST (Loading, ProgramChangeAndReloadRequestRebuildTheSounds)
{
    TempFolder folder;
    SamplerRig rig;
    const auto a = writeShortSine (folder, "a.wav");
    const auto b = writeShortSine (folder, "b.aiff");

    // A fresh processor loads the stored list in its first block.
    rig.processor.setStateProperty ("filenames", a);
    ASSERT_TRUE (rig.processor.reloadRequested.load());
    rig.render (512);
    EXPECT_FALSE (rig.processor.reloadRequested.load());
    ASSERT_EQ (rig.sounds().size(), 1u);

    rig.processor.setStateProperty ("filenames", b);
    rig.render (512);
    EXPECT_EQ (rig.sounds()[0]->getName(), a);

    rig.processor.reloadRequested = true;
    rig.render (512);
    ASSERT_EQ (rig.sounds().size(), 1u);
    EXPECT_EQ (rig.sounds()[0]->getName(), b);

    rig.processor.setStateProperty ("filenames", a + "\n" + b);
    rig.processor.setCurrentProgram (7);
    EXPECT_EQ (rig.sounds().size(), 2u);
    EXPECT_EQ (rig.processor.getCurrentProgram(), 0);
}

TEST (Loading, NestedReloadDoesNothing)
{
    TempFolder folder;
    SamplerRig rig;
    rig.processor.setStateProperty ("filenames", writeShortSine (folder, "a.wav"));

    rig.processor.isLoadingSamples = true;
    rig.processor.reloadSamples (true);
    EXPECT_TRUE (rig.sounds().empty());

    rig.processor.isLoadingSamples = false;
    rig.processor.reloadSamples (true);
    EXPECT_EQ (rig.sounds().size(), 1u);
    EXPECT_FALSE (rig.processor.isLoadingSamples.load());
}

TEST (Loading, ReadersAreReleasedOnceTheAudioIsCopied)
{
    TempFolder folder;
    SamplerRig rig;

    juce::StringArray paths;
    for (auto i = 0; i < 6; ++i)
        paths.add (writeShortSine (folder, "f" + juce::String (i) + (i % 2 == 0 ? ".wav" : ".flac")));

    rig.load (paths);
    EXPECT_EQ (countOpenFilesIn (folder.get()), 0);

    for (auto round = 0; round < 5; ++round)
        rig.processor.reloadSamples (true);

    EXPECT_EQ (rig.sounds().size(), 6u);
    EXPECT_EQ (countOpenFilesIn (folder.get()), 0);

    // Nothing keeps the files: they can be removed while their sounds play on.
    for (const auto& path : paths)
        EXPECT_TRUE (juce::File (path).deleteFile());

    const auto buffer = rig.render (1024, { SamplerRig::noteOn (0, 60) });
    EXPECT_GT (buffer.getMagnitude (0, 1024), 0.0f);
}

//==============================================================================
TEST (SoundContents, KeepsAtMostTenSecondsAndFourSpareSamples)
{
    TempFolder folder;
    SamplerRig rig;

    // A ramp makes every kept sample identifiable.
    const auto ramp = [] (int, int i) { return (float) (i % 1000) / 2000.0f; };
    const auto longFile = folder.file ("long.wav");
    const auto shortFile = folder.file ("short.wav");
    ASSERT_TRUE (AudioFixtures::writeAudioFile (longFile, 11025.0, 1, 11025 * 10 + 3000, ramp));
    ASSERT_TRUE (AudioFixtures::writeAudioFile (shortFile, 11025.0, 1, 1234, ramp));

    rig.load ({ longFile.getFullPathName(), shortFile.getFullPathName() });
    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 2u);

    const auto* longSound = sounds[0];
    EXPECT_EQ (longSound->getLength(), 110250);
    EXPECT_DOUBLE_EQ (longSound->getSourceSampleRate(), 11025.0);
    ASSERT_NE (longSound->getAudioData(), nullptr);
    EXPECT_EQ (longSound->getAudioData()->getNumSamples(), 110254);
    EXPECT_NEAR (longSound->getAudioData()->getSample (0, 110249), ramp (0, 110249), 1.0e-5);
    // The spare samples of a longer file hold what follows the cut.
    EXPECT_NEAR (longSound->getAudioData()->getSample (0, 110251), ramp (0, 110251), 1.0e-5);

    const auto* shortSound = sounds[1];
    EXPECT_EQ (shortSound->getLength(), 1234);
    ASSERT_NE (shortSound->getAudioData(), nullptr);
    EXPECT_EQ (shortSound->getAudioData()->getNumSamples(), 1238);
    EXPECT_NEAR (shortSound->getAudioData()->getSample (0, 1233), ramp (0, 1233), 1.0e-5);

    for (auto i = 1234; i < 1238; ++i)
        EXPECT_EQ (shortSound->getAudioData()->getSample (0, i), 0.0f);
}

TEST (SoundContents, MonoKeepsOneChannelAndThreeChannelsKeepTheFirstTwo)
{
    TempFolder folder;
    SamplerRig rig;
    const auto perChannel = [] (int channel, int) { return 0.125f * (float) (channel + 1); };

    const auto mono = folder.file ("mono.wav");
    const auto three = folder.file ("three.wav");
    ASSERT_TRUE (AudioFixtures::writeAudioFile (mono, 48000.0, 1, 500, perChannel));
    ASSERT_TRUE (AudioFixtures::writeAudioFile (three, 48000.0, 3, 500, perChannel));

    rig.load ({ mono.getFullPathName(), three.getFullPathName() });
    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 2u);

    ASSERT_NE (sounds[0]->getAudioData(), nullptr);
    EXPECT_EQ (sounds[0]->getAudioData()->getNumChannels(), 1);
    EXPECT_NEAR (sounds[0]->getAudioData()->getSample (0, 100), 0.125f, 1.0e-5);

    ASSERT_NE (sounds[1]->getAudioData(), nullptr);
    EXPECT_EQ (sounds[1]->getAudioData()->getNumChannels(), 2);
    EXPECT_NEAR (sounds[1]->getAudioData()->getSample (0, 100), 0.125f, 1.0e-5);
    EXPECT_NEAR (sounds[1]->getAudioData()->getSample (1, 100), 0.25f, 1.0e-5);
}

TEST (SoundContents, EveryDroppableFormatLoads)
{
    TempFolder folder;
    SamplerRig rig;

    juce::StringArray paths;
    for (const auto* name : { "s.wav", "s.aiff", "s.aif", "s.flac" })
        paths.add (writeShortSine (folder, name));

    rig.load (paths);
    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 4u);

    for (const auto* sound : sounds)
    {
        EXPECT_DOUBLE_EQ (sound->getSourceSampleRate(), 44100.0) << sound->getName();
        EXPECT_EQ (sound->getLength(), 2205) << sound->getName();
        ASSERT_NE (sound->getAudioData(), nullptr);
        EXPECT_NEAR (sound->getAudioData()->getMagnitude (0, 2205), 0.5f, 0.01f) << sound->getName();
    }
}

TEST (SoundContents, Mp3Loads)
{
    TempFolder folder;
    const auto mp3 = folder.file ("tone.mp3");

    if (! AudioFixtures::writeSineMp3 (mp3, 44100.0, 0.5, 441.0))
        GTEST_SKIP() << "lame is not installed";

    SamplerRig rig;
    rig.makeDeterministic();
    rig.load ({ mp3.getFullPathName() });
    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 1u);
    EXPECT_DOUBLE_EQ (sounds[0]->getSourceSampleRate(), 44100.0);
    // The encoder pads the start and the end; the bulk of the half second is there.
    EXPECT_GE (sounds[0]->getLength(), 22050);
    EXPECT_LT (sounds[0]->getLength(), 22050 + 4096);

    const auto buffer = rig.render (9600, { SamplerRig::noteOn (0, 60) });
    const auto frequency = SignalAnalysis::zeroCrossingFrequency (buffer.getReadPointer (0), 4800, 9600, 48000.0);
    EXPECT_NEAR (frequency, 441.0, 2.0);
}

TEST (SoundContents, FileWithoutSamplesBecomesASilentSound)
{
    TempFolder folder;
    SamplerRig rig;
    rig.makeDeterministic();
    const auto empty = folder.file ("empty.wav");
    ASSERT_TRUE (AudioFixtures::writeAudioFile (empty, 48000.0, 2, 0, [] (int, int) { return 0.0f; }));

    rig.load ({ empty.getFullPathName() });
    const auto sounds = rig.sounds();
    ASSERT_EQ (sounds.size(), 1u);
    EXPECT_EQ (sounds[0]->getAudioData(), nullptr);
    EXPECT_EQ (sounds[0]->getLength(), 0);

    const auto buffer = rig.render (2048, { SamplerRig::noteOn (0, 60), SamplerRig::noteOn (100, 64) });
    EXPECT_EQ (buffer.getMagnitude (0, 2048), 0.0f);
    EXPECT_TRUE (rig.activeVoices().empty());
}

//==============================================================================
TEST (LoadingUnderLoad, ReloadsWhileTheAudioThreadPlaysAndTheEditorPushes)
{
    TempFolder folder;
    SamplerRig rig;
    rig.makeDeterministic();
    const auto a = writeShortSine (folder, "a.wav");
    const auto b = writeShortSine (folder, "b.flac", 882.0);
    rig.load ({ a, b });

    std::atomic<bool> running { true };
    std::atomic<bool> finite { true };

    std::thread audio ([&]
    {
        auto key = 0;

        while (running.load())
        {
            const auto block = rig.render (256, { SamplerRig::noteOn (0, 40 + key), SamplerRig::noteOff (128, 40 + key) });
            key = (key + 1) % 40;

            if (! SignalAnalysis::allFinite (block))
                finite = false;
        }
    });

    for (auto round = 0; round < 200; ++round)
    {
        rig.processor.setStateProperty ("filenames", round % 2 == 0 ? a : a + "\n" + b);
        rig.processor.setCurrentProgram (0);
        rig.processor.updateSoundParameters();
        rig.processor.reloadRequested = true;
    }

    running = false;
    audio.join();

    EXPECT_TRUE (finite.load());
    const auto count = rig.sounds().size();
    EXPECT_TRUE (count == 1u || count == 2u);
}
