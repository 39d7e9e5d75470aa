#include "SamplerRig.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

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

using Field = std::atomic<float> juce::SamplerSoundLog::*;
struct Expected { const char* name; Field field; double value; };

void expectFields (const juce::SamplerSoundLog& sound, std::initializer_list<Expected> expected)
{
    for (const auto& e : expected)
        EXPECT_NEAR ((sound.*(e.field)).load (relaxed), e.value, 1.0e-5 * std::max (1.0, std::abs (e.value))) << e.name;
}

TEST (ParameterPush, EverySoundReceivesTheCurrentValues)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.makeDeterministic();

    for (const auto& [id, value] : SamplerRig::Settings { { "volume", 0.7f }, { "pan", 0.2f }, { "attack", 0.35f },
                                                           { "decay", 0.6f }, { "sustain", 0.3f }, { "release", 0.9f },
                                                           { "rndpitch", 0.15f }, { "vel2vol", 0.25f }, { "vel2offs", 0.45f },
                                                           { "vel2prob", 0.55f }, { "probabl", 0.65f }, { "msec", 1.0f } })
        rig.set (id, value);

    rig.processor.updateSoundParameters();

    // Decay and release are squared, pan maps 0..1 onto -1..1.
    for (const auto* sound : rig.sounds())
    {
        expectFields (*sound, { { "gain", &juce::SamplerSoundLog::gain, SamplerRig::expectedLevel (0.7, 1.0) },
                                { "pan", &juce::SamplerSoundLog::pan, -0.6 }, { "attack", &juce::SamplerSoundLog::attack, 0.35 },
                                { "decay", &juce::SamplerSoundLog::decay, 0.36 }, { "sustain", &juce::SamplerSoundLog::sustain, 0.3 },
                                { "release", &juce::SamplerSoundLog::release, 0.81 },
                                { "randomPitch", &juce::SamplerSoundLog::randomPitch, 0.15 },
                                { "randomOther", &juce::SamplerSoundLog::randomOther, 0.0 },
                                { "velToVolume", &juce::SamplerSoundLog::velToVolume, 0.25 },
                                { "velToOffset", &juce::SamplerSoundLog::velToOffset, 0.45 },
                                { "velToProbability", &juce::SamplerSoundLog::velToProbability, 0.55 },
                                { "probability", &juce::SamplerSoundLog::probability, 0.65 },
                                { "envelopeSampleRate", &juce::SamplerSoundLog::envelopeSampleRate, 44100.0 } });
        EXPECT_TRUE (sound->offsetInSeconds.load (relaxed));
    }

    // The seconds switch reads as on from one half upwards.
    for (const auto msec : { 0.0f, 0.49f, 0.5f })
    {
        rig.set ("msec", msec);
        rig.processor.updateSoundParameters();
        EXPECT_EQ (rig.sounds()[0]->offsetInSeconds.load (relaxed), msec >= 0.5f) << msec;
    }
}

TEST (ParameterPush, EnvelopeTimesAreClamped)
{
    TwoSounds fixture;
    auto& rig = fixture.rig;
    rig.makeDeterministic();

    // Release 0.02 squared is 0.0004, below the 1 ms floor.
    for (const auto& [attack, decay, release, low, high] : { std::tuple { 0.0f, 0.0f, 0.02f, 0.001, 0.001 },
                                                            std::tuple { 1.0f, 1.0f, 1.0f, 1.0, 1.0 } })
    {
        rig.set ("attack", attack);
        rig.set ("decay", decay);
        rig.set ("release", release);
        rig.processor.updateSoundParameters();
        expectFields (*rig.sounds()[0], { { "attack", &juce::SamplerSoundLog::attack, low },
                                          { "decay", &juce::SamplerSoundLog::decay, low },
                                          { "release", &juce::SamplerSoundLog::release, high },
                                          { "sustain", &juce::SamplerSoundLog::sustain, 1.0 } });
    }
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

TEST (ParameterPush, ANewSoundStartsFromItsDefaultsAndALoadedOneFromTheSettings)
{
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (file, 44100.0, 1, 100, 0.5f));

    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
    ASSERT_NE (reader, nullptr);
    const juce::SamplerSoundLog sound ("a", *reader, {}, 60);

    expectFields (sound, { { "envelopeSampleRate", &juce::SamplerSoundLog::envelopeSampleRate, 0.0 },
                           { "gain", &juce::SamplerSoundLog::gain, 1.0 }, { "pan", &juce::SamplerSoundLog::pan, 0.0 },
                           { "probability", &juce::SamplerSoundLog::probability, 1.0 },
                           { "randomPitch", &juce::SamplerSoundLog::randomPitch, 0.0 },
                           { "attack", &juce::SamplerSoundLog::attack, 0.1 }, { "decay", &juce::SamplerSoundLog::decay, 0.1 },
                           { "sustain", &juce::SamplerSoundLog::sustain, 1.0 }, { "release", &juce::SamplerSoundLog::release, 0.1 } });
    EXPECT_EQ (sound.curve.load (relaxed), 0);
    EXPECT_FALSE (sound.offsetInSeconds.load (relaxed));

    // A sound the loader adds carries the processor's settings from the start: a note
    // may start on it before the next push.
    SamplerRig rig (44100.0);
    rig.load ({ file.getFullPathName() });
    expectFields (*rig.sounds().at (0), { { "envelopeSampleRate", &juce::SamplerSoundLog::envelopeSampleRate, 44100.0 },
                                          { "sustain", &juce::SamplerSoundLog::sustain, 0.0 } });
}
