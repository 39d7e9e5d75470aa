#pragma once

#include <juce_audio_basics/juce_audio_basics.h>
#include <juce_graphics/juce_graphics.h>

/** A picture of a render: the left and right channels one above the other, each
    drawn as its min/max envelope per pixel column with the RMS inside it, and a time
    axis in seconds below. */
class WaveformPlot
{
public:
    static juce::Image draw (const juce::AudioBuffer<float>& audio, double sampleRate, const juce::String& title);

    /** Draws the picture and writes it as PNG. Throws RenderFailure (outputFailed). */
    static void writePng (const juce::File& file, const juce::AudioBuffer<float>& audio, double sampleRate,
                          const juce::String& title);

    /** A tick spacing of 1, 2 or 5 times a power of ten that gives at most maxTicks
        intervals over the duration. */
    static double tickSpacing (double durationSeconds, int maxTicks);

    static constexpr int width = 1600;
    static constexpr int height = 640;
};
