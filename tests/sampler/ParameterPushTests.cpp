#include "SamplerRig.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace
{
constexpr auto relaxed = std::memory_order_relaxed;

struct TwoSounds
{
    AudioFixtures::TempFolder folder;
    SamplerRig rig { 44100.0 };

    TwoSounds()
    {
        juce::StringArray paths;

        for (const auto* name : { "a.wav", "b.wav" })
        {
            const auto file = folder.file (name);
            EXPECT_TRUE (AudioFixtures::writeConstant (file, 44100.0, 1, 100, 0.5f));
            paths.add (file.getFullPathName());
        }

        rig.load (paths);
        EXPECT_EQ (rig.sounds().size(), 2u);
    }
};
} // namespace

TEST (ParameterPush, EverySoundReceivesTheCurrentValues)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.makeDeterministic();
    rig.set ("volume", 0.7f);
    rig.set ("pan", 0.2f);
    rig.set ("attack", 0.35f);
    rig.set ("decay", 0.6f);
    rig.set ("sustain", 0.3f);
    rig.set ("release", 0.9f);
    rig.set ("rndpitch", 0.15f);
    rig.set ("vel2vol", 0.25f);
    rig.set ("vel2offs", 0.45f);
    rig.set ("vel2prob", 0.55f);
    rig.set ("probabl", 0.65f);
    rig.set ("msec", 1.0f);
    rig.processor.updateSoundParameters();

    for (const auto* sound : rig.sounds())
    {
        EXPECT_NEAR (sound->gain.load (relaxed), SamplerRig::expectedLevel (0.7, 1.0), 1.0e-5);
        EXPECT_NEAR (sound->pan.load (relaxed), -0.6f, 1.0e-6);
        EXPECT_FLOAT_EQ (sound->attack.load (relaxed), 0.35f);
        EXPECT_NEAR (sound->decay.load (relaxed), 0.36f, 1.0e-6);
        EXPECT_FLOAT_EQ (sound->sustain.load (relaxed), 0.3f);
        EXPECT_NEAR (sound->release.load (relaxed), 0.81f, 1.0e-6);
        EXPECT_FLOAT_EQ (sound->randomPitch.load (relaxed), 0.15f);
        EXPECT_FLOAT_EQ (sound->randomOther.load (relaxed), 0.0f);
        EXPECT_FLOAT_EQ (sound->velToVolume.load (relaxed), 0.25f);
        EXPECT_FLOAT_EQ (sound->velToOffset.load (relaxed), 0.45f);
        EXPECT_FLOAT_EQ (sound->velToProbability.load (relaxed), 0.55f);
        EXPECT_FLOAT_EQ (sound->probability.load (relaxed), 0.65f);
        EXPECT_TRUE (sound->offsetInSeconds.load (relaxed));
        EXPECT_EQ (sound->envelopeSampleRate.load (relaxed), 44100.0f);
    }

    rig.set ("msec", 0.0f);
    rig.processor.updateSoundParameters();
    EXPECT_FALSE (rig.sounds()[0]->offsetInSeconds.load (relaxed));

    // The switch reads as on from one half upwards.
    rig.set ("msec", 0.5f);
    rig.processor.updateSoundParameters();
    EXPECT_TRUE (rig.sounds()[0]->offsetInSeconds.load (relaxed));
}

TEST (ParameterPush, EnvelopeTimesAreClamped)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.makeDeterministic();
    rig.set ("attack", 0.0f);
    rig.set ("decay", 0.0f);
    rig.set ("sustain", 1.0f);
    rig.set ("release", 0.02f); // squared: 0.0004, below the floor
    rig.processor.updateSoundParameters();

    const auto* sound = rig.sounds()[0];
    EXPECT_FLOAT_EQ (sound->attack.load (relaxed), 0.001f);
    EXPECT_FLOAT_EQ (sound->decay.load (relaxed), 0.001f);
    EXPECT_FLOAT_EQ (sound->sustain.load (relaxed), 1.0f);
    EXPECT_FLOAT_EQ (sound->release.load (relaxed), 0.001f);

    rig.set ("attack", 1.0f);
    rig.set ("decay", 1.0f);
    rig.set ("release", 1.0f);
    rig.processor.updateSoundParameters();
    EXPECT_FLOAT_EQ (sound->attack.load (relaxed), 1.0f);
    EXPECT_FLOAT_EQ (sound->decay.load (relaxed), 1.0f);
    EXPECT_FLOAT_EQ (sound->release.load (relaxed), 1.0f);
}

TEST (ParameterPush, OneRandomFactorPerPushForDecayAndRelease)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.makeDeterministic();
    rig.set ("rnddecay", 1.0f);
    rig.set ("decay", 0.5f);
    rig.set ("release", 0.6f);

    std::set<float> factors;

    for (auto push = 0; push < 20; ++push)
    {
        rig.processor.updateSoundParameters();
        const auto sounds = rig.sounds();

        // factor = 2 r + 1 with r in [0, 1): decay = 0.25 factor, release = 0.36 factor.
        const auto decayFactor = sounds[0]->decay.load (relaxed) / 0.25f;
        const auto releaseFactor = sounds[0]->release.load (relaxed) / 0.36f;
        EXPECT_GE (decayFactor, 1.0f - 1.0e-6f);
        EXPECT_LT (decayFactor, 3.0f + 1.0e-6f);
        EXPECT_NEAR (decayFactor, releaseFactor, 1.0e-5f);
        EXPECT_EQ (sounds[1]->decay.load (relaxed), sounds[0]->decay.load (relaxed));
        EXPECT_EQ (sounds[1]->release.load (relaxed), sounds[0]->release.load (relaxed));
        factors.insert (decayFactor);
    }

    EXPECT_GT (factors.size(), 1u);
}

TEST (ParameterPush, CurveIndexComesFromTenChoices)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;

    struct Case { float value; int index; };

    for (const auto c : { Case { 0.0f, 0 }, Case { 1.0f / 9.0f, 1 }, Case { 2.0f / 9.0f, 2 },
                          Case { 2.4f / 9.0f, 2 }, Case { 2.6f / 9.0f, 3 }, Case { 0.5f, 5 },
                          Case { 0.75f, 7 }, Case { 1.0f, 9 } })
    {
        rig.set ("curve", c.value);
        rig.processor.updateSoundParameters();
        EXPECT_EQ (rig.sounds()[0]->curve.load (relaxed), c.index) << c.value;
    }
}

TEST (ParameterPush, EnvelopeRateFollowsTheHostAndKeepsTheLastValidRate)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.processor.updateSoundParameters();
    EXPECT_EQ (rig.sounds()[0]->envelopeSampleRate.load (relaxed), 44100.0f);

    rig.processor.setRateAndBufferSizeDetails (96000.0, 512);
    rig.processor.updateSoundParameters();
    EXPECT_EQ (rig.sounds()[1]->envelopeSampleRate.load (relaxed), 96000.0f);

    // A rate outside 1 kHz .. 10 GHz is not believed: the last good one stays.
    rig.processor.setRateAndBufferSizeDetails (500.0, 512);
    rig.processor.updateSoundParameters();
    EXPECT_EQ (rig.sounds()[1]->envelopeSampleRate.load (relaxed), 96000.0f);
    EXPECT_EQ (rig.processor.defaultRate.load(), 96000.0);
}

TEST (ParameterPush, FreshSoundsStartFromTheirDefaults)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, 44100.0, 1, 100, 0.5f));

    SamplerRig rig (44100.0);
    rig.load ({ file.getFullPathName() });
    const auto* sound = rig.sounds().at (0);

    EXPECT_EQ (sound->envelopeSampleRate.load (relaxed), 0.0f);
    EXPECT_EQ (sound->gain.load (relaxed), 1.0f);
    EXPECT_EQ (sound->pan.load (relaxed), 0.0f);
    EXPECT_EQ (sound->probability.load (relaxed), 1.0f);
    EXPECT_EQ (sound->randomPitch.load (relaxed), 0.0f);
    EXPECT_EQ (sound->curve.load (relaxed), 0);
    EXPECT_FALSE (sound->offsetInSeconds.load (relaxed));
    EXPECT_FLOAT_EQ (sound->attack.load (relaxed), 0.1f);
    EXPECT_FLOAT_EQ (sound->decay.load (relaxed), 0.1f);
    EXPECT_FLOAT_EQ (sound->sustain.load (relaxed), 1.0f);
    EXPECT_FLOAT_EQ (sound->release.load (relaxed), 0.1f);
}
