#pragma once

#include "editor/ParameterSlider.h"
#include "editor/SampivoEditor.h"
#include "editor/WaveThumbnail.h"
#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

/** Finds the editor's parts the way a user sees them: by what they are and what they
    show, not through the editor's private members. */
namespace EditorTestHelpers
{
template <typename ComponentType>
std::vector<ComponentType*> childrenOfType (juce::Component& parent)
{
    std::vector<ComponentType*> found;

    for (auto* child : parent.getChildren())
        if (auto* typed = dynamic_cast<ComponentType*> (child))
            found.push_back (typed);

    return found;
}

juce::AudioParameterFloatVantrel* parameterWithId (VantrelSampivoAudioProcessor& processor, const juce::String& id);
ParameterSlider& knobFor (VantrelSampivoAudioProcessor& processor, const juce::String& id);
juce::Label* captionWithText (juce::Component& editor, const juce::String& text);
WaveThumbnail& statusStrip (juce::Component& editor);
juce::ToggleButton& millisecondsToggle (juce::Component& editor);

/** A mouse event on a component, for driving knobs as a user would. */
juce::MouseEvent mouseEventOn (juce::Component& component, juce::Point<float> position,
                               juce::ModifierKeys modifiers, juce::Point<float> mouseDownPosition, int clicks = 1);

/** Normalised value of any parameter, through the interface every parameter shares. */
float valueOf (const juce::AudioProcessorParameter& parameter);
void setHostValue (juce::AudioProcessorParameter& parameter, float value);

/** Loads the given files as the processor's sample set, as a drop and the next block would. */
void loadSamples (VantrelSampivoAudioProcessor& processor, const juce::StringArray& paths);

/** Counts the pixels whose position and colour pass the test. */
int countPixels (const juce::Image& image, const std::function<bool (int x, int y, juce::Colour)>& test);

/** A processor with its editor open and a temporary folder for sample files. */
class EditorFixture : public ::testing::Test
{
protected:
    VantrelSampivoAudioProcessor processor;
    std::unique_ptr<juce::AudioProcessorEditor> editor { processor.createEditor() };
    AudioFixtures::TempFolder folder;

    SampivoEditor& sampivoEditor() { return dynamic_cast<SampivoEditor&> (*editor); }
    juce::SamplerSoundLog* firstSound();

    /** Writes a short sine file into the temporary folder and returns its path. */
    juce::String writeTone (const juce::String& name);
};

/** Counts value notifications and gestures that reach a parameter's listeners. */
class ParameterSpy : public juce::AudioProcessorParameter::Listener
{
public:
    explicit ParameterSpy (juce::AudioProcessorParameter& parameterToWatch);
    ~ParameterSpy() override;

    void parameterValueChanged (int, float) override { ++valueChanges; }
    void parameterGestureChanged (int, bool) override { ++gestures; }

    int valueChanges = 0;
    int gestures = 0;

private:
    juce::AudioProcessorParameter& parameter;
};
} // namespace EditorTestHelpers
