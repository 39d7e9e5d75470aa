#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** Peak and RMS level of one channel of a render. */
struct ChannelLevels
{
    float peak = 0.0f;
    double rms = 0.0;

    static ChannelLevels measure (const juce::AudioBuffer<float>& audio, int channel);

    /** A linear level in dBFS with one decimal, "-inf" for silence. */
    static juce::String toDecibelText (double level);
};
