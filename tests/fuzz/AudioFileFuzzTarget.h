#pragma once

#include "processor/VantrelSampivoAudioProcessor.h"

#include <cstdint>
#include <string>
#include <vector>

/** The sample-file fuzzing target: any bytes as an audio file of every format the
    instrument registers, made into a sound and played. Shared by libFuzzer's entry
    point and the replay that every test run makes. */
namespace AudioFileFuzz
{
/** One short valid file per registered format: WAV (32-bit float), AIFF, FLAC, Ogg
    Vorbis and, where Debian's lame is installed, MP3. */
std::vector<std::vector<uint8_t>> seeds();

class Harness
{
public:
    Harness();

    /** Returns the first rule that the bytes break, or an empty string. For each format
        that opens them: the sound keeps at most two channels and ten seconds, holds only
        finite samples, and two notes played on it (at its root and at the top key, which
        reads the audio fastest) give a finite block. */
    std::string loadAndPlay (const uint8_t* data, size_t size);

private:
    VantrelSampivoAudioProcessor processor;
    juce::AudioFormatManager formats;
    juce::AudioBuffer<float> block { 2, 1024 };
    juce::MidiBuffer notes;
};
} // namespace AudioFileFuzz
