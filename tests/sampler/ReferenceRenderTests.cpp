// A note rendered by the instrument against the same note worked out from the rules in
// double precision, one sample at a time, by code that shares nothing with the engine.

#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace
{
constexpr double sourceRate = 44100.0;
constexpr int blockSize = 512;

struct NoteCase
{
    const char* name;
    double hostRate;
    int files;                  // the same file listed this many times: each its own root
    int curve;                  // 0 "Log", 1 "1/x", 2 "Atan"
    int sourceChannels, outputChannels;
    int note, velocity;         // MIDI
    double sourceSeconds;       // the file's length (only ten seconds are kept)
    double heldSeconds, renderSeconds;
    float volume, pan, attack, decay, sustain, release, velToVolume, velToOffset;
    float milliseconds;         // the switch: on from one half up
};

// Every curve, pitch up and down, both pan extremes, mono and stereo sources and
// outputs, start offsets (from the length and from one second), notes up to ten seconds,
// host rates below, at and above the file's, and keys of the second and third file.
const NoteCase cases[] = {
    { "LogUpLeftStereo",        48000.0, 1, 0, 2, 2, 72, 127, 12.0, 3.0, 6.0,   0.7f, 0.0f, 0.05f, 0.9f, 0.3f, 0.7f, 0.0f, 0.3f,  0.0f },
    { "InverseDownRightOffset", 48000.0, 1, 1, 1, 2, 48, 76,  4.0,  2.0, 4.0,   0.5f, 1.0f, 0.2f, 0.5f, 0.0f, 0.6f, 0.0f, 0.5f,  0.0f },
    { "AtanMonoOutSeconds",     48000.0, 1, 2, 2, 1, 60, 100, 6.0,  1.5, 3.0,   0.6f, 0.5f, 0.02f, 0.3f, 0.4f, 0.5f, 1.0f, 0.35f, 0.5f },
    { "LogTenSecondsDown",      44100.0, 1, 0, 1, 1, 40, 127, 10.0, 8.0, 10.0,  0.5f, 0.3f, 0.001f, 1.0f, 0.5f, 0.3f, 0.0f, 0.0f, 0.0f },
    { "AtanSecondFileAt96k",    96000.0, 2, 2, 1, 2, 67, 90,  10.0, 6.0, 10.0,  0.8f, 0.8f, 0.0f, 0.05f, 0.2f, 0.9f, 0.5f, 0.0f, 0.0f },
    { "InverseThirdFileAttack", 48000.0, 3, 1, 2, 2, 56, 127, 3.0,  2.5, 3.0,   0.5f, 0.2f, 0.8f, 0.7f, 0.6f, 0.2f, 0.0f, 0.0f,  0.0f },
};

/** The file's samples: a few partials that differ per channel, so that pitch, pan and
    interpolation errors all show. Stored as 32-bit floats, so read back exactly. */
float sourceSample (int channel, int index)
{
    const auto t = index / sourceRate;
    return (float) (0.4 * std::sin (2.0 * juce::MathConstants<double>::pi * (220.0 + 110.0 * channel) * t)
                    + 0.2 * std::sin (2.0 * juce::MathConstants<double>::pi * 1375.0 * t + channel)
                    + 0.1 * std::sin (2.0 * juce::MathConstants<double>::pi * 5021.0 * t));
}

juce::AudioBuffer<float> engineRender (const NoteCase& c, const juce::File& file)
{
    Instrument instrument (c.hostRate, blockSize, c.outputChannels);
    instrument.steady();

    for (const auto& [id, value] : { std::pair { "volume", c.volume }, { "pan", c.pan }, { "attack", c.attack },
                                     { "decay", c.decay }, { "sustain", c.sustain }, { "release", c.release },
                                     { "curve", (float) c.curve / 9.0f }, { "vel2vol", c.velToVolume },
                                     { "vel2offs", c.velToOffset }, { "msec", c.milliseconds } })
        instrument.set (id, value);

    juce::StringArray list;
    list.strings.insertMultiple (0, file.getFullPathName(), c.files);

    EXPECT_EQ (instrument.load (list), c.files);
    return instrument.play ((int) (c.renderSeconds * c.hostRate),
                            { Instrument::on (0, c.note, c.velocity),
                              { (int) (c.heldSeconds * c.hostRate), juce::MidiMessage::noteOff (1, c.note) } });
}

class ReferenceRender : public testing::TestWithParam<NoteCase> {};
} // namespace

// Each sample of the render against the note as the rules have it, in double precision:
// pitch ratio, start offset, gain and pan laws, the envelope stepped once per sample,
// linear interpolation.
TEST_P (ReferenceRender, EverySampleIsWithinMinus80DecibelsOfTheRules)
{
    const auto& c = GetParam();
    AudioFixtures::TempFolder folder;
    const auto fileLength = (int) std::lround (c.sourceSeconds * sourceRate);
    ASSERT_TRUE (AudioFixtures::writeAudioFile (folder.file ("source.wav"), sourceRate, c.sourceChannels, fileLength, sourceSample, 32));
    const auto rendered = engineRender (c, folder.file ("source.wav"));

    // The sound keeps ten seconds and four samples more (zeros past the file's end).
    const auto length = std::min ((int) (sourceRate * 10.0), fileLength), lastIndex = length + 3;
    const auto source = [&] (int channel, int i)
    {
        return i < fileLength ? (double) sourceSample (std::min (channel, c.sourceChannels - 1), i) : 0.0;
    };

    // The push, without randomness: decay and release are the squares of their values.
    const auto cube = [] (double x) { return x * x * x; };
    const auto attack = std::clamp ((double) c.attack, 0.001, 10.0);
    const auto decay = std::clamp ((double) c.decay * c.decay, 0.001, 10.0);
    const auto release = std::clamp ((double) c.release * c.release, 0.001, 10.0);
    const auto gain = (double) (float) ((double) c.volume * c.volume * c.volume * 7.943282127380371) * 10.0;

    // The note's start. Its position is worked out in single precision by the rules, and
    // 1 - x magnifies the rounding of x forty thousand times, so the reference follows
    // them to the last bit there.
    const auto velocity = c.velocity / 127.0;
    // File i of n has root 60 - i and the keys i, i + n, i + 2n, ...
    const auto ratio = std::pow (2.0, (c.note - 60 + c.note % c.files) / 12.0) * sourceRate / c.hostRate;
    const auto x = std::pow (std::clamp ((float) c.velocity / 127.0f * 1.05f, 0.0f, 1.0f), c.velToOffset * c.velToOffset * 3.0f);
    const auto span = c.milliseconds >= 0.5f ? (float) sourceRate : (float) (length + 4);
    auto position = c.velToOffset < 0.0001f ? 0.0 : std::clamp ((double) ((1.0f - x) * span), 0.0, (double) lastIndex);
    const auto level = [&] { const auto g = (1.0 - c.velToVolume) * 0.5 + c.velToVolume * velocity; return gain * g * g * g; }();
    const auto q = (2.0 * c.pan - 1.0) * 0.5;
    const double sideGains[] { std::sqrt (std::max (0.0, 0.5 - q)) * level, std::sqrt (std::max (0.0, 0.5 + q)) * level };

    // Envelope rates, stored as floats by the rules.
    const auto rateFor = [&] (double time)
    {
        return (double) (float) (c.curve == 0 ? 1.0 - 1.0 / (time * c.hostRate)
                                              : (c.curve == 1 ? 0.004 : 0.012) / (cube (time + 0.1) * c.hostRate));
    };
    const auto attackRate = (double) (float) (3.0 / (cube (attack) * c.hostRate)), decayRate = rateFor (decay), releaseRate = rateFor (release);
    enum { attacking, decaying, sustaining, releasing, idle } stage = attacking;
    auto value = 0.0, worst = 0.0, peak = 0.0;
    auto sounding = true;

    for (auto i = 0; i < rendered.getNumSamples(); ++i)
    {
        double out[2] {};

        if (sounding)
        {
            if (i == (int) (c.heldSeconds * c.hostRate) && stage != idle)
                stage = releasing;

            if (stage == attacking && (value += attackRate) >= 1.0)
                std::tie (value, stage) = std::tuple (1.0, decaying);
            else if (stage == decaying && (value = c.curve == 0 ? value * decayRate : value - decayRate) <= c.sustain)
                std::tie (value, stage) = std::tuple ((double) c.sustain, sustaining);
            else if (stage == sustaining)
                value = c.sustain;
            else if (stage == releasing && (value = c.curve == 0 ? value * releaseRate : value - releaseRate) <= 0.0)
                std::tie (value, stage) = std::tuple (0.0, idle);

            const auto e = stage == idle ? 0.0
                         : c.curve == 1 ? 1.0 / (1.0 + (1.0 - value) * 99.0) - 0.01
                         : c.curve == 2 ? (value >= 1.0 ? 1.0 : value <= 0.0 ? 0.0 : 1.0 - std::atan ((1.0 - value) * 15.707963268) * 0.66347)
                                        : value;
            const auto index = (int) position;
            const auto alpha = position - index;

            for (auto side = 0; side < 2; ++side)
                out[side] = e * sideGains[side] * (source (side, index) * (1.0 - alpha) + source (side, std::min (index + 1, lastIndex)) * alpha);

            // The note ends once its position has passed the last sample.
            position += ratio;
            sounding = position <= length;
        }

        for (auto channel = 0; channel < c.outputChannels; ++channel)
        {
            const auto want = c.outputChannels == 2 ? out[channel] : (out[0] + out[1]) * 0.5;
            worst = std::max (worst, std::abs (rendered.getSample (channel, i) - want));
            peak = std::max (peak, std::abs (want));
        }
    }

    std::cout << c.name << ": largest difference " << worst << " (peak " << peak << ")" << std::endl;
    EXPECT_GT (peak, 0.05);
    EXPECT_LT (worst, 1.0e-4);
}

INSTANTIATE_TEST_SUITE_P (, ReferenceRender, testing::ValuesIn (cases), RowName());
