#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <functional>

/** Writes the audio files that tests load: every fixture is generated, none is committed. */
namespace AudioFixtures
{
/** A temporary folder that is deleted with the object. */
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();

    juce::File file (const juce::String& name) const { return folder.getChildFile (name); }
    const juce::File& get() const noexcept          { return folder; }

private:
    juce::File folder;
};

/** Generates sample i of channel c. */
using Generator = std::function<float (int channel, int sampleIndex)>;

/** Writes numSamples of audio made by generator with the format picked from the file's
    ending (.wav, .aif/.aiff, .flac). Returns false if the format can't write it. */
bool writeAudioFile (const juce::File& file, double sampleRate, int numChannels, int numSamples,
                     const Generator& generator, int bitsPerSample = 24);

/** A sine of the given frequency and amplitude on every channel. */
bool writeSine (const juce::File& file, double sampleRate, int numChannels, double seconds,
                double frequency, float amplitude = 0.5f);

/** A constant level (DC) on every channel, handy for measuring gains exactly. */
bool writeConstant (const juce::File& file, double sampleRate, int numChannels, int numSamples,
                    float level);

/** Writes an MP3 with a Debian encoder (lame) when one is installed; false otherwise. */
bool writeSineMp3 (const juce::File& file, double sampleRate, double seconds, double frequency);
} // namespace AudioFixtures
