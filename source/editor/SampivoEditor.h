#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

class VantrelSampivoAudioProcessor;

class SampivoEditor : public juce::AudioProcessorEditor
{
public:
    explicit SampivoEditor (VantrelSampivoAudioProcessor& processor);
    ~SampivoEditor() override;

    void paint (juce::Graphics& g) override;

private:
    VantrelSampivoAudioProcessor& processor;
};
