#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <functional>

/** The audio files that tests load: every one is generated, none is committed. */
namespace AudioFixtures
{
/** A temporary folder that is deleted with the object. */
class TempFolder
{
public:
    TempFolder();
    ~TempFolder() { folder.deleteRecursively(); }

    juce::File file (const juce::String& name) const { return folder.getChildFile (name); }
    const juce::File& get() const noexcept          { return folder; }

private:
    juce::File folder;
};

/** Writes sample i of channel c as generator (c, i), in the format of the file's ending
    (.wav, .aif, .aiff, .flac). Returns false if the format can't write it. */
bool writeAudioFile (const juce::File& file, double sampleRate, int numChannels, int numSamples,
                     const std::function<float (int channel, int sampleIndex)>& generator, int bitsPerSample = 24);

/** A sine of the given frequency and amplitude on every channel. */
bool writeSine (const juce::File& file, double sampleRate, int numChannels, double seconds,
                double frequency, float amplitude = 0.5f);

/** An MP3 sine, encoded by Debian's lame when it is installed; false otherwise. */
bool writeSineMp3 (const juce::File& file, double sampleRate, double seconds, double frequency);
} // namespace AudioFixtures
