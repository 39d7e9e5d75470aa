#pragma once

#include <juce_audio_basics/juce_audio_basics.h>
#include <juce_audio_formats/juce_audio_formats.h>

#include <atomic>
#include <memory>

namespace juce
{

/** One audio file held in memory as a sound of the synthesiser, with the playback
    settings that the processor pushes into it every block and that a voice copies
    when a note starts.

    At most ten seconds and two channels of the file are kept, plus four spare samples
    so that linear interpolation may read one sample past the end, and only finite
    samples of a bounded size. A reader without samples, with a rate of 0 or below, or
    with frames wider than any sample file's, gives a sound without audio, which plays
    as silence.

    The playback fields are written from the message thread and the audio thread and
    read by voices at note start, so each is an atomic read and written relaxed.
*/
class SamplerSoundLog : public SynthesiserSound
{
public:
    SamplerSoundLog (const String& name, AudioFormatReader& source,
                     const BigInteger& notes, int rootNote);
    ~SamplerSoundLog() override;

    bool appliesToNote (int midiNoteNumber) override;
    bool appliesToChannel (int midiChannel) override;

    const String& getName() const noexcept                 { return name; }

    /** The audio (length + 4 samples, 1 or 2 channels), or nullptr for a sound without audio. */
    const AudioBuffer<float>* getAudioData() const noexcept { return data.get(); }

    double getSourceSampleRate() const noexcept            { return sourceSampleRate; }
    int getLength() const noexcept                         { return length; }
    int getRootNote() const noexcept                       { return midiRootNote; }
    const BigInteger& getMidiNotes() const noexcept        { return midiNotes; }

    //==============================================================================
    std::atomic<float> envelopeSampleRate { 0.0f };
    std::atomic<float> gain { 1.0f };
    std::atomic<float> pan { 0.0f };
    std::atomic<float> randomPitch { 0.0f };
    std::atomic<float> randomOther { 0.0f };
    std::atomic<float> probability { 1.0f };
    std::atomic<float> velToVolume { 0.0f };
    std::atomic<float> velToOffset { 0.0f };
    std::atomic<float> velToProbability { 0.0f };
    std::atomic<bool> offsetInSeconds { false };
    std::atomic<int> curve { 0 };
    std::atomic<float> attack { 0.1f };
    std::atomic<float> decay { 0.1f };
    std::atomic<float> sustain { 1.0f };
    std::atomic<float> release { 0.1f };

    /** The longest stretch of a file that is kept, in seconds. */
    static constexpr double maxLengthSeconds = 10.0;

    /** An upper bound on the samples kept per channel, whatever rate a header claims. */
    static constexpr int maxSamplesPerChannel = 1 << 24;

    /** Samples kept after the end so that interpolation can read past it. */
    static constexpr int guardSamples = 4;

    /** A file with more channels or bits per sample than these, or with fewer than 8
        bits per sample, gives a sound without audio. */
    static constexpr unsigned int maxChannelsRead = 256, maxBitsPerSampleRead = 64;

    /** The largest sample value kept (+60 dB over full scale): a file's NaN and
        infinities are kept as 0, larger values as this. */
    static constexpr float maxSampleMagnitude = 1000.0f;

private:
    static void keepSamplesFinite (AudioBuffer<float>& audio) noexcept;

    String name;
    std::unique_ptr<AudioBuffer<float>> data;
    double sourceSampleRate = 0.0;
    BigInteger midiNotes;
    int length = 0;
    int midiRootNote = 0;

    JUCE_LEAK_DETECTOR (SamplerSoundLog)
};

} // namespace juce
