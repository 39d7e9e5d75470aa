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
TEST (EnvelopeRates, ZeroTimesSkipTheirStages)
{
    Envelope atan;
    configure (atan, 2, 48000.0, 0.0f, 0.0f, 0.5f, 0.0f);

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

TEST (EnvelopeStages, FloorAttackSustainAtOneAndRetrigger)
{
    // An attack at its floor completes in one sample at any rate; with sustain 1, the
    // first "Log" decay step (with or without that attack) is the one that ends it.
    for (const auto rate : { 44100.0, 48000.0, 192000.0 })
    {
        for (const auto attack : { 0.001f, 0.0f })
        {
            Envelope envelope;
            configure (envelope, 0, rate, attack, 0.4f, 1.0f, 0.1f);
            envelope.trigger();

            if (attack > 0.0f)
            {
                EXPECT_EQ (envelope.state, Envelope::attackState);
                EXPECT_EQ (envelope.nextGain(), 1.0f);
            }

            EXPECT_EQ (envelope.state, Envelope::decayState);
            EXPECT_EQ (envelope.nextGain(), 1.0f);
            EXPECT_EQ (envelope.state, Envelope::sustainState) << rate << " " << attack;
        }
    }

    // A retrigger rises from the current value: 3 / attack^3 per second.
    Envelope envelope;
    configure (envelope, 0, 1000.0, 0.5f, 0.2f, 0.3f, 0.1f);
    envelope.envelopeValue = 0.6f;
    envelope.trigger();
    EXPECT_NEAR (envelope.nextGain(), 0.6 + 3.0 / (cube (0.5) * 1000.0), 1.0e-6);
}

//==============================================================================
struct ShapeCase
{
    int curve;
    bool release;   // the release stage from full level, otherwise the decay to sustain 0
    double time;
};

class EnvelopeShapes : public testing::TestWithParam<ShapeCase> {};

TEST_P (EnvelopeShapes, ValuesAtKnownSteps)
{
    const auto c = GetParam();
    constexpr double sr = 1000.0;
    const auto t = (float) c.time;

    Envelope envelope;
    configure (envelope, c.curve, sr, 0.0f, c.release ? 0.05f : t, 0.0f, c.release ? t : 0.05f);
    envelope.trigger();

    if (c.release)
    {
        envelope.beginRelease();
        ASSERT_EQ (envelope.state, Envelope::releaseState);
    }

    // "Log" multiplies by a constant factor each step; "1/x" and "Atan" step the value
    // linearly and shape the output.
    auto steps = 0;

    for (const auto at : { 1, 5, 50, 200, 400, 600 })
    {
        const auto gain = stepTimes (envelope, at - steps);
        steps = at;

        double expected;

        if (c.curve == 0)
            expected = std::pow (1.0 - 1.0 / (c.time * sr), at);
        else if (c.curve == 1)
            expected = inverseShape (std::max (0.0, 1.0 - 0.004 / (cube (c.time + 0.1) * sr) * at));
        else
            expected = atanShape (std::max (0.0, 1.0 - 0.04 / (cube (c.time + 0.1) * sr) * 0.3 * at));

        EXPECT_NEAR (gain, expected, 2.0e-4) << "step " << at;
    }
}

INSTANTIATE_TEST_SUITE_P (Envelope, EnvelopeShapes,
                          testing::Values (ShapeCase { 0, false, 0.1 }, ShapeCase { 0, true, 0.1 },
                                           ShapeCase { 1, false, 0.1 }, ShapeCase { 1, true, 0.2 },
                                           ShapeCase { 2, false, 0.1 }, ShapeCase { 2, true, 0.2 }));

TEST (EnvelopeShapeEnds, LinearCurvesReachZeroAndInverseTopsAtPointNinetyNine)
{
    for (const auto curve : { 1, 2 })
    {
        Envelope envelope;
        configure (envelope, curve, 1000.0, 0.0f, 0.1f, 0.0f, 0.1f);
        envelope.trigger();
        // "1/x" falls by 0.0005 a step, "Atan" by 0.0015: both reach 0 within 2001 steps.
        stepTimes (envelope, 2001);
        EXPECT_EQ (envelope.state, Envelope::sustainState);
        EXPECT_EQ (envelope.nextGain(), 0.0f);
    }

    Envelope full;
    configure (full, 1, 1000.0, 0.0f, 0.1f, 1.0f, 0.1f);
    full.trigger();
    EXPECT_NEAR (full.nextGain(), 0.99f, 1.0e-6);
}

TEST (EnvelopeEnds, CurvesThreeToNineFreezeTheValue)
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

TEST (EnvelopeEnds, ReleaseReachesSilence)
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
        SamplerRig rig ({ path }, { { "curve", c.curveValue } }, rate);

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
        // Release 0 is 1 ms, the floor.
        SamplerRig rig ({ writeDc (folder, length) }, { { "curve", curveValue }, { "release", 0.0f } }, rate);

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
    SamplerRig rig ({ writeDc (folder, 4800) }, SamplerRig::Settings {}, rate);

    rig.render (256, { SamplerRig::noteOn (0, 60) });
    ASSERT_EQ (rig.activeVoices().size(), 1u);

    rig.processor.synth.noteOff (1, 60, 0.0f, true);
    ASSERT_EQ (rig.activeVoices().size(), 1u);
    EXPECT_EQ (rig.activeVoices()[0]->getEnvelope().state, juce::SampleEnvelope::releaseState);

    rig.processor.synth.allNotesOff (1, false);
    EXPECT_TRUE (rig.activeVoices().empty());
    EXPECT_EQ (rig.render (256).getMagnitude (0, 256), 0.0f);
}
