#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <cstdint>

namespace juce
{

/** The voice's four-stage envelope with three decay shapes.

    "Log" (curve 0) decays and releases by a constant factor per sample; "1/x" (1) and
    "Atan" (2) step the internal value linearly and shape the output. Any other curve
    value freezes the envelope at its current value. A rate of 0 or below skips its
    stage. The juce::ADSR base is kept only as the type this envelope extends; none of
    its own state or stepping is used.

    The envelope is rendered a stretch at a time: within one stage every step follows
    the same closed form (value + k x rate, or value x factor^k), so a stage's gains are
    computed without a dependency from one sample to the next, and the compiler can
    vectorise them. The value is kept in double precision: a "Log" fade over ten
    seconds is a product of 480,000 factors.
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

    /** Writes the gains of the next numSamples samples (one step each), moving on to
        the next stage wherever one ends. */
    void render (float* gains, int numSamples) noexcept;

    /** Advances one sample and returns its gain. */
    float nextGain() noexcept;

    int curve = logCurve;
    int state = idle;
    float attack = 0.1f, decay = 0.1f, sustain = 1.0f, release = 0.1f;
    double sampleRate = 96000.0;
    double envelopeValue = 0.0;
    float sustainLevel = 1.0f;
    float attackRate = 0.0f, decayRate = 0.0f, releaseRate = 0.0f;

private:
    /** Steps until the current stage ends, or -1 when not yet counted: counted once per
        stage, since counting takes logarithms and powers. */
    std::int64_t stepsLeft = -1;

    void enter (int newState) noexcept;

    void computeRates();

    /** Renders up to numSamples within the current stage; returns how many it wrote. */
    int renderStage (float* gains, int numSamples) noexcept;

    /** value + k x step for k = 1, 2, ... until it reaches target (which ends the stage). */
    int renderLine (float* gains, int numSamples, double step, double target, int nextState) noexcept;

    /** value x factor^k for k = 1, 2, ... until it falls to target (which ends the stage). */
    int renderFade (float* gains, int numSamples, double factor, double target, int nextState) noexcept;

    /** A constant gain for the rest of the request. */
    int renderConstant (float* gains, int numSamples, float gain) noexcept;

    /** The output gains for the values first + k x step, k = 0 .. numSamples - 1, all of
        them strictly between silence and full level. */
    void shapeLine (float* gains, double first, double step, int numSamples) const noexcept;

    /** The output gain for any value, by curve. */
    float shape (double value) const noexcept;

    /** The first k >= 1 at which value + k x step has reached target. */
    static std::int64_t stepsToReach (double value, double step, double target) noexcept;

    /** The first k >= 1 at which value x factor^k has fallen to target. */
    static std::int64_t stepsToFall (double value, double factor, double target) noexcept;
};

} // namespace juce
