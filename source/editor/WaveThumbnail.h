#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

class VantrelSampivoAudioProcessor;

/** The strip along the bottom of the editor: it takes drops of audio files, which
    become the instrument's sample set, and tells in a few lines of text what is
    loading, what is loaded and what is missing. It keeps no state of its own:
    everything it shows is read from the processor when it paints.
*/
class WaveThumbnail : public juce::Component,
                      public juce::FileDragAndDropTarget
{
public:
    explicit WaveThumbnail (VantrelSampivoAudioProcessor& processorToShow);

    void paint (juce::Graphics& g) override;
    void resized() override;

    bool isInterestedInFileDrag (const juce::StringArray& files) override;
    void filesDropped (const juce::StringArray& files, int x, int y) override;

    /** A click on the red "missing" text asks for a folder to find the files in: the
        folder is remembered for every later load, and the list is loaded again. */
    void mouseUp (const juce::MouseEvent& event) override;

    /** Remembers the folder and loads the list again, searching it for missing files. */
    void searchFolder (const juce::File& folder);

    /** True when the path's text ends like an audio file the instrument reads,
        whatever the case. The file itself is not looked at. */
    static bool isAudioFileName (const juce::String& path);

    /** What the strip shows for the processor's present state. */
    struct Message
    {
        juce::String text;
        juce::Colour colour;
        int maximumLines;
    };

    Message describeState() const;

private:
    bool showsMissingFiles() const;

    VantrelSampivoAudioProcessor& processor;
    std::unique_ptr<juce::FileChooser> chooser;
    bool choosing = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WaveThumbnail)
};
