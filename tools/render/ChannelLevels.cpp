#include "ChannelLevels.h"

#include <cmath>

ChannelLevels ChannelLevels::measure (const juce::AudioBuffer<float>& audio, int channel)
{
    ChannelLevels levels;
    const auto numSamples = audio.getNumSamples();

    if (numSamples == 0)
        return levels;

    const auto* samples = audio.getReadPointer (channel);
    auto sumOfSquares = 0.0;

    for (auto i = 0; i < numSamples; ++i)
    {
        levels.peak = juce::jmax (levels.peak, std::abs (samples[i]));
        sumOfSquares += static_cast<double> (samples[i]) * samples[i];
    }

    levels.rms = std::sqrt (sumOfSquares / numSamples);
    return levels;
}

juce::String ChannelLevels::toDecibelText (double level)
{
    if (level <= 0.0)
        return "-inf";

    return juce::String (20.0 * std::log10 (level), 1);
}
