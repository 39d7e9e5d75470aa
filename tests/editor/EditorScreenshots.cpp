// Writes pictures of the editor into the build folder, for a person to look at:
//   <build>/screenshots/editor-empty.png   the instrument as first opened
//   <build>/screenshots/editor-loaded.png  with three samples loaded
// They are drawn exactly as the window draws itself, look and feel and background included.

#include "EditorTestHelpers.h"

#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

using namespace EditorTestHelpers;

namespace
{
juce::File screenshotFolder()
{
    // The suite's executable sits in <build>/tests; the variable names <build> directly
    // where the test runner passes it on.
    const auto binaryDir = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_BINARY_DIR", {});
    const auto base = binaryDir.isNotEmpty()
                          ? juce::File (binaryDir)
                          : juce::File::getSpecialLocation (juce::File::currentExecutableFile).getParentDirectory().getParentDirectory();
    return base.getChildFile ("screenshots");
}

juce::File writeScreenshot (juce::Component& editor, const juce::String& name)
{
    const auto image = editor.createComponentSnapshot (editor.getLocalBounds(), true, 1.0f);
    const auto file = screenshotFolder().getChildFile (name);
    file.getParentDirectory().createDirectory();
    file.deleteFile();

    juce::FileOutputStream stream (file);
    juce::PNGImageFormat png;
    EXPECT_TRUE (stream.openedOk() && png.writeImageToStream (image, stream)) << file.getFullPathName();
    return file;
}

void expectPicture (const juce::File& file)
{
    const auto image = juce::ImageFileFormat::loadFrom (file);
    ASSERT_TRUE (image.isValid()) << file.getFullPathName();
    EXPECT_EQ (image.getWidth(), 375);
    EXPECT_EQ (image.getHeight(), 400);
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
    expectPicture (writeScreenshot (*editor, "editor-empty.png"));

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

    statusStrip (*editor).filesDropped (paths, 10, 10);
    processor.reloadSamples (true);
    ASSERT_EQ (processor.getNumLoadedSounds(), 3);
    dynamic_cast<SampivoEditor&> (*editor).timerCallback();

    expectPicture (writeScreenshot (*editor, "editor-loaded.png"));
}
