#include "sampler/SamplerVoiceLog.h"

#include "sampler/StepSearch.h"
#include "sampler/StretchMixer.h"

#include <algorithm>
#include <cmath>

namespace juce
{

SamplerVoiceLog::SamplerVoiceLog (SeededRandom& randomSource) : random (randomSource) {}
SamplerVoiceLog::~SamplerVoiceLog() = default;

bool SamplerVoiceLog::canPlaySound (SynthesiserSound* sound)
{
    return dynamic_cast<const SamplerSoundLog*> (sound) != nullptr;
}

void SamplerVoiceLog::startNote (int midiNoteNumber, float velocity, SynthesiserSound* s, int)
{
    auto* sound = dynamic_cast<SamplerSoundLog*> (s);

    if (sound == nullptr)
        return;

    const auto relaxed = std::memory_order_relaxed;
    const auto probability = sound->probability.load (relaxed);
    const auto velToProbability = sound->velToProbability.load (relaxed);
    const auto randomPitch = sound->randomPitch.load (relaxed);
    const auto randomOther = sound->randomOther.load (relaxed);
    const auto velToOffset = sound->velToOffset.load (relaxed);
    const auto velToVolume = sound->velToVolume.load (relaxed);
    const auto soundGain = sound->gain.load (relaxed);
    const auto soundPan = sound->pan.load (relaxed);

    // Probability: softer notes are likelier to be dropped as velToProbability rises.
    const auto p = random.nextFloat() * (1.0f - velToProbability) + (1.0f - velocity) * velToProbability;

    if (p > probability)
    {
        clearCurrentNote();
        playingSound = nullptr;
        return;
    }

    // Pitch: semitones from the root, with a random spread of +/- 3 * randomPitch^2.
    auto semitones = (float) midiNoteNumber - (float) sound->getRootNote();

    if (randomPitch > 0.0f)
        semitones += (random.nextFloat() - 0.5f) * randomPitch * (randomPitch * 6.0f);

    pitchRatio = std::pow (2.0, (double) semitones * (1.0 / 12.0))
                 * sound->getSourceSampleRate() / getSampleRate();

    // Level from velocity with a random spread.
    const auto level = ((1.0f - randomOther * 0.5f) + random.nextFloat() * randomOther) * velocity;
    const auto clippedLevel = jlimit (0.0f, 1.0f, level * 1.05f);

    // Start offset: loud notes start near the beginning, soft ones later.
    const auto* audio = sound->getAudioData();
    const auto bufferSamples = audio != nullptr ? audio->getNumSamples() : 0;
    sourceSamplePosition = 0.0;

    if (velToOffset >= 0.0001f)
    {
        const auto x = std::pow (clippedLevel, velToOffset * velToOffset * 3.0f);
        const auto span = sound->offsetInSeconds.load (relaxed) ? (float) sound->getSourceSampleRate()
                                                                : (float) bufferSamples;
        auto position = (1.0f - x) * span;

        if (position < 0.0f)
            position = 0.0f;

        if (position >= (float) bufferSamples)
            position = (float) std::max (0, bufferSamples - 1);

        sourceSamplePosition = (double) position;
    }

    // Gain law: with velToVolume at 0 the level is gain * 0.125.
    const auto g = (1.0f - velToVolume) * 0.5f + velToVolume * level;
    const auto noteLevel = g * soundGain * g * g;

    // Equal-power pan with a random spread.
    const auto q = ((2.0f * random.nextFloat() - 1.0f) * randomOther * randomOther + soundPan) * 0.5f;
    lgain = 0.5f - q > 0.0f ? std::sqrt (0.5f - q) * noteLevel : 0.0f;
    rgain = 0.5f + q > 0.0f ? std::sqrt (0.5f + q) * noteLevel : 0.0f;

    envelope.curve = sound->curve.load (relaxed);
    envelope.sampleRate = (double) sound->envelopeSampleRate.load (relaxed);
    envelope.setEnvelopeParameters (sound->attack.load (relaxed), sound->decay.load (relaxed),
                                    sound->sustain.load (relaxed), sound->release.load (relaxed));

    // Every per-sample value derives from these; checking them once here keeps NaN and
    // infinity out of the output without scanning the samples.
    if (! std::isfinite (pitchRatio) || ! (pitchRatio > 0.0) || ! std::isfinite (lgain) || ! std::isfinite (rgain)
        || ! envelope.isFinite())
    {
        silenceNonFiniteNote();
        return;
    }

    playingSound = sound;
    startPosition = sourceSamplePosition;
    samplesPlayed = 0;
    noteLength = samplesUntilEnd();
    envelope.trigger();
}

void SamplerVoiceLog::silenceNonFiniteNote()
{
    nonFiniteCount.fetch_add (1, std::memory_order_relaxed);
    stopNote (0.0f, false);
}

void SamplerVoiceLog::stopNote (float, bool allowTailOff)
{
    if (allowTailOff)
    {
        envelope.beginRelease();
        return;
    }

    clearCurrentNote();
    playingSound = nullptr;
    envelope.stop();
}

void SamplerVoiceLog::pitchWheelMoved (int) {}
void SamplerVoiceLog::controllerMoved (int, int) {}

void SamplerVoiceLog::renderNextBlock (AudioBuffer<float>& outputBuffer, int startSample, int numSamples)
{
    if (playingSound == nullptr || outputBuffer.getNumChannels() == 0)
        return;

    if (playingSound->getAudioData() == nullptr)
    {
        // A sound without audio plays silence until its (empty) sample is over.
        stopNote (0.0f, false);
        return;
    }

    auto* left = outputBuffer.getWritePointer (0, startSample);
    auto* right = outputBuffer.getNumChannels() > 1 ? outputBuffer.getWritePointer (1, startSample) : nullptr;
    float gains[maxStretch];

    while (numSamples > 0)
    {
        const auto length = (int) std::min<std::int64_t> ({ numSamples, maxStretch, noteLength - samplesPlayed });

        envelope.render (gains, length);

        if (! std::isfinite (envelope.envelopeValue))
        {
            silenceNonFiniteNote();
            return;
        }

        mixStretch (left, right, gains, length);

        // Positions are counted from the note's start, so that no rounding builds up.
        samplesPlayed += length;
        sourceSamplePosition = startPosition + (double) samplesPlayed * pitchRatio;

        if (samplesPlayed == noteLength)
        {
            stopNote (0.0f, false);
            return;
        }

        left += length;
        right = right != nullptr ? right + length : nullptr;
        numSamples -= length;
    }
}

std::int64_t SamplerVoiceLog::samplesUntilEnd() const noexcept
{
    // The sample at the read position is played; the note ends once the position,
    // moved on by one step, is past the last sample.
    const auto end = (double) playingSound->getLength();
    const auto start = startPosition, step = pitchRatio;
    const auto passed = [=] (std::int64_t k) { return start + (double) k * step > end; };

    return StepSearch::firstStep (std::floor ((end - start) / step) + 1.0, passed);
}

void SamplerVoiceLog::mixStretch (float* left, float* right, const float* gains, int numSamples) const noexcept
{
    StretchMixer::mix ({ *playingSound->getAudioData(), sourceSamplePosition, pitchRatio, lgain, rgain },
                       gains, left, right, numSamples);
}

} // namespace juce
