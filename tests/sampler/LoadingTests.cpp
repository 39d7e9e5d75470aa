// Turning the file list into sounds: the key layout, files that can't be read, the
// two-channel limit, and when a list is (re)loaded.
#include "SamplerFixture.h"
#include "sampler/RememberedFolders.h"

namespace
{
struct LayoutRow { const char* name; const char* pattern; };   // a letter per file, '-' for an empty line

using KeyLayout = SamplerTable<LayoutRow>;

} // namespace

TEST_P (KeyLayout, FilesTakeTurnsAcrossTheKeysWithRootsOneSemitoneLowerEach)
{
    const juce::String pattern (GetParam().pattern);
    const auto count = pattern.length();
    juce::StringArray entries;
    std::vector<int> indices;

    for (auto i = 0; i < count; ++i)
    {
        entries.add (pattern[i] == '-' ? juce::String() : sine (juce::String::charToString (pattern[i]) + ".wav", 441.0));

        if (pattern[i] != '-')
            indices.push_back (i);
    }

    Instrument instrument;
    ASSERT_EQ (instrument.load (entries), (int) indices.size());

    // File i of n (empty lines counted) has root 60 - i and keys i, i + n, ... below
    // 128 - n; a single file has root 60 and every key.
    for (size_t s = 0; s < indices.size(); ++s)
    {
        auto* sound = instrument.sounds()[s];
        EXPECT_EQ (sound->getName(), entries[indices[s]]);
        EXPECT_EQ (sound->getRootNote(), 60 - indices[s]);

        for (auto key = -1; key <= 128; ++key)
        {
            const auto owns = count == 1 ? key >= 0 && key < 128 : key >= 0 && key < 128 - count && key % count == indices[s];
            EXPECT_EQ (sound->appliesToNote (key), owns) << "key " << key << ", entry " << indices[s];
        }
    }
}

INSTANTIATE_TEST_SUITE_P (Sampler, KeyLayout,
                          testing::Values (LayoutRow { "OneFile", "a" }, LayoutRow { "TwoFiles", "ab" },
                                           LayoutRow { "ThreeFiles", "abc" }, LayoutRow { "EmptyLineKeepsItsPlace", "a-b" }),
                          RowName());

// Every writable format keeps the first two channels of three, and each file its place
// in the layout. (Unreadable files are the hostile-input tests'; the reference render
// plays a twelve-second file, of which ten seconds are kept.)
TEST_F (Sampler, EveryFormatKeepsTheFirstTwoChannels)
{
    juce::StringArray paths;
    for (const auto* name : { "three.wav", "three.aiff", "three.aif", "three.flac" })
    {
        ASSERT_TRUE (AudioFixtures::writeAudioFile (folder.file (name), 48000.0, 3, 500, [] (int channel, int i) { return 0.125f * (float) channel + (float) i / 1000.0f; }));
        paths.add (folder.file (name).getFullPathName());
    }

    Instrument instrument;
    ASSERT_EQ (instrument.load (paths), 4);
    for (auto* sound : instrument.sounds())
    {
        ASSERT_EQ (sound->getAudioData()->getNumChannels(), 2) << sound->getName();
        EXPECT_EQ (sound->getName(), paths[60 - sound->getRootNote()]);
        EXPECT_NEAR (sound->getAudioData()->getSample (1, 100), 0.225f, 1.0e-5f) << sound->getName();
    }
}

TEST_F (Sampler, WhenTheListIsLoaded)
{
    const auto a = sine ("a.wav", 441.0), b = sine ("b.wav", 441.0);
    VantrelSampivoAudioProcessor processor;
    const auto loaded = [&]
    {
        Instrument::settle (processor);
        return processor.synth.getNumSounds() > 0 ? processor.synth.getSound (0).get() : nullptr;
    };

    // A list restored before the host prepares is playing once prepareToPlay returns.
    processor.setStateProperty ("filenames", a);
    Instrument::prepare (processor, 48000.0, 512);
    EXPECT_EQ (processor.synth.getNumSounds(), 1);
    const auto* first = loaded();

    // Asking again for the list that is loaded costs nothing: no file is read again.
    processor.prepareToPlay (44100.0, 512);
    processor.setCurrentProgram (7);
    EXPECT_EQ (loaded(), first);
    EXPECT_EQ (processor.getCurrentProgram(), 0);

    // An empty list leaves the sounds in place; a program change loads a changed list.
    processor.setStateProperty ("filenames", {});
    processor.setCurrentProgram (0);
    EXPECT_EQ (loaded(), first);
    processor.setStateProperty ("filenames", a + "\n" + b);
    processor.setCurrentProgram (0);
    loaded();
    EXPECT_EQ (processor.getNumLoadedSounds(), 2);

    // A restore plays the list it brings, unless that list is playing already.
    juce::MemoryBlock state;
    processor.getStateInformation (state);
    const auto* pair = loaded();
    processor.setStateInformation (state.getData(), (int) state.getSize());
    EXPECT_EQ (loaded(), pair);
    Instrument::drop (processor, b);
    loaded();
    processor.setStateInformation (state.getData(), (int) state.getSize());
    loaded();
    EXPECT_EQ (processor.getNumLoadedSounds(), 2);

    // A drop reads its files again even when it names the same ones.
    Instrument::drop (processor, a + "\n" + b);
    EXPECT_NE (loaded(), pair);
}

// A project whose samples moved finds them by itself in a folder the user chose once:
// by name, case apart, the shortest path first, nested folders searched, the order kept
// and what can't be found kept in its place.
TEST_F (Sampler, MovedSamplesAreFoundInARememberedFolder)
{
    const auto library = folder.file ("library");
    for (const auto* name : { "deeper/kick.wav", "Kick.WAV", "a/b/Snare.wav" })
        ASSERT_TRUE (library.getChildFile (name).getParentDirectory().createDirectory() && AudioFixtures::writeSine (library.getChildFile (name), 44100.0, 1, 0.1, 441.0));

    RememberedFolders::add (folder.file ("elsewhere"));
    RememberedFolders::add (library);
    VantrelSampivoAudioProcessor processor;
    processor.setStateProperty ("filenames", "/moved/kick.wav\n/moved/gone.wav\nC:\\Moved\\snare.wav");
    Instrument::prepare (processor, 48000.0, 512);

    const juce::StringArray found { library.getChildFile ("Kick.WAV").getFullPathName(), "/moved/gone.wav", library.getChildFile ("a/b/Snare.wav").getFullPathName() };
    EXPECT_EQ (processor.getStateProperty ("filenames"), found.joinIntoString ("\n"));
    EXPECT_EQ (processor.getNumLoadedSounds(), 2);
    EXPECT_EQ (RememberedFolders::load(), juce::Array<juce::File> ({ library, folder.file ("elsewhere") }));
}

TEST_F (Sampler, AnOfflineBlockPlaysTheDropBeforeIt)
{
    // Offline, the block after a drop waits for the load, so a note in that very block
    // sounds and a render comes out the same every time.
    Instrument instrument;
    instrument.steady();
    instrument.processor.setNonRealtime (true);
    Instrument::drop (instrument.processor, levels ("dc.wav", { 0.5f }));
    EXPECT_GT (instrument.play (512, { Instrument::on (0, 60) }).getMagnitude (0, 512), 0.4f);
}
