#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <cmath>

namespace juce
{

/** The voice's four-stage envelope with three decay shapes.

    "Log" (curve 0) decays and releases by a constant factor per sample; "1/x" (1) and
    "Atan" (2) step the internal value linearly and shape the output. Any other curve
    value freezes the envelope at its current value. A rate of 0 or below skips its
    stage. The juce::ADSR base is kept only as the type this envelope extends; none of
    its own state or stepping is used.
*/
class SampleEnvelope : public ADSR
{
public:
    enum Curve { logCurve = 0, inverseCurve = 1, atanCurve = 2 };
    enum State { idle = 0, attackState = 1, decayState = 2, sustainState = 3, releaseState = 4 };

    SampleEnvelope();

    /** Sets the times (seconds) and sustain level, and recomputes the rates for the
        current curve and sample rate. */
    void setEnvelopeParameters (float attackSeconds, float decaySeconds, float sustainLevel, float releaseSeconds);

    /** Arms the envelope for a new note without resetting its value, so a re-triggered
        voice rises from where it was. */
    void trigger();

    /** Enters the release stage, or silences at once when there is no release time. */
    void beginRelease();

    /** Stops at once: value 0, idle. */
    void stop();

    /** True when the value and every rate are finite numbers. */
    bool isFinite() const noexcept;

    /** Advances one sample and returns the gain for it. Defined below, in the header,
        so that the voice's per-sample loop can inline it. */
    float nextGain();

    int curve = logCurve;
    int state = idle;
    float attack = 0.1f, decay = 0.1f, sustain = 1.0f, release = 0.1f;
    double sampleRate = 96000.0;
    float envelopeValue = 0.0f;
    float sustainLevel = 1.0f;
    float attackRate = 0.0f, decayRate = 0.0f, releaseRate = 0.0f;

private:
    void computeRates();
    float shapeOutput() const;
};

//==============================================================================
inline float SampleEnvelope::nextGain()
{
    if (state == idle)
        return 0.0f;

    if (curve != logCurve && curve != inverseCurve && curve != atanCurve)
        return envelopeValue;

    const auto linear = curve != logCurve;

    switch (state)
    {
        case attackState:
            envelopeValue += attackRate;

            if (envelopeValue >= 1.0f)
            {
                envelopeValue = 1.0f;
                state = decayRate > 0.0f ? decayState : sustainState;
            }
            break;

        case decayState:
            if (linear)
                envelopeValue -= decayRate;
            else
                envelopeValue *= decayRate;

            if (envelopeValue <= sustainLevel)
            {
                envelopeValue = sustainLevel;
                state = sustainState;
            }
            break;

        case sustainState:
            envelopeValue = sustainLevel;
            break;

        case releaseState:
            if (linear)
                envelopeValue -= releaseRate;
            else
                envelopeValue *= releaseRate;

            if (envelopeValue <= 0.0f)
            {
                envelopeValue = 0.0f;
                state = idle;
            }
            break;

        default:
            break;
    }

    return linear ? shapeOutput() : envelopeValue;
}

inline float SampleEnvelope::shapeOutput() const
{
    if (curve == inverseCurve)
    {
        const auto y = 1.0f + (1.0f - envelopeValue) * 99.0f;
        return y <= 0.0f ? 0.0f : 1.0f / y - 0.01f;
    }

    if (envelopeValue >= 1.0f)
        return 1.0f;

    if (envelopeValue <= 0.0f)
        return 0.0f;

    return (float) (1.0 - std::atan ((1.0 - (double) envelopeValue) * 15.707963268) * 0.66347);
}

} // namespace juce
