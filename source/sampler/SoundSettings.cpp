#include "sampler/SoundSettings.h"

#include "sampler/SamplerSoundLog.h"

void SoundSettings::applyTo (juce::SamplerSoundLog& sound) const
{
    constexpr auto relaxed = std::memory_order_relaxed;

    sound.envelopeSampleRate.store (envelopeSampleRate, relaxed);
    sound.curve.store (curve, relaxed);
    sound.attack.store (attack, relaxed);
    sound.decay.store (decay, relaxed);
    sound.sustain.store (sustain, relaxed);
    sound.release.store (release, relaxed);
    sound.gain.store (gain, relaxed);
    sound.pan.store (pan, relaxed);
    sound.randomPitch.store (randomPitch, relaxed);
    sound.probability.store (probability, relaxed);
    sound.randomOther.store (randomOther, relaxed);
    sound.velToVolume.store (velToVolume, relaxed);
    sound.velToOffset.store (velToOffset, relaxed);
    sound.velToProbability.store (velToProbability, relaxed);
    sound.offsetInSeconds.store (offsetInSeconds, relaxed);
}
