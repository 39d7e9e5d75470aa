#include "SamplerRig.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
using Envelope = juce::SampleEnvelope;

void configure (Envelope& envelope, int curve, double sampleRate,
                float attack, float decay, float sustain, float release)
{
    envelope.curve = curve;
    envelope.sampleRate = sampleRate;
    envelope.setEnvelopeParameters (attack, decay, sustain, release);
}

double cube (double x)
{
    return x * x * x;
}

// The output shaping of the two linear curves, written out from their definitions.
double inverseShape (double value)
{
    const auto y = 1.0 + (1.0 - value) * 99.0;
    return y <= 0.0 ? 0.0 : 1.0 / y - 0.01;
}

double atanShape (double value)
{
    if (value >= 1.0) return 1.0;
    if (value <= 0.0) return 0.0;
    return 1.0 - std::atan ((1.0 - value) * 15.707963268) * 0.66347;
}

float stepTimes (Envelope& envelope, int steps)
{
    auto gain = 0.0f;

    for (auto i = 0; i < steps; ++i)
        gain = envelope.nextGain();

    return gain;
}
} // namespace

//==============================================================================
TEST (EnvelopeRates, EachCurveHasItsOwnDecayAndReleaseLaw)
{
    constexpr double sr = 1000.0;
    const auto attack = 0.1f, decay = 0.1f, release = 0.5f;

    for (auto curve = 0; curve <= 9; ++curve)
    {
        Envelope envelope;
        configure (envelope, curve, sr, attack, decay, 0.5f, release);

        EXPECT_NEAR (envelope.attackRate, 3.0 / (cube (attack) * sr), 1.0e-6) << curve;

        double expectedDecay, expectedRelease;

        if (curve == 0)
        {
            expectedDecay = 1.0 - 1.0 / (decay * sr);
            expectedRelease = 1.0 - 1.0 / (release * sr);
        }
        else if (curve == 1)
        {
            expectedDecay = 0.004 / (cube (decay + 0.1) * sr);
            expectedRelease = 0.004 / (cube (release + 0.1) * sr);
        }
        else
        {
            expectedDecay = 0.04 / (cube (decay + 0.1) * sr) * 0.3;
            expectedRelease = 0.04 / (cube (release + 0.1) * sr) * 0.3;
        }

        EXPECT_NEAR (envelope.decayRate, expectedDecay, 1.0e-7 * std::max (1.0, expectedDecay)) << curve;
        EXPECT_NEAR (envelope.releaseRate, expectedRelease, 1.0e-9 + 1.0e-6 * expectedRelease) << curve;
    }
}

TEST (EnvelopeRates, ZeroTimesSkipTheirStages)
{
    Envelope log;
    configure (log, 0, 48000.0, 0.0f, 0.0f, 0.5f, 0.0f);
    EXPECT_EQ (log.attackRate, -1.0f);
    EXPECT_EQ (log.decayRate, -1.0f);
    EXPECT_EQ (log.releaseRate, -1.0f);

    Envelope atan;
    configure (atan, 2, 48000.0, 0.0f, 0.0f, 0.5f, 0.0f);
    EXPECT_FLOAT_EQ (atan.decayRate, -0.3f);
    EXPECT_FLOAT_EQ (atan.releaseRate, -0.3f);

    // No attack and no decay: straight to the sustain level on the first step.
    atan.envelopeValue = 0.9f;
    atan.trigger();
    EXPECT_EQ (atan.state, Envelope::sustainState);
    EXPECT_FLOAT_EQ (atan.nextGain(), (float) atanShape (0.5));

    // Changing the times mid-note leaves a stage that can no longer run.
    Envelope moving;
    configure (moving, 0, 48000.0, 0.5f, 0.5f, 0.5f, 0.5f);
    moving.trigger();
    ASSERT_EQ (moving.state, Envelope::attackState);
    moving.setEnvelopeParameters (0.0f, 0.5f, 0.5f, 0.5f);
    EXPECT_EQ (moving.state, Envelope::decayState);
    moving.setEnvelopeParameters (0.0f, 0.0f, 0.5f, 0.5f);
    EXPECT_EQ (moving.state, Envelope::sustainState);

    moving.envelopeValue = 0.4f;
    moving.beginRelease();
    ASSERT_EQ (moving.state, Envelope::releaseState);
    moving.setEnvelopeParameters (0.0f, 0.0f, 0.5f, 0.0f);
    EXPECT_EQ (moving.state, Envelope::idle);
    EXPECT_EQ (moving.envelopeValue, 0.0f);
}

TEST (EnvelopeStages, AttackAtItsFloorCompletesInOneSample)
{
    for (const auto rate : { 44100.0, 48000.0, 192000.0 })
    {
        Envelope envelope;
        configure (envelope, 0, rate, 0.001f, 0.2f, 0.3f, 0.1f);
        envelope.trigger();
        EXPECT_EQ (envelope.state, Envelope::attackState);
        EXPECT_EQ (envelope.nextGain(), 1.0f);
        EXPECT_EQ (envelope.state, Envelope::decayState);
    }
}

TEST (EnvelopeStages, SustainAtOneEndsLogDecayOnItsFirstStep)
{
    Envelope envelope;
    configure (envelope, 0, 48000.0, 0.0f, 0.4f, 1.0f, 0.1f);
    envelope.trigger();
    EXPECT_EQ (envelope.state, Envelope::decayState);
    EXPECT_EQ (envelope.nextGain(), 1.0f);
    EXPECT_EQ (envelope.state, Envelope::sustainState);

    // After a one-sample attack, the first decay step is the one that ends it.
    Envelope withAttack;
    configure (withAttack, 0, 48000.0, 0.001f, 0.4f, 1.0f, 0.1f);
    withAttack.trigger();
    withAttack.nextGain();
    EXPECT_EQ (withAttack.state, Envelope::decayState);
    EXPECT_EQ (withAttack.nextGain(), 1.0f);
    EXPECT_EQ (withAttack.state, Envelope::sustainState);
}

TEST (EnvelopeStages, RetriggerRisesFromTheCurrentValue)
{
    Envelope envelope;
    configure (envelope, 0, 1000.0, 0.5f, 0.2f, 0.3f, 0.1f);
    envelope.envelopeValue = 0.6f;
    envelope.trigger();
    EXPECT_NEAR (envelope.nextGain(), 0.6 + 3.0 / (cube (0.5) * 1000.0), 1.0e-6);
}

//==============================================================================
TEST (EnvelopeShapes, LogDecaysByAConstantFactor)
{
    constexpr double sr = 1000.0, decay = 0.01;
    const auto factor = 1.0 - 1.0 / (decay * sr);
    Envelope envelope;
    configure (envelope, 0, sr, 0.0f, (float) decay, 0.0f, 0.1f);
    envelope.trigger();

    EXPECT_NEAR (stepTimes (envelope, 1), factor, 1.0e-6);
    EXPECT_NEAR (stepTimes (envelope, 4), std::pow (factor, 5), 1.0e-6);
    EXPECT_NEAR (stepTimes (envelope, 5), std::pow (factor, 10), 1.0e-6);
    EXPECT_NEAR (stepTimes (envelope, 20), std::pow (factor, 30), 1.0e-6);
    EXPECT_EQ (envelope.state, Envelope::decayState);
}

TEST (EnvelopeShapes, InverseAndAtanStepLinearlyAndShapeTheOutput)
{
    constexpr double sr = 1000.0, decay = 0.1;

    struct Shape { int curve; double step; double (*shape) (double); };
    const Shape shapes[] = { { 1, 0.004 / (cube (decay + 0.1) * sr), inverseShape },
                             { 2, 0.04 / (cube (decay + 0.1) * sr) * 0.3, atanShape } };

    for (const auto& s : shapes)
    {
        Envelope envelope;
        configure (envelope, s.curve, sr, 0.0f, (float) decay, 0.0f, 0.1f);
        envelope.trigger();

        auto steps = 0;

        for (const auto at : { 1, 50, 200, 400, 600 })
        {
            const auto gain = stepTimes (envelope, at - steps);
            steps = at;
            const auto value = std::max (0.0, 1.0 - s.step * at);
            EXPECT_NEAR (gain, s.shape (value), 2.0e-4) << "curve " << s.curve << " step " << at;
        }

        // Both shapes fall to exactly 0 once the value reaches a sustain level of 0.
        stepTimes (envelope, 2000);
        EXPECT_EQ (envelope.state, Envelope::sustainState);
        EXPECT_EQ (envelope.nextGain(), 0.0f);
    }

    // At full level "1/x" gives 0.99 and "Atan" 1.
    EXPECT_NEAR (inverseShape (1.0), 0.99, 1.0e-12);
    Envelope full;
    configure (full, 1, sr, 0.0f, 0.1f, 1.0f, 0.1f);
    full.trigger();
    EXPECT_NEAR (full.nextGain(), 0.99f, 1.0e-6);
}

TEST (EnvelopeShapes, CurvesThreeToNineFreezeTheValue)
{
    for (auto curve = 3; curve <= 9; ++curve)
    {
        Envelope envelope;
        configure (envelope, curve, 1000.0, 0.01f, 0.01f, 0.2f, 0.01f);
        envelope.envelopeValue = 0.7f;
        envelope.trigger();

        for (auto i = 0; i < 100; ++i)
            ASSERT_EQ (envelope.nextGain(), 0.7f) << curve;

        EXPECT_EQ (envelope.state, Envelope::attackState);
        envelope.beginRelease();
        EXPECT_EQ (stepTimes (envelope, 100), 0.7f);
    }
}

TEST (EnvelopeShapes, ReleaseReachesSilence)
{
    // The audio thread runs with denormals flushed; the "Log" release only ends when
    // its value underflows to 0.
    const juce::ScopedNoDenormals noDenormals;

    for (auto curve = 0; curve <= 2; ++curve)
    {
        Envelope envelope;
        configure (envelope, curve, 1000.0, 0.0f, 0.01f, 0.5f, 0.01f);
        envelope.trigger();
        stepTimes (envelope, 400);
        ASSERT_EQ (envelope.state, Envelope::sustainState) << curve;

        envelope.beginRelease();
        EXPECT_EQ (envelope.state, Envelope::releaseState);
        EXPECT_LT (envelope.nextGain(), curve == 1 ? inverseShape (0.5) : 0.5);

        stepTimes (envelope, 2000);
        EXPECT_EQ (envelope.state, Envelope::idle) << curve;
        EXPECT_EQ (envelope.nextGain(), 0.0f);
        EXPECT_EQ (envelope.envelopeValue, 0.0f);
    }

    // Without a release time the note falls silent at once; an idle envelope stays idle.
    Envelope envelope;
    configure (envelope, 0, 1000.0, 0.0f, 0.01f, 0.5f, 0.0f);
    envelope.trigger();
    envelope.nextGain();
    envelope.beginRelease();
    EXPECT_EQ (envelope.state, Envelope::idle);
    EXPECT_EQ (envelope.nextGain(), 0.0f);
    envelope.beginRelease();
    EXPECT_EQ (envelope.state, Envelope::idle);
}

//==============================================================================
namespace
{
constexpr double rate = 48000.0;

juce::String writeDc (const AudioFixtures::TempFolder& folder, int numSamples)
{
    const auto file = folder.file ("dc.wav");
    EXPECT_TRUE (AudioFixtures::writeConstant (file, rate, 2, numSamples, 0.5f));
    return file.getFullPathName();
}

double fullScale()
{
    return 0.5 * std::sqrt (0.5) * SamplerRig::expectedLevel (0.5, 0.5);
}
} // namespace

TEST (VoiceEnvelope, RenderedCurvesStartAtTheirFullLevelShape)
{
    AudioFixtures::TempFolder folder;
    const auto path = writeDc (folder, 4800);

    struct Case { float curveValue; double firstSample; };

    for (const auto c : { Case { 0.0f, 1.0 }, Case { 1.0f / 9.0f, 0.99 }, Case { 2.0f / 9.0f, 1.0 },
                          Case { 0.5f, 0.0 }, Case { 1.0f, 0.0 } })
    {
        SamplerRig rig (rate);
        rig.makeDeterministic();
        rig.set ("curve", c.curveValue);
        rig.load ({ path });

        const auto out = rig.render (1024, { SamplerRig::noteOn (0, 60) });
        EXPECT_NEAR (out.getSample (0, 0), c.firstSample * fullScale(), 1.0e-5) << c.curveValue;
        // A curve past the named three never moves: a fresh voice stays silent.
        if (c.firstSample == 0.0)
        {
            EXPECT_EQ (out.getMagnitude (0, 1024), 0.0f) << c.curveValue;
        }
    }
}

TEST (VoiceEnvelope, ReleasedVoiceIsFreedOnlyAtTheSampleEnd)
{
    constexpr auto length = 9600;
    AudioFixtures::TempFolder folder;

    for (const auto curveValue : { 0.0f, 2.0f / 9.0f })
    {
        SamplerRig rig (rate);
        rig.makeDeterministic();
        rig.set ("curve", curveValue);
        rig.set ("release", 0.0f); // 1 ms, the floor
        rig.load ({ writeDc (folder, length) });

        const auto out = rig.render (length, { SamplerRig::noteOn (0, 60), SamplerRig::noteOff (1000, 60) });
        EXPECT_NEAR (out.getSample (0, 999), fullScale(), 1.0e-5);
        EXPECT_LT (std::abs (out.getSample (0, 1100)), out.getSample (0, 999));
        EXPECT_EQ (out.getMagnitude (0, 6000, length - 6000), 0.0f) << curveValue;

        // Silent but still assigned until the read position passes the end.
        const auto voices = rig.activeVoices();
        ASSERT_EQ (voices.size(), 1u);
        EXPECT_EQ (voices[0]->getEnvelope().state, juce::SampleEnvelope::idle);
        EXPECT_DOUBLE_EQ (voices[0]->getSourceSamplePosition(), (double) length);

        rig.render (1);
        EXPECT_TRUE (rig.activeVoices().empty());
    }
}

TEST (VoiceEnvelope, NoteOffWithoutTailFreesAtOnce)
{
    AudioFixtures::TempFolder folder;
    SamplerRig rig (rate);
    rig.makeDeterministic();
    rig.load ({ writeDc (folder, 4800) });

    rig.render (256, { SamplerRig::noteOn (0, 60) });
    ASSERT_EQ (rig.activeVoices().size(), 1u);

    rig.processor.synth.noteOff (1, 60, 0.0f, true);
    ASSERT_EQ (rig.activeVoices().size(), 1u);
    EXPECT_EQ (rig.activeVoices()[0]->getEnvelope().state, juce::SampleEnvelope::releaseState);

    rig.processor.synth.allNotesOff (1, false);
    EXPECT_TRUE (rig.activeVoices().empty());
    EXPECT_EQ (rig.render (256).getMagnitude (0, 256), 0.0f);
}
