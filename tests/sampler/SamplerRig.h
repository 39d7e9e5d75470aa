#pragma once

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SamplerVoiceLog.h"

#include <vector>

/** A processor driven the way a host drives it: rate and block size set, prepared,
    then fed blocks of MIDI. Parameters are set by ID through the host interface. */
class SamplerRig
{
public:
    struct Note
    {
        int sample;
        juce::MidiMessage message;
    };

    using Settings = std::vector<std::pair<juce::String, float>>;

    explicit SamplerRig (double hostRate = 48000.0, int blockSize = 512, bool monoOutput = false);

    /** A deterministic rig with these settings on top, playing these files. */
    SamplerRig (const juce::StringArray& paths, const Settings& settings,
                double hostRate = 48000.0, bool monoOutput = false);

    /** Sets the normalised value of the parameter with this ID. */
    void set (const juce::String& id, float normalisedValue);

    /** No randomness, no velocity dependence, the envelope at full level from the first
        sample (attack at its floor, sustain 1, "Log"), volume 0.5 and centre pan. */
    void makeDeterministic();

    /** Stores the list as "filenames" and loads it at once. */
    void load (const juce::StringArray& paths);

    /** Renders numSamples in host-sized blocks, delivering each note at its sample. */
    juce::AudioBuffer<float> render (int numSamples, const std::vector<Note>& notes = {});

    /** Frees every voice at once, so that the next note starts alone. */
    void silence();

    std::vector<juce::SamplerSoundLog*> sounds();
    std::vector<juce::SamplerVoiceLog*> activeVoices();

    /** Starts key 60 directly on the synthesiser and returns the voice that took it (or
        nullptr when the note was dropped), then frees every voice. The returned voice keeps
        the values its note set. */
    juce::SamplerVoiceLog* strike (float velocity = 1.0f);

    static Note noteOn (int sample, int note, int velocity = 127);
    static Note noteOff (int sample, int note);

    /** The level the gain law gives for a volume and a gain factor g. */
    static double expectedLevel (double volume, double g);

    VantrelSampivoAudioProcessor processor;
    const double hostRate;
    const int blockSize;
    const int numOutputs;
};
