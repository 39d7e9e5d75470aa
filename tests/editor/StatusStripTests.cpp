#include "EditorTestHelpers.h"

#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

using namespace EditorTestHelpers;

namespace
{
const juce::Colour grey (0xffc8c8c8);
const juce::Colour yellow (0xffffc832);
const juce::Colour red (0xffff3000);

class StatusStrip : public ::testing::Test
{
protected:
    StatusStrip()
    {
        // Nothing may load behind the test's back: the drop tests look at the request only.
        processor.reloadRequested.store (false);
    }

    VantrelSampivoAudioProcessor processor;
    std::unique_ptr<juce::AudioProcessorEditor> editor { processor.createEditor() };
    WaveThumbnail& strip { statusStrip (*editor) };
    AudioFixtures::TempFolder folder;

    juce::String writeTone (const juce::String& name)
    {
        const auto file = folder.file (name);
        EXPECT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.1, 440.0));
        return file.getFullPathName();
    }

    juce::Image render()
    {
        // Drawn four times larger, so that even a one-character text has solid pixels.
        return strip.createComponentSnapshot (strip.getLocalBounds(), true, 4.0f);
    }

    // The text is drawn in one solid colour: its fully covered pixels have exactly that
    // colour, and no other state's colour appears.
    void expectDrawnIn (juce::Colour colour)
    {
        const auto image = render();
        EXPECT_GT (countPixelsOfColour (image, colour), 10);

        for (const auto other : { grey, yellow, red })
        {
            const auto expected = other == colour ? countPixelsOfColour (image, colour) : 0;
            EXPECT_EQ (countPixelsOfColour (image, other), expected);
        }
    }

    void expectMessage (const juce::String& text, juce::Colour colour, int lines)
    {
        const auto message = strip.describeState();
        EXPECT_EQ (message.text, text);
        EXPECT_EQ (message.colour, colour);
        EXPECT_EQ (message.maximumLines, lines);
        expectDrawnIn (colour);
    }
};
} // namespace

TEST_F (StatusStrip, EmptyInstrumentAsksForFiles)
{
    expectMessage ("Drag'n'drop audio files here", grey, 1);
}

TEST_F (StatusStrip, LoadingCountsTheSoundsSoFar)
{
    processor.isLoadingSamples.store (true);
    expectMessage ("LOADING 0... \n", yellow, 2);

    const auto tone = writeTone ("one.wav");
    processor.isLoadingSamples.store (false);
    loadSamples (processor, { tone });
    processor.isLoadingSamples.store (true);
    processor.setSampleLoadStatus ("reading two.wav");
    // Loading wins over every other state, the status text included.
    expectMessage ("LOADING 1... \nreading two.wav", yellow, 2);
    processor.isLoadingSamples.store (false);
}

TEST_F (StatusStrip, StatusTextComesNext)
{
    processor.setStateProperty ("filenames", "/nowhere/a.wav");
    processor.setSampleLoadStatus ("disk busy");
    expectMessage ("disk busy", grey, 1);
}

TEST_F (StatusStrip, LoadedSoundsWithTheirPaths)
{
    const auto first = writeTone ("kick.wav");
    const auto second = writeTone ("snare.wav");
    loadSamples (processor, { first, second });
    ASSERT_EQ (processor.getNumLoadedSounds(), 2);

    expectMessage ("(2) " + first + "\n" + second, grey, 50);
}

TEST_F (StatusStrip, LoadedSoundsWithoutAListShowAQuestionMark)
{
    loadSamples (processor, { writeTone ("kick.wav") });
    processor.setStateProperty ("filenames", {});
    expectMessage ("?", grey, 50);
}

TEST_F (StatusStrip, NamedButNothingLoadedIsMissing)
{
    processor.setStateProperty ("filenames", "C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 0);

    // Shown with forward slashes; the stored list keeps its backslashes.
    expectMessage ("MISSING SOME OF: C:/Samples/kick.wav\nC:/Samples/snare.wav", red, 50);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
}

TEST_F (StatusStrip, AudioFileTestLooksAtTheEndingOnly)
{
    for (const auto* name : { "a.wav", "B.WAV", "c.Mp3", "d.aiff", "e.AIF", "f.flac", "/no/such/folder.wav" })
        EXPECT_TRUE (WaveThumbnail::isAudioFileName (name)) << name;

    for (const auto* name : { "notes.txt", "a.wav.txt", "wav", "a.ogg", "a.wave", "" })
        EXPECT_FALSE (WaveThumbnail::isAudioFileName (name)) << name;

    EXPECT_TRUE (strip.isInterestedInFileDrag ({ "notes.txt", "loop.FLAC" }));
    EXPECT_FALSE (strip.isInterestedInFileDrag ({ "notes.txt", "cover.png" }));
    EXPECT_FALSE (strip.isInterestedInFileDrag ({}));
}

TEST_F (StatusStrip, DropKeepsTheAudioFilesInOrder)
{
    strip.filesDropped ({ "/s/a.wav", "/s/notes.txt", "/s/b.flac" }, 10, 10);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "/s/a.wav\n/s/b.flac");
    EXPECT_TRUE (processor.reloadRequested.load());

    processor.reloadRequested.store (false);
    strip.filesDropped ({ "/s/x.aif", "/s/y.aiff" }, 0, 0);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "/s/x.aif\n/s/y.aiff");
    EXPECT_TRUE (processor.reloadRequested.load());
}

TEST_F (StatusStrip, DropAcceptsUpperCaseEndings)
{
    strip.filesDropped ({ "C:\\Drums\\KICK.WAV" }, 0, 0);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "C:\\Drums\\KICK.WAV");
    EXPECT_TRUE (processor.reloadRequested.load());
}

TEST_F (StatusStrip, DropWithoutAudioFilesChangesNothing)
{
    processor.setStateProperty ("filenames", "/s/keep.wav");
    strip.filesDropped ({ "/s/notes.txt", "/s/a.wav.bak" }, 0, 0);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "/s/keep.wav");
    EXPECT_FALSE (processor.reloadRequested.load());
}

TEST_F (StatusStrip, DropReplacesTheList)
{
    const auto first = writeTone ("first.wav");
    const auto second = writeTone ("second.wav");
    strip.filesDropped ({ first }, 0, 0);
    processor.reloadSamples (true);

    strip.filesDropped ({ second }, 0, 0);
    EXPECT_EQ (processor.getStateProperty ("filenames"), second);

    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 1);
    expectMessage ("(1) " + second, grey, 50);
}
