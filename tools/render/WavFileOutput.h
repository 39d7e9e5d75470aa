#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

/** Writes rendered audio as a WAV file: 24-bit integer PCM or 32-bit float. */
class WavFileOutput
{
public:
    /** Replaces file with the whole buffer. Throws RenderFailure (outputFailed) when
        the file can't be written. */
    static void write (const juce::File& file, const juce::AudioBuffer<float>& audio, double sampleRate,
                       int bitsPerSample);
};
