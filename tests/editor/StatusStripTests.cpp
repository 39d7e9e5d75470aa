#include "EditorTestHelpers.h"

using namespace EditorTestHelpers;

namespace
{
const juce::Colour grey (0xffc8c8c8);
const juce::Colour yellow (0xffffc832);
const juce::Colour red (0xffff3000);

class StatusStrip : public EditorFixture
{
protected:
    // Nothing may load behind the test's back: the drop tests look at the request only.
    StatusStrip() { processor.reloadRequested.store (false); }

    WaveThumbnail& strip { onlyChild<WaveThumbnail> (*editor) };

    // The text is drawn in one solid colour: drawn four times larger, its fully covered
    // pixels have exactly that colour, and no other state's colour appears.
    void expectMessage (const juce::String& text, juce::Colour colour, int lines)
    {
        const auto message = strip.describeState();
        EXPECT_EQ (message.text, text);
        EXPECT_EQ (message.colour, colour);
        EXPECT_EQ (message.maximumLines, lines);

        const auto image = strip.createComponentSnapshot (strip.getLocalBounds(), true, 4.0f);
        for (const auto candidate : { grey, yellow, red })
        {
            const auto count = countPixels (image, [candidate] (int, int, juce::Colour c) { return c == candidate; });
            if (candidate == colour)
                EXPECT_GT (count, 10);
            else
                EXPECT_EQ (count, 0);
        }
    }
};
} // namespace

TEST_F (StatusStrip, SixStatesInTheirOrderWithTextAndColour)
{
    expectMessage ("Drag'n'drop audio files here", grey, 1);

    processor.isLoadingSamples.store (true);
    expectMessage ("LOADING 0... \n", yellow, 2);
    processor.isLoadingSamples.store (false);

    // Named but nothing loaded is missing, shown with forward slashes; the stored list
    // keeps its backslashes.
    const juce::String windowsPaths ("C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
    processor.setStateProperty ("filenames", windowsPaths);
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 0);
    expectMessage ("MISSING SOME OF: C:/Samples/kick.wav\nC:/Samples/snare.wav", red, 50);
    EXPECT_EQ (processor.getStateProperty ("filenames"), windowsPaths);

    // A status text comes before the missing list.
    processor.setSampleLoadStatus ("disk busy");
    expectMessage ("disk busy", grey, 1);
    processor.setSampleLoadStatus ({});

    const auto first = writeTone ("kick.wav");
    const auto second = writeTone ("snare.wav");
    loadSamples (processor, { first, second });
    ASSERT_EQ (processor.getNumLoadedSounds(), 2);
    expectMessage ("(2) " + first + "\n" + second, grey, 50);

    // Loading wins over every other state, the status text included.
    processor.isLoadingSamples.store (true);
    processor.setSampleLoadStatus ("reading three.wav");
    expectMessage ("LOADING 2... \nreading three.wav", yellow, 2);
    processor.isLoadingSamples.store (false);
    processor.setSampleLoadStatus ({});

    processor.setStateProperty ("filenames", {});
    expectMessage ("?", grey, 50);
}

TEST_F (StatusStrip, AudioFileTestLooksAtTheEndingOnly)
{
    for (const auto* name : { "a.wav", "B.WAV", "c.Mp3", "d.aiff", "e.AIF", "f.flac", "/no/such/folder.wav" })
        EXPECT_TRUE (WaveThumbnail::isAudioFileName (name)) << name;

    for (const auto* name : { "notes.txt", "a.wav.txt", "wav", "a.ogg", "a.wave", "" })
        EXPECT_FALSE (WaveThumbnail::isAudioFileName (name)) << name;

    EXPECT_TRUE (strip.isInterestedInFileDrag ({ "notes.txt", "loop.FLAC" }));
    EXPECT_FALSE (strip.isInterestedInFileDrag ({ "notes.txt", "cover.png" }));
}

TEST_F (StatusStrip, DropsKeepTheAudioFilesInOrderAndReplaceTheList)
{
    const struct { juce::StringArray dropped; const char* filenames; bool reload; } rows[] = {
        { { "/s/a.wav", "/s/notes.txt", "/s/b.flac" }, "/s/a.wav\n/s/b.flac", true }, // mixed
        { { "/s/x.aif", "/s/y.aiff" }, "/s/x.aif\n/s/y.aiff", true },                   // replaces the list
        { { "C:\\Drums\\KICK.WAV" }, "C:\\Drums\\KICK.WAV", true },                   // upper-case ending
        { { "/s/notes.txt", "/s/a.wav.bak" }, "C:\\Drums\\KICK.WAV", false },         // nothing changes
    };

    for (const auto& row : rows)
    {
        SCOPED_TRACE (row.filenames);
        processor.reloadRequested.store (false);
        strip.filesDropped (row.dropped, 10, 10);
        EXPECT_EQ (processor.getStateProperty ("filenames"), row.filenames);
        EXPECT_EQ (processor.reloadRequested.load(), row.reload);
    }

    // The replaced list is what loads and what the strip shows.
    const auto second = writeTone ("second.wav");
    strip.filesDropped ({ writeTone ("first.wav") }, 0, 0);
    processor.reloadSamples (true);
    strip.filesDropped ({ second }, 0, 0);
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);
    expectMessage ("(1) " + second, grey, 50);
}
