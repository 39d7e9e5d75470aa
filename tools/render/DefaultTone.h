#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

/** The sample played when none is given: a short electric-piano-like tone at middle C
    (the instrument's root key), made here and written to a temporary WAV file that
    lives as long as this object, since the plug-in loads its samples from disk. */
class DefaultTone
{
public:
    /** Writes the tone; throws RenderFailure (outputFailed) if the temporary folder
        can't be written. */
    DefaultTone();
    ~DefaultTone();

    DefaultTone (const DefaultTone&) = delete;
    DefaultTone& operator= (const DefaultTone&) = delete;

    const juce::File& getFile() const noexcept { return file; }

    /** The tone itself, for whoever wants it without a file. */
    static juce::AudioBuffer<float> render();

    static constexpr double sampleRate = 48000.0;
    static constexpr double seconds = 1.6;
    static constexpr double frequency = 261.6255653005986; // middle C, MIDI key 60

private:
    juce::File folder;
    juce::File file;
};
