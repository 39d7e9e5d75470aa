#include "SamplerRig.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
using AudioFixtures::TempFolder;

constexpr double fileRate = 44100.0;
constexpr double hostRate = 48000.0;

double semitoneRatio (double semitones)
{
    return std::pow (2.0, semitones / 12.0);
}

double measuredFrequency (const juce::AudioBuffer<float>& buffer, int channel, int start, int end)
{
    return SignalAnalysis::zeroCrossingFrequency (buffer.getReadPointer (channel), start, end, hostRate);
}

// A stereo file with a different constant on each side, so each output side's gain
// can be read off exactly.
juce::String writeLevels (const TempFolder& folder, float left, float right, int numSamples = 24000)
{
    const auto file = folder.file ("levels.wav");
    EXPECT_TRUE (AudioFixtures::writeAudioFile (file, hostRate, 2, numSamples,
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
    const auto a = folder.file ("a.wav");
    const auto b = folder.file ("b.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (a, fileRate, 1, 0.5, 441.0));
    ASSERT_TRUE (AudioFixtures::writeSine (b, fileRate, 2, 0.5, 300.0));

    SamplerRig single (hostRate);
    single.makeDeterministic();
    single.load ({ a.getFullPathName() });

    // The file plays at its own pitch on the root, whatever the host's rate.
    auto buffer = single.render (12000, { SamplerRig::noteOn (0, 60) });
    single.silence();
    EXPECT_NEAR (measuredFrequency (buffer, 0, 100, 12000), 441.0, 0.3);
    EXPECT_NEAR (measuredFrequency (buffer, 1, 100, 12000), 441.0, 0.3);

    buffer = single.render (12000, { SamplerRig::noteOn (0, 72) });
    EXPECT_NEAR (measuredFrequency (buffer, 0, 100, 10000), 882.0, 0.6);
    single.silence();

    buffer = single.render (12000, { SamplerRig::noteOn (0, 55) });
    EXPECT_NEAR (measuredFrequency (buffer, 0, 100, 12000), 441.0 * semitoneRatio (-5.0), 0.3);

    // With two files, key 61 belongs to the second, whose root is 59: two semitones up.
    SamplerRig pair (hostRate);
    pair.makeDeterministic();
    pair.load ({ a.getFullPathName(), b.getFullPathName() });
    buffer = pair.render (12000, { SamplerRig::noteOn (0, 61) });
    EXPECT_NEAR (measuredFrequency (buffer, 0, 100, 12000), 300.0 * semitoneRatio (2.0), 0.3);

    const auto voices = pair.activeVoices();
    ASSERT_EQ (voices.size(), 1u);
    EXPECT_NEAR (voices[0]->getPitchRatio(), semitoneRatio (2.0) * fileRate / hostRate, 1.0e-6);
}

TEST (Pitch, RandomPitchSpreadsWithinThreeSemitonesTimesTheSquare)
{
    TempFolder folder;
    const auto a = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (a, hostRate, 1, 0.2, 441.0));

    SamplerRig rig (hostRate);
    rig.makeDeterministic();
    rig.set ("rndpitch", 0.5f);
    rig.load ({ a.getFullPathName() });
    rig.processor.updateSoundParameters();

    // +/- 3 * 0.5^2 = 0.75 semitones around the root.
    const auto lowest = semitoneRatio (-0.75) - 1.0e-6, highest = semitoneRatio (0.75) + 1.0e-6;
    double minSeen = 10.0, maxSeen = 0.0;

    for (auto i = 0; i < 64; ++i)
    {
        rig.processor.synth.noteOn (1, 60, 1.0f);
        const auto voices = rig.activeVoices();
        ASSERT_EQ (voices.size(), 1u);
        const auto ratio = voices[0]->getPitchRatio();
        EXPECT_GE (ratio, lowest);
        EXPECT_LE (ratio, highest);
        minSeen = std::min (minSeen, ratio);
        maxSeen = std::max (maxSeen, ratio);
        rig.processor.synth.allNotesOff (0, false);
    }

    EXPECT_GT (maxSeen - minSeen, 0.01);
}

//==============================================================================
struct LevelCase
{
    float volume;
    float pan;          // normalised: 0 hard left, 0.5 centre, 1 hard right
};

class LevelAndPan : public testing::TestWithParam<LevelCase> {};

TEST_P (LevelAndPan, PeaksFollowTheGainAndEqualPowerPanLaws)
{
    const auto [volume, pan] = GetParam();
    TempFolder folder;
    const auto path = writeLevels (folder, 0.5f, 0.25f);

    // Pan -1..1 feeds q = pan / 2; each side gets sqrt(0.5 -/+ q) of the level.
    const auto q = (2.0 * pan - 1.0) * 0.5;
    const auto level = SamplerRig::expectedLevel (volume, 0.5);
    const auto leftGain = 0.5 - q > 0.0 ? std::sqrt (0.5 - q) * level : 0.0;
    const auto rightGain = 0.5 + q > 0.0 ? std::sqrt (0.5 + q) * level : 0.0;

    SamplerRig stereo (hostRate);
    stereo.makeDeterministic();
    stereo.set ("volume", volume);
    stereo.set ("pan", pan);
    stereo.load ({ path });
    const auto out = stereo.render (4096, { SamplerRig::noteOn (0, 60, 90) });

    const auto tolerance = 1.0e-4 * std::max (1.0, level);
    EXPECT_NEAR (SignalAnalysis::peak (out.getReadPointer (0), 0, 4096), 0.5 * leftGain, tolerance);
    EXPECT_NEAR (SignalAnalysis::peak (out.getReadPointer (1), 0, 4096), 0.25 * rightGain, tolerance);

    // A mono output gets the average of the two sides.
    SamplerRig mono (hostRate, 512, true);
    mono.makeDeterministic();
    mono.set ("volume", volume);
    mono.set ("pan", pan);
    mono.load ({ path });
    const auto monoOut = mono.render (4096, { SamplerRig::noteOn (0, 60, 90) });
    ASSERT_EQ (monoOut.getNumChannels(), 1);
    EXPECT_NEAR (SignalAnalysis::peak (monoOut.getReadPointer (0), 0, 4096),
                 (0.5 * leftGain + 0.25 * rightGain) * 0.5, tolerance);
}

INSTANTIATE_TEST_SUITE_P (Playback, LevelAndPan,
                          testing::Values (LevelCase { 0.5f, 0.5f }, LevelCase { 0.5f, 0.0f },
                                           LevelCase { 0.5f, 1.0f }, LevelCase { 0.8f, 0.5f },
                                           LevelCase { 0.3f, 0.25f }, LevelCase { 1.0f, 0.0f }));

TEST (LevelAndPanMono, MonoSourceFeedsBothSides)
{
    TempFolder folder;
    const auto file = folder.file ("mono.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, hostRate, 1, 4000, 0.5f));

    SamplerRig rig (hostRate);
    rig.makeDeterministic();
    rig.set ("pan", 0.75f);
    rig.load ({ file.getFullPathName() });
    const auto out = rig.render (2048, { SamplerRig::noteOn (0, 60) });

    const auto level = SamplerRig::expectedLevel (0.5, 0.5);
    EXPECT_NEAR (out.getSample (0, 1000), 0.5 * std::sqrt (0.25) * level, 1.0e-4);
    EXPECT_NEAR (out.getSample (1, 1000), 0.5 * std::sqrt (0.75) * level, 1.0e-4);
}

TEST (LevelAndPanRandom, RandomOtherStaysWithinItsSpread)
{
    TempFolder folder;
    const auto path = writeLevels (folder, 0.5f, 0.5f);

    SamplerRig rig (hostRate);
    rig.makeDeterministic();
    rig.set ("vel2vol", 1.0f);
    rig.set ("rnddecay", 0.4f);
    rig.load ({ path });
    rig.processor.updateSoundParameters();

    // Level v in [0.8, 1.2) x velocity; pan offset within +/- 0.16 / 2.
    const auto velocity = 0.5f;
    const auto gain = SamplerRig::expectedLevel (0.5, 1.0);

    for (auto i = 0; i < 32; ++i)
    {
        rig.processor.synth.noteOn (1, 60, velocity);
        const auto voices = rig.activeVoices();
        ASSERT_EQ (voices.size(), 1u);
        const auto l = (double) voices[0]->getLeftGain(), r = (double) voices[0]->getRightGain();

        // l^2 + r^2 = level^2 whatever the pan; level = gain * v^3.
        const auto level = std::sqrt (l * l + r * r);
        EXPECT_GE (level, gain * std::pow (0.8 * velocity, 3.0) * 0.9999);
        EXPECT_LE (level, gain * std::pow (1.2 * velocity, 3.0) * 1.0001);

        const auto q = (r * r - l * l) / (2.0 * level * level);
        EXPECT_LE (std::abs (q), 0.16 * 0.5 + 1.0e-5);
        rig.processor.synth.allNotesOff (0, false);
    }
}

//==============================================================================
TEST (Velocity, VelocityToVolumeFollowsTheCube)
{
    TempFolder folder;
    const auto path = writeLevels (folder, 0.5f, 0.5f);

    for (const auto velToVolume : { 1.0f, 0.5f })
    {
        SamplerRig rig (hostRate);
        rig.makeDeterministic();
        rig.set ("vel2vol", velToVolume);
        rig.load ({ path });

        for (const auto velocity : { 127, 64, 20 })
        {
            const auto v = (double) velocity / 127.0;
            const auto g = (1.0 - velToVolume) * 0.5 + velToVolume * v;
            const auto expected = 0.5 * std::sqrt (0.5) * SamplerRig::expectedLevel (0.5, g);

            rig.silence();
            const auto out = rig.render (2048, { SamplerRig::noteOn (0, 60, velocity), SamplerRig::noteOff (1024, 60) });
            EXPECT_NEAR (SignalAnalysis::peak (out.getReadPointer (0), 0, 1024), expected, 1.0e-4 * expected + 1.0e-6)
                << "velocity " << velocity << " amount " << velToVolume;
        }
    }
}

TEST (Velocity, SoftNotesStartLaterInTheSample)
{
    constexpr auto numSamples = 20000;
    TempFolder folder;
    const auto path = writeRamp (folder, numSamples);

    const auto startOf = [] (SamplerRig& rig, int velocity)
    {
        rig.silence();
        const auto out = rig.render (512, { SamplerRig::noteOn (0, 60, velocity), SamplerRig::noteOff (256, 60) });
        // Remove the level and the pan (centre) to get the position back.
        const auto scale = SamplerRig::expectedLevel (0.5, 0.5) * std::sqrt (0.5) * rampScale;
        return (double) out.getSample (0, 0) / scale;
    };

    // The offset is (1 - x) of the span, x = vc^(amount^2 * 3) with vc = 1.05 v capped at 1.
    const auto expectedStart = [] (int velocity, double amount, double span)
    {
        const auto vc = std::min (1.0, 1.05 * velocity / 127.0);
        return std::min ((1.0 - std::pow (vc, amount * amount * 3.0)) * span, span - 1.0);
    };

    SamplerRig whole (hostRate);
    whole.makeDeterministic();
    whole.set ("vel2offs", 0.6f);
    whole.load ({ path });

    EXPECT_NEAR (startOf (whole, 127), 0.0, 0.01);
    EXPECT_NEAR (startOf (whole, 122), 0.0, 0.01); // 1.05 v reaches 1 just below the top

    auto previous = 0.0;

    for (const auto velocity : { 110, 80, 50, 20, 5 })
    {
        const auto start = startOf (whole, velocity);
        EXPECT_NEAR (start, expectedStart (velocity, 0.6, numSamples + 4), 1.0) << velocity;
        EXPECT_GT (start, previous);
        previous = start;
    }

    // In seconds mode the span is one second of the file rather than the whole buffer.
    SamplerRig seconds (hostRate);
    seconds.makeDeterministic();
    seconds.set ("vel2offs", 0.3f);
    seconds.set ("msec", 1.0f);
    seconds.load ({ path });

    for (const auto velocity : { 127, 100, 90 })
        EXPECT_NEAR (startOf (seconds, velocity), expectedStart (velocity, 0.3, hostRate), 1.0) << velocity;

    // No amount, no offset, however soft.
    SamplerRig none (hostRate);
    none.makeDeterministic();
    none.load ({ path });
    EXPECT_NEAR (startOf (none, 5), 0.0, 0.01);
}

TEST (Velocity, OffsetPastTheEndStopsCleanly)
{
    TempFolder folder;
    const auto path = writeRamp (folder, 1000);

    // One second of span on a file of 1000 samples: a soft note lands on the last
    // sample of the buffer and must neither read past it nor play on.
    SamplerRig rig (hostRate);
    rig.makeDeterministic();
    rig.set ("vel2offs", 1.0f);
    rig.set ("msec", 1.0f);
    rig.load ({ path });

    const auto out = rig.render (1024, { SamplerRig::noteOn (0, 60, 10), SamplerRig::noteOn (10, 72, 1) });
    EXPECT_TRUE (SignalAnalysis::allFinite (out));
    EXPECT_TRUE (rig.activeVoices().empty());
}

//==============================================================================
namespace
{
int countPlayed (SamplerRig& rig, int notes, const std::function<float (int)>& velocityOf)
{
    auto played = 0;

    for (auto i = 0; i < notes; ++i)
    {
        rig.processor.synth.noteOn (1, 60, velocityOf (i));
        played += (int) rig.activeVoices().size();
        rig.processor.synth.allNotesOff (0, false);
    }

    return played;
}

std::unique_ptr<SamplerRig> probabilityRig (const TempFolder& folder, float probability, float velToProbability)
{
    const auto file = folder.file ("p.wav");
    EXPECT_TRUE (AudioFixtures::writeConstant (file, hostRate, 1, 1000, 0.5f));

    auto rig = std::make_unique<SamplerRig> (hostRate);
    rig->makeDeterministic();
    rig->set ("probabl", probability);
    rig->set ("vel2prob", velToProbability);
    rig->load ({ file.getFullPathName() });
    rig->processor.updateSoundParameters();
    return rig;
}
} // namespace

TEST (Probability, OneNeverDropsANote)
{
    TempFolder folder;
    auto rig = probabilityRig (folder, 1.0f, 0.7f);
    EXPECT_EQ (countPlayed (*rig, 300, [] (int i) { return (float) (i % 128) / 127.0f; }), 300);

    // Velocity 0 with the full velocity amount makes p exactly 1, which 1 still passes.
    rig = probabilityRig (folder, 1.0f, 1.0f);
    EXPECT_EQ (countPlayed (*rig, 50, [] (int) { return 0.0f; }), 50);
}

TEST (Probability, ZeroDropsNotes)
{
    TempFolder folder;
    auto rig = probabilityRig (folder, 0.0f, 0.0f);
    // Only a draw of exactly 0 would play.
    EXPECT_LE (countPlayed (*rig, 300, [] (int) { return 1.0f; }), 1);

    // Through MIDI as well: nothing sounds.
    const auto out = rig->render (2048, { SamplerRig::noteOn (0, 60), SamplerRig::noteOn (10, 61) });
    EXPECT_EQ (out.getMagnitude (0, 2048), 0.0f);
}

TEST (Probability, HalfPlaysAboutHalf)
{
    TempFolder folder;
    auto rig = probabilityRig (folder, 0.5f, 0.0f);
    const auto played = countPlayed (*rig, 600, [] (int) { return 1.0f; });
    // Binomial(600, 0.5): six standard deviations either side.
    EXPECT_GT (played, 300 - 74);
    EXPECT_LT (played, 300 + 74);
}

TEST (Probability, VelocityDecidesWhenItsAmountIsFull)
{
    TempFolder folder;

    // p = 1 - velocity: velocity 0 is dropped below probability 1, full velocity always plays.
    auto rig = probabilityRig (folder, 0.99f, 1.0f);
    EXPECT_EQ (countPlayed (*rig, 50, [] (int) { return 0.0f; }), 0);

    rig = probabilityRig (folder, 0.0f, 1.0f);
    EXPECT_EQ (countPlayed (*rig, 50, [] (int) { return 1.0f; }), 50);

    // With probability 0.5, velocities above one half play and those below don't.
    rig = probabilityRig (folder, 0.5f, 1.0f);
    EXPECT_EQ (countPlayed (*rig, 50, [] (int) { return 0.6f; }), 50);
    EXPECT_EQ (countPlayed (*rig, 50, [] (int) { return 0.4f; }), 0);
}

//==============================================================================
TEST (Polyphony, AllVoicesPlayTogether)
{
    TempFolder folder;
    const auto file = folder.file ("c.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, hostRate, 2, 96000, 0.01f));

    SamplerRig rig (hostRate);
    rig.makeDeterministic();
    rig.load ({ file.getFullPathName() });

    std::vector<SamplerRig::Note> notes;
    for (auto key = 0; key < 128; ++key)
        notes.push_back (SamplerRig::noteOn (key, key));

    const auto out = rig.render (1024, notes);
    EXPECT_EQ (rig.activeVoices().size(), 128u);
    EXPECT_TRUE (SignalAnalysis::allFinite (out));

    // Every voice adds the same level once it has started.
    const auto perVoice = 0.01 * std::sqrt (0.5) * SamplerRig::expectedLevel (0.5, 0.5);
    EXPECT_NEAR (out.getSample (0, 1000), 128.0 * perVoice, 1.0e-3);
}
