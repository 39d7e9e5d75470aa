// File lists that no user means to make, and a file whose reading fails under the
// decoder. (Damaged file contents are the audio-file fuzz target's, in tests/fuzz.)
#include "reliability/ReliabilityRig.h"

#include <gtest/gtest.h>

#include <numeric>

#include <sys/stat.h>
#include <unistd.h>

using namespace ReliabilityRig;

namespace
{
/** Loads the paths into a fresh processor, plays every key at once, checks that block
    against the loudest source, and returns the sounds loaded. */
std::map<juce::String, int> loadAndPlay (VantrelSampivoAudioProcessor& processor, const juce::StringArray& paths)
{
    Instrument::prepare (processor, 48000.0, 512);
    Instrument::drop (processor, paths.joinIntoString ("\n"));
    Instrument::settle (processor);
    std::vector<int> everyKey (128);
    std::iota (everyKey.begin(), everyKey.end(), 0);

    auto loudest = 1.0f;
    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        if (const auto* data = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get())->getAudioData())
            loudest = std::max (loudest, data->getMagnitude (0, data->getNumSamples()));

    EXPECT_EQ (checkBlock (render (processor, 512, everyKey), outputBound (loudest)), juce::String());
    processor.synth.allNotesOff (0, false);
    return loadedSounds (processor);
}
} // namespace

TEST (HostileInput, EachUnreadablePathBetweenTwoGoodOnesLeavesThemPlaying)
{
    const AudioFixtures::TempFolder folder;
    const juce::StringArray good { folder.file ("first.wav").getFullPathName(), folder.file ("last.wav").getFullPathName() };
    for (const auto& path : good)
        ASSERT_TRUE (AudioFixtures::writeSine (path, 44100.0, 1, 0.3, 440.0));
    juce::StringArray hostile { folder.file ("absent.flac").getFullPathName(), "/", "relative.wav" };

    // Directories and a pipe named like audio files: a decoder reading one would wait
    // or ask for more bytes for ever.
    for (const auto* name : { "a folder.wav", "a folder.flac", "a folder.mp3", "a folder.aiff" })
        if (folder.file (name).createDirectory())
            hostile.add (folder.file (name).getFullPathName());

    if (::mkfifo (folder.file ("a pipe.wav").getFullPathName().toRawUTF8(), 0600) == 0)
        hostile.add (folder.file ("a pipe.wav").getFullPathName());

    for (const auto& path : hostile)
    {
        // The good files keep their places (roots 60 and 58) and their keys; the
        // hostile one adds at most one sound.
        VantrelSampivoAudioProcessor processor;
        const auto sounds = loadAndPlay (processor, { good[0], path, good[1] });
        ASSERT_EQ (sounds.count (good[0]) + sounds.count (good[1]), 2u) << path;
        EXPECT_EQ (std::pair (sounds.at (good[0]), sounds.at (good[1])), std::pair (60, 58)) << path;
        EXPECT_LE (sounds.size(), 3u) << path;
        EXPECT_GT (render (processor, 512, { 0, 2 }).getMagnitude (0, 512), 0.001f) << path;
    }
}

// What JUCE's ChildProcess does now and then (it closes its pipe twice): a descriptor
// that another thread holds is closed under it. The failed read ends the decoding (a
// decoder that asked for more bytes for ever would hang here), and the file is read
// again and loads whole.
TEST (HostileInput, AFileWhoseDescriptorIsClosedWhileItLoadsIsReadAgain)
{
    const AudioFixtures::TempFolder folder;
    const auto file = folder.file ("long.flac");
    ASSERT_TRUE (AudioFixtures::writeSine (file, 48000.0, 2, 10.0, 440.0));
    VantrelSampivoAudioProcessor processor;
    Instrument::prepare (processor, 48000.0, 512);
    auto closed = false;

    for (auto attempt = 0; attempt < 50 && ! closed; ++attempt)
    {
        Instrument::drop (processor, file.getFullPathName());

        while (! closed && processor.isLoadingSamples.load())
            for (const auto& entry : juce::File ("/proc/self/fd").findChildFiles (juce::File::findFiles, false))
                if (! closed && entry.getLinkedTarget() == file)
                    closed = ::close (entry.getFileName().getIntValue()) == 0;

        Instrument::settle (processor);
    }

    ASSERT_TRUE (closed);
    ASSERT_EQ (processor.synth.getNumSounds(), 1);
    const auto* audio = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (0).get())->getAudioData();
    EXPECT_GT (audio->getMagnitude (0, 470000, 10000), 0.45f);
}
