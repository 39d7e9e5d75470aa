#pragma once

namespace juce
{
class SamplerSoundLog;
}

/** One push of the parameter values into the sounds: the settings that a voice copies
    from its sound when a note starts. Computed once per push and applied to every
    sound, so that all sounds share the same values (and the same random stretch of
    decay and release). */
struct SoundSettings
{
    float envelopeSampleRate = 0.0f;
    int curve = 0;
    float attack = 0.1f, decay = 0.1f, sustain = 1.0f, release = 0.1f;
    float gain = 1.0f;
    float pan = 0.0f;
    float randomPitch = 0.0f;
    float randomOther = 0.0f;
    float probability = 1.0f;
    float velToVolume = 0.0f;
    float velToOffset = 0.0f;
    float velToProbability = 0.0f;
    bool offsetInSeconds = false;

    /** Stores every field into the sound's playback fields. */
    void applyTo (juce::SamplerSoundLog& sound) const;
};
