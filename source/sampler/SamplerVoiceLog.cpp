#include "sampler/SamplerVoiceLog.h"

#include <cmath>

namespace juce
{

namespace
{
// Every draw uses a generator of its own, seeded from the clock and a process-wide seed.
float randomDraw()
{
    return Random().nextFloat();
}
} // namespace

SamplerVoiceLog::SamplerVoiceLog() = default;
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
    const auto p = randomDraw() * (1.0f - velToProbability) + (1.0f - velocity) * velToProbability;

    if (p > probability)
    {
        clearCurrentNote();
        return;
    }

    // Pitch: semitones from the root, with a random spread of +/- 3 * randomPitch^2.
    auto semitones = (float) midiNoteNumber - (float) sound->getRootNote();

    if (randomPitch > 0.0f)
        semitones += (randomDraw() - 0.5f) * randomPitch * (randomPitch * 6.0f);

    pitchRatio = std::pow (2.0, (double) semitones * (1.0 / 12.0))
                 * sound->getSourceSampleRate() / getSampleRate();

    // Level from velocity with a random spread.
    const auto level = ((1.0f - randomOther * 0.5f) + randomDraw() * randomOther) * velocity;
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
    const auto q = ((2.0f * randomDraw() - 1.0f) * randomOther * randomOther + soundPan) * 0.5f;
    lgain = 0.5f - q > 0.0f ? std::sqrt (0.5f - q) * noteLevel : 0.0f;
    rgain = 0.5f + q > 0.0f ? std::sqrt (0.5f + q) * noteLevel : 0.0f;

    envelope.curve = sound->curve.load (relaxed);
    envelope.sampleRate = (double) sound->envelopeSampleRate.load (relaxed);
    envelope.setEnvelopeParameters (sound->attack.load (relaxed), sound->decay.load (relaxed),
                                    sound->sustain.load (relaxed), sound->release.load (relaxed));

    // Every per-sample value derives from these; checking them once here keeps NaN and
    // infinity out of the output without scanning the samples.
    if (! std::isfinite (pitchRatio) || ! std::isfinite (lgain) || ! std::isfinite (rgain)
        || ! envelope.isFinite())
    {
        silenceNonFiniteNote();
        return;
    }

    envelope.trigger();
}

void SamplerVoiceLog::silenceNonFiniteNote()
{
    nonFiniteCount.fetch_add (1, std::memory_order_relaxed);
    clearCurrentNote();
    envelope.stop();
}

void SamplerVoiceLog::stopNote (float, bool allowTailOff)
{
    if (allowTailOff)
    {
        envelope.beginRelease();
        return;
    }

    clearCurrentNote();
    envelope.stop();
}

void SamplerVoiceLog::pitchWheelMoved (int) {}
void SamplerVoiceLog::controllerMoved (int, int) {}

void SamplerVoiceLog::renderNextBlock (AudioBuffer<float>& outputBuffer, int startSample, int numSamples)
{
    auto* sound = dynamic_cast<SamplerSoundLog*> (getCurrentlyPlayingSound().get());

    if (sound == nullptr || outputBuffer.getNumChannels() == 0)
        return;

    const auto length = sound->getLength();
    const auto* audio = sound->getAudioData();

    if (audio == nullptr)
    {
        // A sound without audio plays silence until its (empty) sample is over.
        stopNote (0.0f, false);
        return;
    }

    const auto* inL = audio->getReadPointer (0);
    const auto* inR = audio->getNumChannels() > 1 ? audio->getReadPointer (1) : nullptr;
    const auto lastIndex = audio->getNumSamples() - 1;

    auto* outL = outputBuffer.getWritePointer (0, startSample);
    auto* outR = outputBuffer.getNumChannels() > 1 ? outputBuffer.getWritePointer (1, startSample) : nullptr;

    for (auto i = 0; i < numSamples; ++i)
    {
        const auto pos = (int) sourceSamplePosition;
        const auto next = std::min (pos + 1, lastIndex);
        const auto alpha = (float) (sourceSamplePosition - pos);
        const auto invAlpha = 1.0f - alpha;

        auto l = inL[pos] * invAlpha + inL[next] * alpha;
        auto r = inR != nullptr ? inR[pos] * invAlpha + inR[next] * alpha : l;

        const auto gain = envelope.nextGain();
        l *= gain * lgain;
        r *= gain * rgain;

        if (outR != nullptr)
        {
            outL[i] += l;
            outR[i] += r;
        }
        else
        {
            outL[i] += (l + r) * 0.5f;
        }

        sourceSamplePosition += pitchRatio;

        if (sourceSamplePosition > length)
        {
            stopNote (0.0f, false);
            break;
        }
    }
}

} // namespace juce
