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

/** The editor's one child of the given type (the status strip, the toggle). */
template <typename ComponentType>
ComponentType& onlyChild (juce::Component& parent)
{
    const auto found = childrenOfType<ComponentType> (parent);

    if (found.size() != 1)
        throw std::runtime_error ("the editor should hold exactly one of each");

    return *found.front();
}

/** The knob bound to a parameter: the knob registers itself with its parameter when it binds. */
ParameterSlider& knobFor (VantrelSampivoAudioProcessor& processor, const juce::String& id);
juce::Label* captionWithText (juce::Component& editor, const juce::String& text);

/** A mouse event on a component, for driving knobs as a user would. */
juce::MouseEvent mouseEventOn (juce::Component& component, juce::Point<float> position,
                               juce::ModifierKeys modifiers, juce::Point<float> mouseDownPosition, int clicks = 1);

/** Normalised value of any parameter, through the interface every parameter shares. */
inline float valueOf (const juce::AudioProcessorParameter& parameter) { return parameter.getValue(); }
inline void setHostValue (juce::AudioProcessorParameter& parameter, float value) { parameter.setValue (value); }

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
    juce::SamplerSoundLog* firstSound() { return dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (0).get()); }

    /** Writes a short sine file into the temporary folder and returns its path. */
    juce::String writeTone (const juce::String& name);
};

/** Counts value notifications and gestures that reach a parameter's listeners. */
class ParameterSpy : public juce::AudioProcessorParameter::Listener
{
public:
    explicit ParameterSpy (juce::AudioProcessorParameter& parameterToWatch) : parameter (parameterToWatch) { parameter.addListener (this); }
    ~ParameterSpy() override { parameter.removeListener (this); }

    void parameterValueChanged (int, float) override { ++valueChanges; }
    void parameterGestureChanged (int, bool) override { ++gestures; }

    int valueChanges = 0;
    int gestures = 0;

private:
    juce::AudioProcessorParameter& parameter;
};
} // namespace EditorTestHelpers
