// The editor as a user meets it: where everything sits, what the knobs show and do,
// what the status strip says and in which colour, and what a drop stores.
#include "editor/SampivoEditor.h"
#include "support/AudioFixtures.h"
#include "support/Instrument.h"

#include <gtest/gtest.h>

namespace
{
const juce::Colour grey (0xffc8c8c8), yellow (0xffffc832), red (0xffff3000);

class Editor : public testing::Test
{
protected:
    template <typename Type>
    Type* child (std::function<bool (Type&)> wanted = [] (Type&) { return true; })
    {
        for (auto* component : editor->getChildren())
            if (auto* typed = dynamic_cast<Type*> (component); typed != nullptr && wanted (*typed))
                return typed;
        return nullptr;
    }

    ParameterSlider& knob (const juce::String& id) { return *child<ParameterSlider> ([&] (auto& k) { return k.getParameter()->paramID == id; }); }
    juce::Label* caption (const juce::String& text) { return child<juce::Label> ([&] (auto& l) { return l.getText() == text; }); }

    /** The strip's text, and its colour in the pixels: drawn four times larger, the
        text's fully covered pixels have exactly its colour and no other state's appears. */
    void expectStrip (const juce::String& text, juce::Colour colour)
    {
        auto& strip = *child<WaveThumbnail>();
        EXPECT_EQ (strip.describeState().text, text);
        const auto image = strip.createComponentSnapshot (strip.getLocalBounds(), true, 4.0f);
        const juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readOnly);
        std::map<juce::uint32, int> counts;

        for (auto y = 0; y < image.getHeight(); ++y)
            for (auto x = 0; x < image.getWidth(); ++x)
                ++counts[pixels.getPixelColour (x, y).getARGB()];

        for (const auto candidate : { grey, yellow, red })
            EXPECT_EQ (counts[candidate.getARGB()] > 10, candidate == colour) << text << " " << candidate.toString();
    }

    juce::String tone (const juce::String& name)
    {
        EXPECT_TRUE (AudioFixtures::writeSine (folder.file (name), 44100.0, 1, 0.1, 440.0));
        return folder.file (name).getFullPathName();
    }

    AudioFixtures::TempFolder folder;
    Instrument instrument;
    VantrelSampivoAudioProcessor& processor = instrument.processor;
    std::unique_ptr<juce::AudioProcessorEditor> editor { processor.createEditor() };
};
} // namespace

TEST_F (Editor, KnobsCaptionsToggleAndStripInPlace)
{
    // Three rows 100 pixels apart, columns 75 apart; a caption starts 8 pixels above its knob.
    const std::tuple<const char*, const char*, int, int> layout[] {
        { "volume", "Volume", 0, 31 },         { "attack", "Attack", 75, 31 },        { "decay", "Decay", 150, 31 },
        { "sustain", "Sustain", 225, 31 },     { "release", "Release", 300, 31 },    { "rndpitch", "Rnd. Pitch", 0, 131 },
        { "rnddecay", "Rnd. Other", 75, 131 }, { "vel2vol", "Vel > Volume", 150, 131 }, { "vel2offs", "Vel > Offset", 225, 131 },
        { "vel2prob", "Vel > Proba", 300, 131 }, { "pan", "Pan", 0, 231 },           { "curve", "Decay Curve", 150, 231 },
        { "probabl", "Probability", 300, 231 },
    };

    for (const auto& [id, text, x, y] : layout)
    {
        EXPECT_EQ (knob (id).getBounds(), juce::Rectangle<int> (x, y, 75, 75)) << id;
        ASSERT_NE (caption (text), nullptr) << text;
        EXPECT_EQ (caption (text)->getBounds(), juce::Rectangle<int> (x, y - 8, 75, 16)) << text;
    }

    EXPECT_EQ (editor->getLocalBounds(), juce::Rectangle<int> (0, 0, 375, 400));
    EXPECT_EQ (child<WaveThumbnail>()->getBounds(), juce::Rectangle<int> (0, 300, 375, 100));
    EXPECT_EQ (child<juce::ToggleButton>()->getBounds(), juce::Rectangle<int> (214, 190, 32, 32));
    EXPECT_EQ (caption ("Milliseconds")->getBounds(), juce::Rectangle<int> (236, 198, 115, 16));
}

TEST_F (Editor, CaptionsAreDrawnInTheNamedFaceUntilTheLastEditorCloses)
{
    // JUCE finds typefaces through the default look and feel, not the caption's own; the
    // face named is installed for the tests, and JUCE would not choose it itself.
    editor.reset();
    juce::LookAndFeel_V4 hostDefault;   // a default of the host's, which must come back
    juce::LookAndFeel::setDefaultLookAndFeel (&hostDefault);
    const auto face = [] { return juce::Font (12.0f).getTypefacePtr()->getName(); };
    const auto plainFace = face();
    editor.reset (processor.createEditor());
    std::unique_ptr<juce::AudioProcessorEditor> second (processor.createEditor());
    auto* label = caption ("Volume");
    EXPECT_EQ (label->getLookAndFeel().getLabelFont (*label).getTypefacePtr()->getName(), VantrelLookAndFeel::getFaceName());
    EXPECT_NE (plainFace, VantrelLookAndFeel::getFaceName());

    editor.reset();
    EXPECT_EQ (face(), VantrelLookAndFeel::getFaceName());
    second.reset();
    EXPECT_EQ (&juce::LookAndFeel::getDefaultLookAndFeel(), &hostDefault);
    EXPECT_EQ (face(), plainFace);
    juce::LookAndFeel::setDefaultLookAndFeel (nullptr);
}

TEST_F (Editor, KnobsShowTheParametersTextsAndPassMovesOnAtOnceAndHostChangesOnTheTick)
{
    // The curve knob stops at its three named shapes only.
    EXPECT_NEAR (knob ("curve").getMaximum() * 9.0, 2.0, 1.0e-9);
    EXPECT_EQ (knob ("curve").getTextFromValue (1.0 / 9.0) + knob ("volume").getTextFromValue (1.0) + knob ("pan").getTextFromValue (0.75),
               "1/x+18.1 dB+50 %");

    instrument.load ({ tone ("tone.wav") });
    auto* sound = instrument.sounds().at (0);
    knob ("vel2offs").setValue (0.6, juce::sendNotificationSync);
    EXPECT_NEAR (sound->velToOffset.load(), 0.6f, 1.0e-6f);

    // The switch writes its parameter; the sounds and the knobs follow on the tick.
    child<juce::ToggleButton>()->setToggleState (true, juce::sendNotificationSync);
    processor.decayParam->setValueNotifyingHost (0.25f);
    EXPECT_TRUE (processor.millisecondsParam->get());
    dynamic_cast<SampivoEditor&> (*editor).timerCallback();
    EXPECT_TRUE (sound->offsetInSeconds.load());
    EXPECT_NEAR (knob ("decay").getValue(), 0.25, 1.0e-6);

    // Knobs come and go with editors; parameters outlive them.
    editor.reset();
    processor.sustainParam->setValueNotifyingHost (0.5f);
    editor.reset (processor.createEditor());
    EXPECT_NEAR (knob ("sustain").getValue(), 0.5, 1.0e-6);
}

TEST_F (Editor, StripStatesInTheirOrderWithTextAndColour)
{
    expectStrip ("Drag'n'drop audio files here", grey);

    processor.isLoadingSamples = true;
    expectStrip ("LOADING 0... \n", yellow);
    processor.isLoadingSamples = false;

    // Named but not loaded: missing, with forward slashes; a loader's status comes first.
    processor.setStateProperty ("filenames", "C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
    expectStrip ("MISSING SOME OF: C:/Samples/kick.wav\nC:/Samples/snare.wav", red);
    processor.setSampleLoadStatus ("disk busy");
    expectStrip ("disk busy", grey);
    processor.setSampleLoadStatus ({});

    // A folder chosen on the red strip is searched for the missing files.
    const auto first = tone ("kick.wav"), second = tone ("snare.wav");
    child<WaveThumbnail>()->searchFolder (folder.get());
    processor.waitForSampleLoad();
    Instrument::settle (processor);
    expectStrip ("(2) " + first + "\n" + second, grey);

    processor.isLoadingSamples = true;
    processor.setSampleLoadStatus ("reading three.wav");
    expectStrip ("LOADING 2... \nreading three.wav", yellow);
}

TEST_F (Editor, ADropKeepsTheAudioFilesInOrderAndAsksForAReload)
{
    // The number of entries the loader then reads tells which drop it served; the same
    // files dropped again are read again.
    const std::tuple<juce::StringArray, const char*, bool, int> drops[] {
        { { "/s/a.wav", "/s/notes.txt", "/s/b.flac" }, "/s/a.wav\n/s/b.flac", true, 2 },
        { { "/s/x.aif", "/s/y.AIFF", "C:\\Drums\\Z.Mp3" }, "/s/x.aif\n/s/y.AIFF\nC:\\Drums\\Z.Mp3", true, 3 },
        { { "/s/notes.txt", "/s/a.wav.bak", "/s/a.ogg" }, "/s/x.aif\n/s/y.AIFF\nC:\\Drums\\Z.Mp3", false, 3 },
        { { "/s/a.wav", "/s/b.flac" }, "/s/a.wav\n/s/b.flac", true, 2 },
    };

    for (const auto& [dropped, stored, interested, filesRead] : drops)
    {
        EXPECT_EQ (child<WaveThumbnail>()->isInterestedInFileDrag (dropped), interested);
        child<WaveThumbnail>()->filesDropped (dropped, 10, 10);
        processor.waitForSampleLoad();
        EXPECT_EQ (processor.getStateProperty ("filenames"), stored);
        EXPECT_EQ (processor.getNumFilesLoading(), filesRead);
    }
}
