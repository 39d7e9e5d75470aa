#include "OfflineRenderer.h"

#include "RenderFailure.h"

#include <cmath>

namespace
{
constexpr double longestRenderSeconds = 4.0 * 60.0 * 60.0;
}

juce::int64 OfflineRenderer::samplePositionOf (double seconds, double sampleRate)
{
    return static_cast<juce::int64> (std::llround (seconds * sampleRate));
}

int OfflineRenderer::lengthInSamples (const MidiScore& score, const Settings& settings)
{
    const auto seconds = score.getEndSeconds() + settings.tailSeconds;

    if (seconds > longestRenderSeconds)
        throw RenderFailure (ExitCode::unreadableInput,
                             "the render would last " + juce::String (seconds / 3600.0, 1)
                                 + " hours; the renderer stops at four hours");

    return static_cast<int> (samplePositionOf (seconds, settings.sampleRate));
}

juce::AudioBuffer<float> OfflineRenderer::render (juce::AudioProcessor& plugin, const MidiScore& score,
                                                  const Settings& settings, const ProgressCallback& progress)
{
    const auto totalSamples = lengthInSamples (score, settings);
    const auto pluginChannels = juce::jmax (plugin.getTotalNumInputChannels(), plugin.getTotalNumOutputChannels());
    const auto outputChannels = plugin.getTotalNumOutputChannels();

    plugin.setNonRealtime (true);
    plugin.prepareToPlay (settings.sampleRate, settings.blockSize);

    juce::AudioBuffer<float> output (2, totalSamples);
    output.clear();
    juce::AudioBuffer<float> block (pluginChannels, settings.blockSize);
    juce::MidiBuffer midi;

    const auto& events = score.getEvents();
    auto nextEvent = 0;

    for (auto blockStart = 0; blockStart < totalSamples; blockStart += settings.blockSize)
    {
        const auto blockLength = juce::jmin (settings.blockSize, totalSamples - blockStart);
        const auto blockEnd = static_cast<juce::int64> (blockStart) + blockLength;

        midi.clear();

        while (nextEvent < events.getNumEvents())
        {
            const auto& message = events.getEventPointer (nextEvent)->message;
            const auto position = samplePositionOf (message.getTimeStamp(), settings.sampleRate);

            if (position >= blockEnd)
                break;

            midi.addEvent (message, static_cast<int> (juce::jmax<juce::int64> (0, position - blockStart)));
            ++nextEvent;
        }

        block.setSize (pluginChannels, blockLength, false, false, true);
        block.clear();
        plugin.processBlock (block, midi);

        for (auto channel = 0; channel < 2; ++channel)
            output.copyFrom (channel, blockStart, block, juce::jmin (channel, outputChannels - 1), 0, blockLength);

        if (progress)
            progress (static_cast<double> (blockEnd) / totalSamples);
    }

    plugin.releaseResources();
    return output;
}
