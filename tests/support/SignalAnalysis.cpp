#include "support/SignalAnalysis.h"

#include <cmath>

namespace SignalAnalysis
{

double zeroCrossingFrequency (const float* samples, int start, int end, double sampleRate)
{
    // Interpolate each rising crossing to a fraction of a sample, then count periods
    // between the first and the last one.
    double first = -1.0, last = -1.0;
    int crossings = 0;

    for (auto i = start + 1; i < end; ++i)
    {
        const auto a = samples[i - 1], b = samples[i];

        if (a < 0.0f && b >= 0.0f)
        {
            const auto t = (double) (i - 1) + (double) (-a / (b - a));

            if (first < 0.0)
                first = t;

            last = t;
            ++crossings;
        }
    }

    if (crossings < 2)
        return 0.0;

    return (crossings - 1) * sampleRate / (last - first);
}

float peak (const float* samples, int start, int end)
{
    float result = 0.0f;

    for (auto i = start; i < end; ++i)
        result = std::max (result, std::abs (samples[i]));

    return result;
}

double rms (const float* samples, int start, int end)
{
    if (end <= start)
        return 0.0;

    double sum = 0.0;

    for (auto i = start; i < end; ++i)
        sum += (double) samples[i] * samples[i];

    return std::sqrt (sum / (end - start));
}

int firstAbove (const float* samples, int numSamples, float threshold)
{
    for (auto i = 0; i < numSamples; ++i)
        if (std::abs (samples[i]) > threshold)
            return i;

    return -1;
}

bool allFinite (const juce::AudioBuffer<float>& buffer)
{
    for (auto c = 0; c < buffer.getNumChannels(); ++c)
        for (auto i = 0; i < buffer.getNumSamples(); ++i)
            if (! std::isfinite (buffer.getSample (c, i)))
                return false;

    return true;
}

} // namespace SignalAnalysis
