// Writes pictures of the editor into the build folder, for a person to look at:
//   <build>/screenshots/editor-empty.png   the instrument as first opened
//   <build>/screenshots/editor-loaded.png  with three samples loaded
// They are drawn exactly as the window draws itself, look and feel and background included.

#include "EditorTestHelpers.h"

using namespace EditorTestHelpers;

namespace
{
juce::File screenshotFolder()
{
    // The test runner names the build folder; run by hand, the suite sits in <build>/tests.
    const auto binaryDir = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_BINARY_DIR", {});
    const auto base = binaryDir.isNotEmpty() ? juce::File (binaryDir)
                                             : juce::File::getSpecialLocation (juce::File::currentExecutableFile).getParentDirectory().getParentDirectory();
    return base.getChildFile ("screenshots");
}

// Writes the picture, reads it back and checks it holds the whole panel.
void writeScreenshot (juce::Component& editor, const juce::String& name)
{
    const auto file = screenshotFolder().getChildFile (name);
    file.getParentDirectory().createDirectory();
    file.deleteFile();
    {
        juce::FileOutputStream stream (file);
        juce::PNGImageFormat png;
        ASSERT_TRUE (stream.openedOk() && png.writeImageToStream (editor.createComponentSnapshot (editor.getLocalBounds(), true, 1.0f), stream))
            << file.getFullPathName();
    }
    EXPECT_EQ (juce::ImageFileFormat::loadFrom (file).getBounds(), juce::Rectangle<int> (0, 0, 375, 400)) << file.getFullPathName();
}
} // namespace

TEST (EditorScreenshots, EmptyAndLoaded)
{
    VantrelSampivoAudioProcessor processor;
    processor.reloadRequested.store (false);
    setHostValue (*processor.curveParam, 1.0f / 9.0f);
    setHostValue (*processor.randomPitchParam, 0.12f);
    setHostValue (*processor.velToVolumeParam, 0.6f);

    const std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditor());
    writeScreenshot (*editor, "editor-empty.png");

    // Samples that stay in the build folder, so the picture shows short, stable paths.
    const auto samples = screenshotFolder().getChildFile ("samples");
    samples.createDirectory();
    juce::StringArray paths;

    for (const auto& [name, frequency] : { std::make_pair ("Kick.wav", 55.0), std::make_pair ("Snare.wav", 180.0),
                                           std::make_pair ("HiHat.wav", 4000.0) })
    {
        const auto file = samples.getChildFile (name);
        ASSERT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.2, frequency));
        paths.add (file.getFullPathName());
    }

    onlyChild<WaveThumbnail> (*editor).filesDropped (paths, 10, 10);
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 3);
    dynamic_cast<SampivoEditor&> (*editor).timerCallback();

    writeScreenshot (*editor, "editor-loaded.png");
}
