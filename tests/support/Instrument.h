#pragma once

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SamplerVoiceLog.h"

#include <vector>

/** The instrument driven the way a host drives it: output layout, rate and block size
    set, prepared, parameters set by ID through the host interface, then fed blocks of
    MIDI. Every suite that plays or loads samples goes through it. */
class Instrument
{
public:
    struct Note { int sample; juce::MidiMessage message; };

    explicit Instrument (double rate = 48000.0, int blockSize = 512, int outputChannels = 2);

    /** Sets the output layout, rate and block size, and prepares the processor to play. */
    static void prepare (juce::AudioProcessor& processor, double rate, int blockSize, int outputChannels = 2);

    /** Sets the normalised value of the parameter with this ID, as host automation does. */
    void set (const juce::String& id, float normalisedValue);

    /** No randomness, no velocity dependence, full level from the first sample (attack
        at its floor, sustain 1, "Log"), volume 0.5, centre pan, every note played. */
    Instrument& steady();

    /** Drops these files and returns once they are loaded: the one place where the
        suites turn a file list into loaded sounds. Returns the number of sounds. */
    int load (const juce::StringArray& paths);

    /** What a drop on the editor does, without waiting for the load: stores the list
        (one path a line) and asks the loader for it. */
    static void drop (VantrelSampivoAudioProcessor& processor, const juce::String& list);

    /** Returns once the loads that drops, program changes or restores asked for have
        finished (by rendering one offline block, which waits for them). */
    static void settle (juce::AudioProcessor& processor);

    /** Renders numSamples in host-sized blocks, delivering each note at its sample. */
    juce::AudioBuffer<float> play (int numSamples, const std::vector<Note>& notes = {});

    /** Starts key 60 on the synthesiser and returns the voice that took it (nullptr when
        the note was dropped); every voice is freed again afterwards. */
    juce::SamplerVoiceLog* strike (float velocity);

    std::vector<juce::SamplerSoundLog*> sounds();
    std::vector<juce::SamplerVoiceLog*> activeVoices();

    static Note on (int sample, int key, int velocity = 127);

    /** The attributes of a saved block in document order, the save time left out: what
        a save after a restore must give back. Empty for a block that isn't a save. */
    static std::vector<std::pair<juce::String, juce::String>> savedAttributes (const juce::MemoryBlock& block);

    VantrelSampivoAudioProcessor processor;
    const int blockSize;
    const int channels;
};
