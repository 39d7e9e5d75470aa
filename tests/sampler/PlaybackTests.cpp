// What a note sounds like: its pitch by zero crossings, its level and pan from the peaks
// of constant-level files, its start point from a ramp, and whether it plays at all.
// Expected numbers are worked out by hand from the instrument's rules.
#include "SamplerFixture.h"

namespace
{
struct PitchRow { const char* name; double hostRate; int files; int key; double hertz; };
struct LevelRow { const char* name; float volume, pan, velToVolume; int velocity; float left, right; };
struct OffsetRow { const char* name; float amount, milliseconds; int velocity; double start; };
struct ProbabilityRow { const char* name; float probability, velToProbability, velocity; int minPlayed, maxPlayed; };

using Pitch = SamplerTable<PitchRow>;
using Level = SamplerTable<LevelRow>;
using Offset = SamplerTable<OffsetRow>;
using Probability = SamplerTable<ProbabilityRow>;
} // namespace

TEST_P (Pitch, ZeroCrossingsFollowTheKeyTheRootAndBothRates)
{
    const auto row = GetParam();
    Instrument instrument (row.hostRate);
    instrument.steady().load (row.files == 1 ? juce::StringArray { sine ("a.wav", 441.0) }
                                             : juce::StringArray { sine ("a.wav", 441.0), sine ("b.wav", 300.0, 2) });
    const auto out = instrument.play (12000, { Instrument::on (0, row.key) });

    for (auto channel = 0; channel < 2; ++channel)
        EXPECT_NEAR (frequency (out.getReadPointer (channel), 100, 10000, row.hostRate), row.hertz, row.hertz * 5.0e-4);
}

// Files at 44.1 kHz. 441 * 2^(-5/12) = 330.377; key 61 is the second file's, whose root
// is 59: 300 * 2^(2/12) = 336.739.
INSTANTIATE_TEST_SUITE_P (Sampler, Pitch,
                          testing::Values (PitchRow { "Root", 48000.0, 1, 60, 441.0 }, PitchRow { "Octave", 48000.0, 1, 72, 882.0 },
                                           PitchRow { "FifthDown", 48000.0, 1, 55, 330.377 },
                                           PitchRow { "SecondFile", 48000.0, 2, 61, 336.739 },
                                           PitchRow { "HostAt96k", 96000.0, 1, 60, 441.0 }),
                          RowName());

TEST_P (Level, PeaksFollowTheGainVelocityAndEqualPowerPanLaws)
{
    const auto row = GetParam();
    const auto path = levels ("levels.wav", { 0.5f, 0.25f });

    // Stereo, then a mono output, which gets the average of the two sides.
    for (const auto channels : { 2, 1 })
    {
        Instrument instrument (48000.0, 512, channels);
        instrument.steady();
        instrument.set ("volume", row.volume);
        instrument.set ("pan", row.pan);
        instrument.set ("vel2vol", row.velToVolume);
        instrument.load ({ path });
        const auto out = instrument.play (2048, { Instrument::on (0, 60, row.velocity) });
        const auto expected = channels == 2 ? std::vector<float> { row.left, row.right } : std::vector<float> { (row.left + row.right) / 2 };

        for (auto c = 0; c < channels; ++c)
            EXPECT_NEAR (out.getMagnitude (c, 0, 2048), expected[(size_t) c], 2.0e-4 * std::max (1.0f, expected[(size_t) c])) << channels;
    }
}

// The file holds 0.5 left and 0.25 right. Gain = volume^3 * 10^(18/20) * 10; the note
// level is gain * g^3 with g = 0.5 at Vel > Volume 0, else (1 - a) 0.5 + a * velocity;
// each side gets sqrt (0.5 -/+ q) of it, q = pan - 0.5.
INSTANTIATE_TEST_SUITE_P (Sampler, Level,
                          testing::Values (LevelRow { "Centre", 0.5f, 0.5f, 0.0f, 100, 0.43881f, 0.21940f },
                                           LevelRow { "HardLeft", 0.5f, 0.0f, 0.0f, 100, 0.62057f, 0.0f },
                                           LevelRow { "HardRight", 0.5f, 1.0f, 0.0f, 100, 0.0f, 0.31028f },
                                           LevelRow { "Loud", 0.8f, 0.5f, 0.0f, 100, 1.79736f, 0.89868f },
                                           LevelRow { "QuietQuarterLeft", 0.3f, 0.25f, 0.0f, 100, 0.11608f, 0.03351f },
                                           LevelRow { "FullVelocity", 0.5f, 0.5f, 1.0f, 127, 3.51047f, 1.75523f },
                                           LevelRow { "HalfVelocity", 0.5f, 0.5f, 1.0f, 64, 0.44926f, 0.22463f },
                                           LevelRow { "SoftNoteHalfAmount", 0.5f, 0.5f, 0.5f, 20, 0.12472f, 0.06236f }),
                          RowName());

TEST_P (Offset, SoftNotesStartLaterInTheSample)
{
    const auto row = GetParam();
    const auto ramp = folder.file ("ramp.wav");
    ASSERT_TRUE (AudioFixtures::writeAudioFile (ramp, 48000.0, 1, 20000, [] (int, int i) { return (float) i / 131072.0f; }, 32));
    Instrument instrument;
    instrument.steady();
    instrument.set ("vel2offs", row.amount);
    instrument.set ("msec", row.milliseconds);
    instrument.load ({ ramp.getFullPathName() });

    // The first output sample is the ramp at the start point, at the centred level.
    const auto out = instrument.play (512, { Instrument::on (0, 60, row.velocity) });
    EXPECT_NEAR (out.getSample (0, 0) * 131072.0 / centred, row.start, 0.5 + row.start * 2.0e-4);
}

// x = min (1, 1.05 * velocity)^(amount^2 * 3); the start is (1 - x) * span, the span
// being the file's 20004 samples (four guard samples included) or, with Milliseconds
// on (from 0.5 up), one second of it.
INSTANTIATE_TEST_SUITE_P (Sampler, Offset,
                          testing::Values (OffsetRow { "FullVelocity", 0.6f, 0.0f, 127, 0.0 },
                                           OffsetRow { "NinetySixPercentStillAtTheStart", 0.6f, 0.0f, 122, 0.0 },
                                           OffsetRow { "Velocity110", 0.6f, 0.0f, 110, 1949.0 },
                                           OffsetRow { "Velocity50", 0.6f, 0.0f, 50, 12298.9 },
                                           OffsetRow { "Velocity5", 0.6f, 0.0f, 5, 19363.1 },
                                           OffsetRow { "SecondsVelocity100", 0.3f, 1.0f, 100, 2403.1 },
                                           OffsetRow { "SecondsFromHalfOn", 0.3f, 0.5f, 90, 3681.9 },
                                           OffsetRow { "AmountZero", 0.0f, 0.0f, 5, 0.0 }),
                          RowName());

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
