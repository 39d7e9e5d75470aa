// Sample files and file lists that no encoder or editor would produce. The damaged
// files come from a seeded mutator over a valid file of each format, so every run tries
// the same ones: headers that lie about lengths, rates and channels, cut files, noise.
#include "reliability/ReliabilityRig.h"
#include "support/ByteMutator.h"

#include <gtest/gtest.h>

#include <numeric>

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

juce::StringArray writeSines (const AudioFixtures::TempFolder& folder, const juce::StringArray& names)
{
    juce::StringArray paths;
    for (const auto& name : names)
        if (AudioFixtures::writeSine (folder.file (name), 44100.0, 1, 0.3, 440.0))
            paths.add (folder.file (name).getFullPathName());
    return paths;
}
} // namespace

TEST (HostileInput, EachDamagedFileBetweenTwoGoodOnesLeavesThemPlaying)
{
    const AudioFixtures::TempFolder folder;
    const auto good = writeSines (folder, { "first.wav", "last.wav" });
    folder.file ("a folder.wav").createDirectory();
    juce::StringArray hostile { folder.file ("a folder.wav").getFullPathName(), folder.file ("absent.flac").getFullPathName(), "/", "relative.wav" };
    std::vector<ByteMutator::Bytes> sources;
    juce::StringArray endings;

    for (const auto* name : { "source.wav", "source.aiff", "source.flac", "source.mp3" })
        if (juce::MemoryBlock bytes; (folder.file (name).hasFileExtension ("mp3") ? AudioFixtures::writeSineMp3 (folder.file (name), 44100.0, 0.3, 440.0)
                                                                                   : AudioFixtures::writeSine (folder.file (name), 44100.0, 2, 0.2, 440.0))
                                     && folder.file (name).loadFileAsData (bytes))
        {
            sources.emplace_back (static_cast<const uint8_t*> (bytes.getData()), static_cast<const uint8_t*> (bytes.getData()) + bytes.getSize());
            endings.add (folder.file (name).getFileExtension());
        }

    // Forty damaged copies of each format's file.
    ByteMutator::Generator random (7);
    for (auto i = 0; i < 40 * (int) sources.size(); ++i)
    {
        auto bytes = sources[(size_t) i % sources.size()];
        ByteMutator::mutate (bytes, sources, { "RIFF", "FORM", "fLaC", "ID3", "data", "SSND", "COMM", std::string (8, '\xff') }, random);
        const auto file = folder.file ("damaged " + juce::String (i) + endings[i % endings.size()]);
        ASSERT_TRUE (file.replaceWithData (bytes.data(), bytes.size()));
        hostile.add (file.getFullPathName());
    }

    for (const auto& path : hostile)
    {
        // The good files keep their places (roots 60 and 58) and their keys; the
        // damaged one adds at most one sound.
        VantrelSampivoAudioProcessor processor;
        const auto sounds = loadAndPlay (processor, { good[0], path, good[1] });
        ASSERT_EQ (sounds.count (good[0]) + sounds.count (good[1]), 2u) << path;
        EXPECT_EQ (std::pair (sounds.at (good[0]), sounds.at (good[1])), std::pair (60, 58)) << path;
        EXPECT_LE (sounds.size(), 3u) << path;
        EXPECT_GT (render (processor, 512, { 0, 2 }).getMagnitude (0, 512), 0.001f) << path;
    }
}
