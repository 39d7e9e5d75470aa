#include "editor/SampivoEditor.h"

#include "processor/VantrelSampivoAudioProcessor.h"

SampivoEditor::SampivoEditor (VantrelSampivoAudioProcessor& p)
    : juce::AudioProcessorEditor (p), processor (p)
{
    setSize (375, 400);
}

SampivoEditor::~SampivoEditor() = default;

void SampivoEditor::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff282828));
}
