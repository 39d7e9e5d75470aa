#include "sampler/SampleEnvelope.h"

#include <cmath>

namespace juce
{

SampleEnvelope::SampleEnvelope()
{
    setEnvelopeParameters (0.1f, 0.1f, 1.0f, 0.1f);
}

void SampleEnvelope::setEnvelopeParameters (float attackSeconds, float decaySeconds,
                                            float sustainValue, float releaseSeconds)
{
    attack = attackSeconds;
    decay = decaySeconds;
    sustain = sustainValue;
    release = releaseSeconds;
    sustainLevel = sustainValue;

    computeRates();

    if (state == attackState && attackRate <= 0.0f)
        state = decayRate > 0.0f ? decayState : sustainState;

    if (state == decayState && decayRate <= 0.0f)
        state = sustainState;

    if (state == releaseState && releaseRate <= 0.0f)
    {
        envelopeValue = 0.0f;
        state = idle;
    }
}

void SampleEnvelope::computeRates()
{
    const auto sr = sampleRate;

    const auto cubed = [] (double x) { return x * x * x; };

    attackRate = attack > 0.0f ? (float) (3.0 / (cubed (attack) * sr)) : -1.0f;

    if (curve == logCurve)
    {
        // Multiplicative factors: the value shrinks by this much per sample.
        decayRate = decay > 0.0f ? (float) (1.0 - 1.0 / ((double) decay * sr)) : -1.0f;
        releaseRate = release > 0.0f ? (float) (1.0 - 1.0 / ((double) release * sr)) : -1.0f;
    }
    else if (curve == inverseCurve)
    {
        decayRate = decay > 0.0f ? (float) (0.004 / (cubed ((double) decay + 0.1) * sr)) : -1.0f;
        releaseRate = release > 0.0f ? (float) (0.004 / (cubed ((double) release + 0.1) * sr)) : -1.0f;
    }
    else
    {
        // "Atan", and the frozen curves 3 to 9 which compute the same rates.
        decayRate = (float) ((decay > 0.0f ? 0.04 / (cubed ((double) decay + 0.1) * sr) : -1.0) * 0.3);
        releaseRate = (float) ((release > 0.0f ? 0.04 / (cubed ((double) release + 0.1) * sr) : -1.0) * 0.3);
    }
}

void SampleEnvelope::trigger()
{
    if (attackRate > 0.0f)
    {
        state = attackState;
    }
    else if (decayRate > 0.0f)
    {
        envelopeValue = 1.0f;
        state = decayState;
    }
    else
    {
        state = sustainState;
    }
}

void SampleEnvelope::beginRelease()
{
    if (state == idle)
        return;

    if (release > 0.0f)
    {
        state = releaseState;
    }
    else
    {
        envelopeValue = 0.0f;
        state = idle;
    }
}

bool SampleEnvelope::isFinite() const noexcept
{
    return std::isfinite (envelopeValue) && std::isfinite (attackRate) && std::isfinite (decayRate)
           && std::isfinite (releaseRate);
}

void SampleEnvelope::stop()
{
    envelopeValue = 0.0f;
    state = idle;
}

} // namespace juce
