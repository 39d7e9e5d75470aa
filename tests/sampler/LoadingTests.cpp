// Turning the file list into sounds: the key layout, when a list is (re)loaded, and
// moved files found again. (The ten-second and two-channel limits are the reference
// render's; unreadable files are the hostile-input and fuzz tests'.)
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
