#include "editor/WaveThumbnail.h"

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/RememberedFolders.h"

namespace
{
const juce::Colour loadingColour (0xffffc832);
const juce::Colour plainColour (0xffc8c8c8);
const juce::Colour missingColour (0xffff3000);
} // namespace

WaveThumbnail::WaveThumbnail (VantrelSampivoAudioProcessor& processorToShow)
    : processor (processorToShow)
{
}

bool WaveThumbnail::isAudioFileName (const juce::String& path)
{
    for (const auto* ending : { ".wav", ".mp3", ".aiff", ".aif", ".flac" })
        if (path.endsWithIgnoreCase (ending))
            return true;

    return false;
}

bool WaveThumbnail::isInterestedInFileDrag (const juce::StringArray& files)
{
    for (const auto& file : files)
        if (isAudioFileName (file))
            return true;

    return false;
}

void WaveThumbnail::filesDropped (const juce::StringArray& files, int, int)
{
    juce::String joined;
    juce::String separator;

    for (const auto& file : files)
    {
        if (! isAudioFileName (file))
            continue;

        joined << separator << file;
        separator = "\n";
    }

    // A drop replaces the whole sample set. Dropping the same files again reads them
    // again: they may have been edited since.
    if (joined.isNotEmpty())
    {
        processor.setStateProperty ("filenames", joined);
        processor.requestSampleLoad (true);
    }

    repaint();
}

bool WaveThumbnail::showsMissingFiles() const
{
    return ! processor.isLoadingSamples.load() && processor.getNumLoadedSounds() == 0
           && processor.getStateProperty ("filenames").isNotEmpty();
}

void WaveThumbnail::mouseUp (const juce::MouseEvent&)
{
    if (! showsMissingFiles() || choosing)
        return;

    // The chooser lives until the next one: JUCE calls back from inside it.
    choosing = true;
    chooser = std::make_unique<juce::FileChooser> ("Find the missing files in...");
    chooser->launchAsync (juce::FileBrowserComponent::openMode | juce::FileBrowserComponent::canSelectDirectories,
                          [this] (const juce::FileChooser& chosen)
                          {
                              choosing = false;
                              searchFolder (chosen.getResult());
                          });
}

void WaveThumbnail::searchFolder (const juce::File& folder)
{
    if (! folder.isDirectory())
        return;

    RememberedFolders::add (folder);
    processor.setSampleLoadStatus ({});
    processor.requestSampleLoad (true);
    repaint();
}

WaveThumbnail::Message WaveThumbnail::describeState() const
{
    const auto shownList = processor.getStateProperty ("filenames").replaceCharacter ('\\', '/');
    const auto numSounds = processor.getNumLoadedSounds();
    const auto status = processor.getSampleLoadStatus();

    if (processor.isLoadingSamples.load())
        return { "LOADING " + juce::String (processor.getNumFilesLoading()) + "... \n" + status, loadingColour, 2 };

    if (status.isNotEmpty())
        return { status, plainColour, 1 };

    if (numSounds > 0 && shownList.isEmpty())
        return { "?", plainColour, 50 };

    if (numSounds > 0)
        return { "(" + juce::String (numSounds) + ") " + shownList, plainColour, 50 };

    if (shownList.isNotEmpty())
        return { "MISSING SOME OF: " + shownList, missingColour, 50 };

    return { "Drag'n'drop audio files here", plainColour, 1 };
}

void WaveThumbnail::paint (juce::Graphics& g)
{
    const auto message = describeState();

    g.setFont (12.0f);
    g.setColour (message.colour);
    g.drawFittedText (message.text, getLocalBounds(), juce::Justification::centred, message.maximumLines, 0.0f);
    g.resetToDefaultState();
}

void WaveThumbnail::resized() {}
