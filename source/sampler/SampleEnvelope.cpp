#include "sampler/SampleEnvelope.h"

#include "sampler/StepSearch.h"

#include <algorithm>
#include <cmath>

namespace juce
{

namespace
{
/** Values are computed and shaped this many at a time, on the stack. A multiple of 4. */
constexpr int chunkSize = 64;

/** A "Log" fade never reaches 0 in double precision; below this it counts as 0. (In
    single precision it underflows near 1e-38; either is far below anything audible.) */
constexpr double silence = 1.0e-30;


/** How "1/x" and "Atan" turn a value into a gain: gainOffset + gainScale x f (x), where
    x = scale x (1 - value) + offset. Along a stage the value, and so x, moves in equal
    steps, and f is smooth: it is taken exactly at the ends of pieces of the line and,
    in between, from the cubic that matches its value and slope at both ends (Hermite).
    Over a piece of width h that cubic is within h^4 / 384 x max |f''''| of f; maxWidth
    keeps that below 1e-6 of full scale, without a division or an arctangent per sample.
*/
struct SmoothShape
{
    double scale, offset;
    double (*function) (double);
    double (*slope) (double);
    double maxWidth;
    float gainOffset, gainScale;
};

// 1/y - 0.01, y = 1 + 99 (1 - value) >= 1, where the fourth derivative 24 / y^5 is at
// most 24: pieces of 0.03 stay within 5e-8.
constexpr SmoothShape inverseShape { 99.0, 1.0, [] (double y) { return 1.0 / y; },
                                     [] (double y) { return -1.0 / (y * y); }, 0.03, -0.01f, 1.0f };

// 1 - 0.66347 atan x, x = 15.7 (1 - value), where the fourth derivative of atan is at
// most 4.67: pieces of 0.08 stay within 5e-7 (times 0.66347).
constexpr SmoothShape atanShape { 15.707963268, 0.0, [] (double x) { return std::atan (x); },
                                  [] (double x) { return 1.0 / (1.0 + x * x); }, 0.08, 1.0f, -0.66347f };

/** The gains for the values first + k x step, k = 0 .. numSamples - 1. */
void shapeAlongLine (const SmoothShape& shape, float* gains, double first, double step, int numSamples) noexcept
{
    const auto dx = -step * shape.scale;
    const auto perPiece = (int) std::clamp (shape.maxWidth / std::abs (dx), 1.0, (double) std::max (1, numSamples));
    auto x = (1.0 - first) * shape.scale + shape.offset;
    auto valueAtStart = shape.function (x);
    auto slopeAtStart = shape.slope (x);

    for (auto done = 0; done < numSamples; done += perPiece)
    {
        const auto length = std::min (perPiece, numSamples - done);
        const auto width = (double) length * dx;
        const auto xEnd = x + width;
        const auto valueAtEnd = shape.function (xEnd);
        const auto slopeAtEnd = shape.slope (xEnd);

        // The cubic in t = 0..1 across the piece, its slopes scaled to the piece's width.
        const auto d0 = slopeAtStart * width, d1 = slopeAtEnd * width;
        const auto c0 = (float) valueAtStart;
        const auto c1 = (float) d0;
        const auto c2 = (float) (3.0 * (valueAtEnd - valueAtStart) - 2.0 * d0 - d1);
        const auto c3 = (float) (2.0 * (valueAtStart - valueAtEnd) + d0 + d1);
        const auto dt = 1.0f / (float) length;
        const auto gainOffset = shape.gainOffset, gainScale = shape.gainScale;

        for (auto i = 0; i < length; ++i)
        {
            const auto t = (float) i * dt;
            gains[done + i] = gainOffset + gainScale * (c0 + t * (c1 + t * (c2 + t * c3)));
        }

        x = xEnd;
        valueAtStart = valueAtEnd;
        slopeAtStart = slopeAtEnd;
    }
}
} // namespace

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

    stepsLeft = -1;

    if (state == attackState && attackRate <= 0.0f)
        enter (decayRate > 0.0f ? decayState : sustainState);

    if (state == decayState && decayRate <= 0.0f)
        enter (sustainState);

    if (state == releaseState && releaseRate <= 0.0f)
    {
        envelopeValue = 0.0;
        enter (idle);
    }
}

void SampleEnvelope::enter (int newState) noexcept
{
    state = newState;
    stepsLeft = -1;
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
        enter (attackState);
    }
    else if (decayRate > 0.0f)
    {
        envelopeValue = 1.0;
        enter (decayState);
    }
    else
    {
        enter (sustainState);
    }
}

void SampleEnvelope::beginRelease()
{
    if (state == idle)
        return;

    if (release > 0.0f)
    {
        enter (releaseState);
    }
    else
    {
        envelopeValue = 0.0;
        enter (idle);
    }
}

void SampleEnvelope::stop()
{
    envelopeValue = 0.0;
    enter (idle);
}

bool SampleEnvelope::isFinite() const noexcept
{
    return std::isfinite (envelopeValue) && std::isfinite (attackRate) && std::isfinite (decayRate)
           && std::isfinite (releaseRate);
}

//==============================================================================
void SampleEnvelope::render (float* gains, int numSamples) noexcept
{
    while (numSamples > 0)
    {
        const auto written = renderStage (gains, numSamples);
        gains += written;
        numSamples -= written;
    }
}

float SampleEnvelope::nextGain() noexcept
{
    auto gain = 0.0f;
    render (&gain, 1);
    return gain;
}

int SampleEnvelope::renderStage (float* gains, int numSamples) noexcept
{
    if (state == idle)
        return renderConstant (gains, numSamples, 0.0f);

    // Curves beyond the three named ones hold the envelope where it is.
    if (curve != logCurve && curve != inverseCurve && curve != atanCurve)
        return renderConstant (gains, numSamples, (float) envelopeValue);

    const auto fades = curve == logCurve;

    switch (state)
    {
        case attackState:
            return renderLine (gains, numSamples, attackRate, 1.0, decayRate > 0.0f ? decayState : sustainState);

        case decayState:
            return fades ? renderFade (gains, numSamples, decayRate, sustainLevel, sustainState)
                         : renderLine (gains, numSamples, -(double) decayRate, sustainLevel, sustainState);

        case sustainState:
            envelopeValue = sustainLevel;
            return renderConstant (gains, numSamples, shape (sustainLevel));

        case releaseState:
            return fades ? renderFade (gains, numSamples, releaseRate, 0.0, idle)
                         : renderLine (gains, numSamples, -(double) releaseRate, 0.0, idle);

        default:
            return renderConstant (gains, numSamples, shape (envelopeValue));
    }
}

int SampleEnvelope::renderLine (float* gains, int numSamples, double step, double target, int nextState) noexcept
{
    const auto start = envelopeValue;

    if (stepsLeft < 0)
        stepsLeft = stepsToReach (start, step, target);

    const auto count = (int) std::min<std::int64_t> (stepsLeft, numSamples);
    const auto ends = count == stepsLeft;

    // The step that ends the stage lands exactly on its end.
    shapeLine (gains, start + step, step, ends ? count - 1 : count);

    if (ends)
        gains[count - 1] = shape (target);

    envelopeValue = ends ? target : start + (double) count * step;
    stepsLeft -= count;

    if (ends)
        enter (nextState);

    return count;
}

int SampleEnvelope::renderFade (float* gains, int numSamples, double factor, double target, int nextState) noexcept
{
    const auto start = envelopeValue;

    if (stepsLeft < 0)
        stepsLeft = stepsToFall (start, factor, std::max (target, silence));

    const auto count = (int) std::min<std::int64_t> (stepsLeft, numSamples);
    const auto ends = count == stepsLeft;

    // Four interleaved geometric sequences, each stepping by factor^4, so that no value
    // waits for the one before it.
    const auto factor2 = factor * factor, factor4 = factor2 * factor2;
    double lanes[4] = { start * factor, start * factor2, start * factor2 * factor, start * factor4 };
    double values[chunkSize];
    auto last = start;

    for (auto done = 0; done < count; done += chunkSize)
    {
        const auto length = std::min (chunkSize, count - done);

        for (auto i = 0; i < length; i += 4)
        {
            for (auto lane = 0; lane < 4; ++lane)
            {
                values[i + lane] = lanes[lane];
                lanes[lane] *= factor4;
            }
        }

        last = values[length - 1];

        if (ends && done + length == count)
            values[length - 1] = target;

        // Only "Log" fades, and its gain is the value itself.
        for (auto i = 0; i < length; ++i)
            gains[done + i] = (float) values[i];
    }

    envelopeValue = ends ? target : last;
    stepsLeft -= count;

    if (ends)
        enter (nextState);

    return count;
}

int SampleEnvelope::renderConstant (float* gains, int numSamples, float gain) noexcept
{
    std::fill (gains, gains + numSamples, gain);
    return numSamples;
}

//==============================================================================
void SampleEnvelope::shapeLine (float* gains, double first, double step, int numSamples) const noexcept
{
    if (curve == atanCurve || curve == inverseCurve)
    {
        shapeAlongLine (curve == atanCurve ? atanShape : inverseShape, gains, first, step, numSamples);
        return;
    }

    for (auto i = 0; i < numSamples; ++i)
        gains[i] = (float) (first + (double) i * step);
}

float SampleEnvelope::shape (double value) const noexcept
{
    if (curve == inverseCurve)
    {
        const auto y = 1.0f + (float) (1.0 - value) * 99.0f;
        return y <= 0.0f ? 0.0f : 1.0f / y - 0.01f;
    }

    if (curve == atanCurve)
        return value >= 1.0 ? 1.0f
             : value <= 0.0 ? 0.0f
                            : (float) (1.0 - std::atan ((1.0 - value) * 15.707963268) * 0.66347);

    return (float) value;
}

std::int64_t SampleEnvelope::stepsToReach (double value, double step, double target) noexcept
{
    if (! (step != 0.0))
        return StepSearch::never;

    const auto reached = [=] (std::int64_t k)
    {
        const auto next = value + (double) k * step;
        return step > 0.0 ? next >= target : next <= target;
    };

    return StepSearch::firstStep (std::ceil ((target - value) / step), reached);
}

std::int64_t SampleEnvelope::stepsToFall (double value, double factor, double target) noexcept
{
    if (factor <= 0.0 || value * factor <= target)
        return 1;

    if (! (factor < 1.0))
        return StepSearch::never;

    const auto reached = [=] (std::int64_t k) { return value * std::pow (factor, (double) k) <= target; };
    return StepSearch::firstStep (std::ceil (std::log (target / value) / std::log (factor)), reached);
}

} // namespace juce
