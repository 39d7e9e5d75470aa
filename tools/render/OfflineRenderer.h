#pragma once

#include "MidiScore.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <functional>

/** Plays a score through a plug-in block by block, faster than real time, and
    collects the stereo output. */
class OfflineRenderer
{
public:
    struct Settings
    {
        double sampleRate = 48000.0;
        int blockSize = 512;
        double tailSeconds = 2.0;
    };

    /** Called after each block with the fraction of the audio done. */
    using ProgressCallback = std::function<void (double)>;

    /** The output length: the score's last event plus the tail, rounded to the
        nearest sample. Throws RenderFailure (unreadableInput) beyond four hours. */
    static int lengthInSamples (const MidiScore& score, const Settings& settings);

    /** The sample at which an event at the given time is delivered, rounded to the
        nearest sample: the event lands at that offset within its block. */
    static juce::int64 samplePositionOf (double seconds, double sampleRate);

    /** Prepares the plug-in, renders the whole score and releases the plug-in again.
        The result has two channels; a mono plug-in's output is copied to both. */
    static juce::AudioBuffer<float> render (juce::AudioProcessor& plugin, const MidiScore& score,
                                            const Settings& settings, const ProgressCallback& progress);
};
