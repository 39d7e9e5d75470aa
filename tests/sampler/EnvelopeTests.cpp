// The envelope against worked examples of its rules, and as heard through a voice.
#include "SamplerFixture.h"

#include <cmath>

namespace
{
enum class Stage { decay, release, retrigger, frozen };

// time: of the decay or release (of the attack for a retrigger) in seconds; steps at 1 kHz.
struct EnvelopeRow { const char* name; int curve; Stage stage; float time; int steps; float gain; };

using Envelope = SamplerTable<EnvelopeRow>;
} // namespace

TEST_P (Envelope, GainAfterSteps)
{
    const auto row = GetParam();
    juce::SampleEnvelope envelope;
    envelope.curve = row.curve;
    envelope.sampleRate = 1000.0;

    // Decay towards sustain 0, or release from full level; no attack.
    envelope.setEnvelopeParameters (row.stage == Stage::retrigger || row.stage == Stage::frozen ? row.time : 0.0f,
                                    row.stage == Stage::decay ? row.time : 0.05f, 0.0f,
                                    row.stage == Stage::release ? row.time : 0.05f);

    if (row.stage == Stage::retrigger || row.stage == Stage::frozen)
        envelope.envelopeValue = 0.6f;

    envelope.trigger();

    if (row.stage == Stage::release)
        envelope.beginRelease();

    for (auto i = 1; i < row.steps; ++i)
        envelope.nextGain();

    EXPECT_NEAR (envelope.nextGain(), row.gain, 2.0e-4);
}

// Log: (1 - 1 / (t * 1000))^n. 1/x: the value falls by 0.004 / (t + 0.1)^3 per second
// and sounds as 1 / (1 + 99 (1 - value)) - 0.01. Atan: it falls by 0.012 / (t + 0.1)^3
// and sounds as 1 - atan (5 pi (1 - value)) * 0.66347. An attack rises 3 / t^3 per
// second from where the value was; curves 3 to 9 hold the value.
INSTANTIATE_TEST_SUITE_P (Sampler, Envelope,
                          testing::Values (EnvelopeRow { "LogDecay50", 0, Stage::decay, 0.1f, 50, 0.605006f },
                                           EnvelopeRow { "LogDecay400", 0, Stage::decay, 0.1f, 400, 0.017951f },
                                           EnvelopeRow { "LogRelease50", 0, Stage::release, 0.1f, 50, 0.605006f },
                                           EnvelopeRow { "InverseDecay200", 1, Stage::decay, 0.1f, 200, 0.081743f },
                                           EnvelopeRow { "InverseRelease600", 1, Stage::release, 0.2f, 600, 0.092041f },
                                           EnvelopeRow { "InverseFirstStep", 1, Stage::decay, 0.1f, 1, 0.942835f },
                                           EnvelopeRow { "AtanDecay200", 2, Stage::decay, 0.1f, 200, 0.096558f },
                                           EnvelopeRow { "AtanRelease600", 2, Stage::release, 0.2f, 600, 0.113305f },
                                           EnvelopeRow { "InverseEndsSilent", 1, Stage::decay, 0.1f, 2100, 0.0f },
                                           EnvelopeRow { "AttackFromWhereItWas", 0, Stage::retrigger, 0.5f, 1, 0.624f },
                                           EnvelopeRow { "NoReleaseTimeSilencesAtOnce", 2, Stage::release, 0.0f, 1, 0.0f },
                                           EnvelopeRow { "CurveFiveHolds", 5, Stage::frozen, 0.01f, 100, 0.6f }),
                          RowName());

// The "1/x" and "Atan" shapes, from full level to silence at every sample, against the
// rules in double precision: within a millionth of full scale, the fastest decay (whose
// value moves the most per sample) included.
TEST (EnvelopeShapes, WithinAMillionthOfTheRulesOverTheWholeRange)
{
    for (const auto curve : { 1, 2 })
    {
        for (const auto decay : { 0.001f, 0.02f, 0.3f })
        {
            juce::SampleEnvelope envelope;
            envelope.curve = curve;
            envelope.sampleRate = 48000.0;
            envelope.setEnvelopeParameters (0.0f, decay, 0.0f, 0.1f);
            envelope.trigger();

            const auto rate = (double) envelope.decayRate;
            std::vector<float> gains ((size_t) std::ceil (1.0 / rate) - 1);
            envelope.render (gains.data(), (int) gains.size());
            auto worst = 0.0;

            for (size_t k = 0; k < gains.size(); ++k)
            {
                const auto below = (double) (k + 1) * rate;   // 1 - value after k + 1 steps
                const auto rule = curve == 1 ? 1.0 / (1.0 + below * 99.0) - 0.01 : 1.0 - std::atan (below * 15.707963268) * 0.66347;
                worst = std::max (worst, std::abs (gains[k] - rule));
            }

            EXPECT_LT (worst, 1.0e-6) << "curve " << curve << ", decay " << decay;
        }
    }
}

TEST_F (Sampler, DecayTimeIsTheKnobSquaredAndTheCurveKnobPicksTheShape)
{
    const auto path = levels ("dc.wav", { 0.5f, 0.5f }, 48000);

    // Decay 0.5 is 0.25 s: "Log" falls to e^-1 = 0.36788 of full level in 12000 samples.
    Instrument decaying;
    decaying.steady();
    decaying.set ("sustain", 0.0f);
    decaying.load ({ path });
    const auto decayed = decaying.play (12001, { Instrument::on (0, 60) });
    EXPECT_NEAR (decayed.getSample (0, 12000) / decayed.getSample (0, 0), 0.36788, 1.0e-3);

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
