// What the reference render leaves out: the spread of the random amounts, whether a
// note plays at all, the envelope's retrigger and the curve knob.
// Expected numbers are worked out by hand from the instrument's rules.
#include "SamplerFixture.h"

#include <cmath>

namespace
{
struct ProbabilityRow { const char* name; float probability, velToProbability, velocity; int minPlayed, maxPlayed; };

using Probability = SamplerTable<ProbabilityRow>;
} // namespace

TEST_P (Probability, DecidesWhichNotesPlay)
{
    const auto row = GetParam();
    Instrument instrument;
    instrument.steady();
    instrument.set ("probabl", row.probability);
    instrument.set ("vel2prob", row.velToProbability);
    instrument.load ({ levels ("p.wav", { 0.5f }, 1000) });
    auto played = 0;

    for (auto i = 0; i < 300; ++i)
        played += instrument.strike (row.velocity < 0.0f ? (float) (i % 128) / 127.0f : row.velocity) != nullptr ? 1 : 0;

    EXPECT_GE (played, row.minPlayed);
    EXPECT_LE (played, row.maxPlayed);
}

// p = draw * (1 - a) + (1 - velocity) * a, and a note plays when p <= probability: only a
// draw of exactly 0 passes probability 0. A velocity below 0 means every velocity in
// turn. Probability 0.5 allows six standard deviations of Binomial(300, 0.5).
INSTANTIATE_TEST_SUITE_P (Sampler, Probability,
                          testing::Values (ProbabilityRow { "Certain", 1.0f, 0.7f, -1.0f, 300, 300 },
                                           ProbabilityRow { "CertainEvenAtVelocityZero", 1.0f, 1.0f, 0.0f, 300, 300 },
                                           ProbabilityRow { "Never", 0.0f, 0.0f, 1.0f, 0, 1 },
                                           ProbabilityRow { "Half", 0.5f, 0.0f, 1.0f, 150 - 52, 150 + 52 },
                                           ProbabilityRow { "SilentNoteDropped", 0.99f, 1.0f, 0.0f, 0, 0 },
                                           ProbabilityRow { "VelocityDecidesLoud", 0.0f, 1.0f, 1.0f, 300, 300 },
                                           ProbabilityRow { "VelocityDecidesAboveHalf", 0.5f, 1.0f, 0.6f, 300, 300 },
                                           ProbabilityRow { "VelocityDecidesBelowHalf", 0.5f, 1.0f, 0.4f, 0, 0 }),
                          RowName());

TEST_F (Sampler, RandomPitchLevelAndPanStayWithinTheirSpreads)
{
    Instrument instrument;
    instrument.steady();
    instrument.set ("rndpitch", 0.5f);
    instrument.set ("rnddecay", 0.4f);
    instrument.set ("vel2vol", 1.0f);
    instrument.load ({ levels ("r.wav", { 0.5f }) });

    // Pitch within +/- 3 * 0.5^2 = 0.75 semitones: ratios 0.957603 .. 1.044274. Level
    // 9.9291 * v^3 with v = 0.5 * [0.8, 1.2): 0.63546 .. 2.14469. Pan: |q| <= 0.4^2 / 2.
    double pitchLow = 2.0, pitchHigh = 0.0, levelLow = 100.0, levelHigh = 0.0;

    for (auto i = 0; i < 64; ++i)
    {
        const auto* voice = instrument.strike (0.5f);
        ASSERT_NE (voice, nullptr);
        const auto l = (double) voice->getLeftGain(), r = (double) voice->getRightGain(), level = std::sqrt (l * l + r * r);
        pitchLow = std::min (pitchLow, voice->getPitchRatio());
        pitchHigh = std::max (pitchHigh, voice->getPitchRatio());
        levelLow = std::min (levelLow, level);
        levelHigh = std::max (levelHigh, level);
        EXPECT_LE (std::abs ((r * r - l * l) / (2.0 * level * level)), 0.08 + 1.0e-5);
    }

    EXPECT_TRUE (pitchLow >= 0.957603 && pitchHigh <= 1.044274 && pitchHigh / pitchLow > 1.02) << pitchLow << " " << pitchHigh;
    EXPECT_TRUE (levelLow >= 0.63546 * 0.9999 && levelHigh <= 2.14469 * 1.0001 && levelHigh / levelLow > 1.5) << levelLow << " " << levelHigh;
}

// A note rendered from silence can't show a retrigger; the reference render covers the
// three shapes' attacks, decays and releases, and the curve knob's test the frozen ones.
TEST (Envelope, ARetriggeredAttackRisesFromWhereTheValueWas)
{
    // An attack rises 3 / t^3 per second: stepped at 1 kHz with t = 0.5, 0.6 + 24 / 1000.
    juce::SampleEnvelope envelope;
    envelope.sampleRate = 1000.0;
    envelope.setEnvelopeParameters (0.5f, 0.05f, 0.0f, 0.05f);
    envelope.envelopeValue = 0.6f;
    envelope.trigger();
    EXPECT_NEAR (envelope.nextGain(), 0.624f, 2.0e-4);
}

TEST_F (Sampler, TheCurveKnobPicksTheShape)
{
    const auto path = levels ("dc.wav", { 0.5f, 0.5f }, 48000);

    // The first sample of a note at full level: 1 for "Log" and "Atan", 0.99 for "1/x";
    // from 2.5/9 up the curve index is 3 or more and the envelope never moves from 0.
    const std::pair<float, float> curves[] { { 0.0f, 1.0f }, { 1.0f / 9.0f, 0.99f }, { 2.0f / 9.0f, 1.0f },
                                             { 2.4f / 9.0f, 1.0f }, { 2.5f / 9.0f, 0.0f }, { 1.0f, 0.0f } };

    for (const auto& [curve, level] : curves)
    {
        Instrument instrument;
        instrument.steady();
        instrument.set ("curve", curve);
        instrument.load ({ path });
        const auto out = instrument.play (256, { Instrument::on (0, 60) });
        EXPECT_NEAR (out.getSample (0, 0), 0.5 * centred * level, 1.0e-4) << curve * 9.0f;
    }
}
