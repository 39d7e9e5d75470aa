#include "SamplerRig.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
using AudioFixtures::TempFolder;
using Rig = SamplerRig;

constexpr double fileRate = 44100.0;
constexpr double hostRate = 48000.0;

double semitoneRatio (double semitones)
{
    return std::pow (2.0, semitones / 12.0);
}

double frequency (const juce::AudioBuffer<float>& buffer, int end = 12000, int channel = 0)
{
    return SignalAnalysis::zeroCrossingFrequency (buffer.getReadPointer (channel), 100, end, hostRate);
}

double peak (const juce::AudioBuffer<float>& buffer, int channel, int end)
{
    return SignalAnalysis::peak (buffer.getReadPointer (channel), 0, end);
}

// A stereo file with a different constant on each side, so each output side's gain
// can be read off exactly.
juce::String writeLevels (const TempFolder& folder, float left, float right)
{
    const auto file = folder.file ("levels.wav");
    EXPECT_TRUE (AudioFixtures::writeAudioFile (file, hostRate, 2, 24000,
                                                [=] (int channel, int) { return channel == 0 ? left : right; }));
    return file.getFullPathName();
}

// Sample i holds i / scale: the output's first sample gives the start position.
constexpr float rampScale = 1.0f / 131072.0f;

juce::String writeRamp (const TempFolder& folder, int numSamples)
{
    const auto file = folder.file ("ramp.wav");
    EXPECT_TRUE (AudioFixtures::writeAudioFile (file, hostRate, 1, numSamples,
                                                [] (int, int i) { return (float) i * rampScale; }, 32));
    return file.getFullPathName();
}
} // namespace

//==============================================================================
TEST (Pitch, RootOctaveAndSecondFileOfAPairAtAnotherHostRate)
{
    TempFolder folder;
    const auto a = folder.file ("a.wav"), b = folder.file ("b.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (a, fileRate, 1, 0.5, 441.0));
    ASSERT_TRUE (AudioFixtures::writeSine (b, fileRate, 2, 0.5, 300.0));

    // The file plays at its own pitch on the root, whatever the host's rate.
    Rig single ({ a.getFullPathName() }, Rig::Settings {});
    struct Case { int key; int end; double expected; };

    for (const auto c : { Case { 60, 12000, 441.0 }, Case { 72, 10000, 882.0 }, Case { 55, 12000, 441.0 * semitoneRatio (-5.0) } })
    {
        const auto buffer = single.render (12000, { Rig::noteOn (0, c.key) });
        single.silence();
        EXPECT_NEAR (frequency (buffer, c.end, 0), c.expected, std::max (0.3, c.expected * 7.0e-4)) << c.key;
        EXPECT_NEAR (frequency (buffer, c.end, 1), c.expected, std::max (0.3, c.expected * 7.0e-4)) << c.key;
    }

    // With two files, key 61 belongs to the second, whose root is 59: two semitones up.
    Rig pair ({ a.getFullPathName(), b.getFullPathName() }, Rig::Settings {});
    EXPECT_NEAR (frequency (pair.render (12000, { Rig::noteOn (0, 61) })), 300.0 * semitoneRatio (2.0), 0.3);
}

TEST (Pitch, RandomPitchSpreadsWithinThreeSemitonesTimesTheSquare)
{
    TempFolder folder;
    const auto a = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (a, hostRate, 1, 0.2, 441.0));
    Rig rig ({ a.getFullPathName() }, { { "rndpitch", 0.5f } });

    // +/- 3 * 0.5^2 = 0.75 semitones around the root.
    double minSeen = 10.0, maxSeen = 0.0;

    for (auto i = 0; i < 64; ++i)
    {
        const auto* voice = rig.strike();
        ASSERT_NE (voice, nullptr);
        minSeen = std::min (minSeen, voice->getPitchRatio());
        maxSeen = std::max (maxSeen, voice->getPitchRatio());
    }

    EXPECT_GE (minSeen, semitoneRatio (-0.75) - 1.0e-6);
    EXPECT_LE (maxSeen, semitoneRatio (0.75) + 1.0e-6);
    EXPECT_GT (maxSeen - minSeen, 0.01);
}

//==============================================================================
struct LevelCase
{
    float volume;
    float pan;          // normalised: 0 hard left, 0.5 centre, 1 hard right
    float left, right;  // the file's two sides; equal sides stand for a mono source
};

class LevelAndPan : public testing::TestWithParam<LevelCase> {};

TEST_P (LevelAndPan, PeaksFollowTheGainAndEqualPowerPanLaws)
{
    const auto c = GetParam();
    TempFolder folder;
    juce::String path;

    if (c.left == c.right)
    {
        const auto file = folder.file ("mono.wav");
        ASSERT_TRUE (AudioFixtures::writeConstant (file, hostRate, 1, 24000, c.left));
        path = file.getFullPathName();
    }
    else
    {
        path = writeLevels (folder, c.left, c.right);
    }

    // Pan -1..1 feeds q = pan / 2; each side gets sqrt(0.5 -/+ q) of the level.
    const auto q = (2.0 * c.pan - 1.0) * 0.5;
    const auto level = Rig::expectedLevel (c.volume, 0.5);
    const auto left = c.left * std::sqrt (std::max (0.0, 0.5 - q)) * level;
    const auto right = c.right * std::sqrt (std::max (0.0, 0.5 + q)) * level;
    const auto tolerance = 1.0e-4 * std::max (1.0, level);

    Rig stereo ({ path }, { { "volume", c.volume }, { "pan", c.pan } });
    const auto out = stereo.render (4096, { Rig::noteOn (0, 60, 90) });
    EXPECT_NEAR (peak (out, 0, 4096), left, tolerance);
    EXPECT_NEAR (peak (out, 1, 4096), right, tolerance);

    // A mono output gets the average of the two sides.
    Rig mono ({ path }, { { "volume", c.volume }, { "pan", c.pan } }, hostRate, true);
    const auto monoOut = mono.render (4096, { Rig::noteOn (0, 60, 90) });
    ASSERT_EQ (monoOut.getNumChannels(), 1);
    EXPECT_NEAR (peak (monoOut, 0, 4096), (left + right) * 0.5, tolerance);
}

INSTANTIATE_TEST_SUITE_P (Playback, LevelAndPan,
                          testing::Values (LevelCase { 0.5f, 0.5f, 0.5f, 0.25f }, LevelCase { 0.5f, 0.0f, 0.5f, 0.25f },
                                           LevelCase { 0.5f, 1.0f, 0.5f, 0.25f }, LevelCase { 0.8f, 0.5f, 0.5f, 0.25f },
                                           LevelCase { 0.3f, 0.25f, 0.5f, 0.25f }, LevelCase { 1.0f, 0.0f, 0.5f, 0.25f },
                                           LevelCase { 0.5f, 0.75f, 0.5f, 0.5f }));

TEST (LevelAndPanRandom, RandomOtherStaysWithinItsSpread)
{
    TempFolder folder;
    Rig rig ({ writeLevels (folder, 0.5f, 0.5f) }, { { "vel2vol", 1.0f }, { "rnddecay", 0.4f } });

    // Level v in [0.8, 1.2) x velocity; pan offset within +/- 0.16 / 2.
    const auto velocity = 0.5, gain = Rig::expectedLevel (0.5, 1.0);

    for (auto i = 0; i < 32; ++i)
    {
        const auto* voice = rig.strike ((float) velocity);
        ASSERT_NE (voice, nullptr);
        const auto l = (double) voice->getLeftGain(), r = (double) voice->getRightGain();

        // l^2 + r^2 = level^2 whatever the pan; level = gain * v^3.
        const auto level = std::sqrt (l * l + r * r);
        EXPECT_GE (level, gain * std::pow (0.8 * velocity, 3.0) * 0.9999);
        EXPECT_LE (level, gain * std::pow (1.2 * velocity, 3.0) * 1.0001);
        EXPECT_LE (std::abs ((r * r - l * l) / (2.0 * level * level)), 0.16 * 0.5 + 1.0e-5);
    }
}

//==============================================================================
TEST (Velocity, VelocityToVolumeFollowsTheCube)
{
    TempFolder folder;
    const auto path = writeLevels (folder, 0.5f, 0.5f);

    for (const auto velToVolume : { 1.0f, 0.5f })
    {
        Rig rig ({ path }, { { "vel2vol", velToVolume } });

        for (const auto velocity : { 127, 64, 20 })
        {
            const auto g = (1.0 - velToVolume) * 0.5 + velToVolume * (velocity / 127.0);
            const auto expected = 0.5 * std::sqrt (0.5) * Rig::expectedLevel (0.5, g);

            rig.silence();
            const auto out = rig.render (2048, { Rig::noteOn (0, 60, velocity), Rig::noteOff (1024, 60) });
            EXPECT_NEAR (peak (out, 0, 1024), expected, 1.0e-4 * expected + 1.0e-6) << velocity << " " << velToVolume;
        }
    }
}

TEST (Velocity, SoftNotesStartLaterInTheSample)
{
    constexpr auto numSamples = 20000;
    TempFolder folder;
    const auto path = writeRamp (folder, numSamples);

    // The offset is (1 - x) of the span, x = vc^(amount^2 * 3) with vc = 1.05 v capped at 1;
    // the span is the whole buffer, or one second of the file in seconds mode.
    struct Case { float amount; float seconds; int velocity; };

    for (const auto c : { Case { 0.6f, 0.0f, 127 }, Case { 0.6f, 0.0f, 122 }, Case { 0.6f, 0.0f, 110 },
                          Case { 0.6f, 0.0f, 50 }, Case { 0.6f, 0.0f, 5 }, Case { 0.3f, 1.0f, 127 },
                          Case { 0.3f, 1.0f, 100 }, Case { 0.3f, 1.0f, 90 }, Case { 0.0f, 0.0f, 5 } })
    {
        Rig rig ({ path }, { { "vel2offs", c.amount }, { "msec", c.seconds } });
        const auto out = rig.render (512, { Rig::noteOn (0, 60, c.velocity), Rig::noteOff (256, 60) });
        // Remove the level and the pan (centre) to get the position back.
        const auto start = out.getSample (0, 0) / (Rig::expectedLevel (0.5, 0.5) * std::sqrt (0.5) * rampScale);

        const auto span = c.seconds > 0.0f ? hostRate : numSamples + 4.0;
        const auto vc = std::min (1.0, 1.05 * c.velocity / 127.0);
        const auto expected = std::min ((1.0 - std::pow (vc, (double) c.amount * c.amount * 3.0)) * span, span - 1.0);
        EXPECT_NEAR (start, expected, expected == 0.0 ? 0.01 : 1.0) << c.amount << " " << c.velocity;
    }
}

TEST (Velocity, OffsetPastTheEndStopsCleanly)
{
    // One second of span on a file of 1000 samples: a soft note lands on the last
    // sample of the buffer and must neither read past it nor play on.
    TempFolder folder;
    Rig rig ({ writeRamp (folder, 1000) }, { { "vel2offs", 1.0f }, { "msec", 1.0f } });
    const auto out = rig.render (1024, { Rig::noteOn (0, 60, 10), Rig::noteOn (10, 72, 1) });
    EXPECT_TRUE (SignalAnalysis::allFinite (out));
    EXPECT_TRUE (rig.activeVoices().empty());
}

//==============================================================================
struct ProbabilityCase
{
    float probability, velToProbability;
    float velocity;             // below 0: every velocity in turn
    int minPlayed, maxPlayed;   // of 300 notes
};

class Probability : public testing::TestWithParam<ProbabilityCase> {};

TEST_P (Probability, DecidesWhichNotesPlay)
{
    const auto c = GetParam();
    TempFolder folder;
    const auto file = folder.file ("p.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, hostRate, 1, 1000, 0.5f));
    Rig rig ({ file.getFullPathName() }, { { "probabl", c.probability }, { "vel2prob", c.velToProbability } });

    auto played = 0;

    for (auto i = 0; i < 300; ++i)
        played += rig.strike (c.velocity < 0.0f ? (float) (i % 128) / 127.0f : c.velocity) != nullptr ? 1 : 0;

    EXPECT_GE (played, c.minPlayed);
    EXPECT_LE (played, c.maxPlayed);

    // Through MIDI as well: a dropped note makes no sound.
    if (c.probability == 0.0f && c.velToProbability == 0.0f)
    {
        EXPECT_EQ (rig.render (2048, { Rig::noteOn (0, 60), Rig::noteOn (10, 61) }).getMagnitude (0, 2048), 0.0f);
    }
}

// p = probability mixed with (1 - velocity) by the velocity amount; a note plays when a
// draw in [0, 1) falls below p, so only a draw of exactly 0 passes p = 0. Probability 0.5
// has six standard deviations of Binomial(300, 0.5) either side.
INSTANTIATE_TEST_SUITE_P (Playback, Probability,
                          testing::Values (ProbabilityCase { 1.0f, 0.7f, -1.0f, 300, 300 },
                                           ProbabilityCase { 1.0f, 1.0f, 0.0f, 300, 300 },
                                           ProbabilityCase { 0.0f, 0.0f, 1.0f, 0, 1 },
                                           ProbabilityCase { 0.5f, 0.0f, 1.0f, 150 - 52, 150 + 52 },
                                           ProbabilityCase { 0.99f, 1.0f, 0.0f, 0, 0 },
                                           ProbabilityCase { 0.0f, 1.0f, 1.0f, 300, 300 },
                                           ProbabilityCase { 0.5f, 1.0f, 0.6f, 300, 300 },
                                           ProbabilityCase { 0.5f, 1.0f, 0.4f, 0, 0 }));

//==============================================================================
TEST (Polyphony, AllVoicesPlayTogether)
{
    TempFolder folder;
    const auto file = folder.file ("c.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, hostRate, 2, 96000, 0.01f));
    Rig rig ({ file.getFullPathName() }, Rig::Settings {});

    std::vector<Rig::Note> notes;
    for (auto key = 0; key < 128; ++key)
        notes.push_back (Rig::noteOn (key, key));

    const auto out = rig.render (1024, notes);
    EXPECT_EQ (rig.activeVoices().size(), 128u);
    EXPECT_TRUE (SignalAnalysis::allFinite (out));

    // Every voice adds the same level once it has started.
    EXPECT_NEAR (out.getSample (0, 1000), 128.0 * 0.01 * std::sqrt (0.5) * Rig::expectedLevel (0.5, 0.5), 1.0e-3);
}
