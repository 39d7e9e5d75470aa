// A note rendered by the instrument against the same note worked out from the rules in
// double precision, one sample at a time, by code that shares nothing with the engine.

#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr double hostRate = 48000.0, sourceRate = 44100.0;
constexpr int blockSize = 512;

struct NoteCase
{
    const char* name;
    int curve;                  // 0 "Log", 1 "1/x", 2 "Atan"
    int sourceChannels, outputChannels;
    int note, velocity;         // MIDI
    double sourceSeconds;       // the file's length (only ten seconds are kept)
    double heldSeconds, renderSeconds;
    float volume, pan, attack, decay, sustain, release, velToVolume, velToOffset;
    bool milliseconds;
};

// Every curve, pitch up and down, both pan extremes, mono and stereo sources and
// outputs, start offsets (from the length and from one second), notes up to ten seconds.
const NoteCase cases[] = {
    { "LogUpLeftStereo",        0, 2, 2, 72, 127, 12.0, 3.0, 6.0,   0.7f, 0.0f, 0.05f, 0.9f, 0.3f, 0.7f, 0.0f, 0.0f,  false },
    { "InverseDownRightOffset", 1, 1, 2, 48, 76,  4.0,  2.0, 4.0,   0.5f, 1.0f, 0.2f, 0.5f, 0.0f, 0.6f, 0.0f, 0.5f,  false },
    { "AtanMonoOutSeconds",     2, 2, 1, 60, 100, 6.0,  1.5, 3.0,   0.6f, 0.5f, 0.02f, 0.3f, 0.4f, 0.5f, 1.0f, 0.35f, true },
    { "LogTenSecondsDown",      0, 1, 1, 40, 127, 10.0, 8.0, 10.0,  0.5f, 0.3f, 0.001f, 1.0f, 0.5f, 0.3f, 0.0f, 0.0f, false },
    { "AtanFastDecayLong",      2, 1, 2, 67, 90,  10.0, 6.0, 10.0,  0.8f, 0.8f, 0.0f, 0.05f, 0.2f, 0.9f, 0.5f, 0.0f, false },
    { "InverseSlowAttack",      1, 2, 2, 55, 127, 3.0,  2.5, 3.0,   0.5f, 0.2f, 0.8f, 0.7f, 0.6f, 0.2f, 0.0f, 0.0f,  false },
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

/** The note as the rules have it, in double precision: pitch ratio, start offset, gain
    and pan laws, the envelope stepped once per sample, linear interpolation. */
std::vector<std::vector<double>> referenceRender (const NoteCase& c)
{
    const auto fileLength = (int) std::lround (c.sourceSeconds * sourceRate);
    const auto length = std::min ((int) (sourceRate * 10.0), fileLength);
    const auto bufferSamples = length + 4;

    // The sound's data: the kept samples plus four more, zeros where the file ends.
    std::vector<std::vector<double>> data ((size_t) c.sourceChannels, std::vector<double> ((size_t) bufferSamples));
    for (auto channel = 0; channel < c.sourceChannels; ++channel)
        for (auto i = 0; i < bufferSamples; ++i)
            data[(size_t) channel][(size_t) i] = i < fileLength ? sourceSample (channel, i) : 0.0;

    // Push: no randomness, so decay and release are the squares of their values.
    const auto attack = std::clamp ((double) c.attack, 0.001, 10.0);
    const auto decay = std::clamp ((double) c.decay * c.decay, 0.001, 10.0);
    const auto release = std::clamp ((double) c.release * c.release, 0.001, 10.0);
    const double sustain = c.sustain;
    const auto gain = (double) (float) ((double) c.volume * c.volume * c.volume * 7.943282127380371) * 10.0;
    const auto pan = 2.0 * c.pan - 1.0;

    // Note start.
    const auto velocity = c.velocity / 127.0;
    const auto ratio = std::pow (2.0, (c.note - 60) / 12.0) * sourceRate / hostRate;
    auto position = 0.0;

    if (c.velToOffset >= 0.0001f)
    {
        // The start position is worked out in single precision by the rules, and 1 - x
        // magnifies the rounding of x forty thousand times: a sample position, though,
        // is whole to the rules, so the reference follows them to the last bit here.
        const auto clipped = std::clamp ((float) c.velocity / 127.0f * 1.05f, 0.0f, 1.0f);
        const auto x = std::pow (clipped, c.velToOffset * c.velToOffset * 3.0f);
        const auto span = c.milliseconds ? (float) sourceRate : (float) bufferSamples;
        position = std::clamp ((double) ((1.0f - x) * span), 0.0, (double) (bufferSamples - 1));
    }

    const auto g = (1.0 - c.velToVolume) * 0.5 + c.velToVolume * velocity;
    const auto level = gain * g * g * g;
    const auto q = pan * 0.5;
    const auto leftGain = 0.5 - q > 0.0 ? std::sqrt (0.5 - q) * level : 0.0;
    const auto rightGain = 0.5 + q > 0.0 ? std::sqrt (0.5 + q) * level : 0.0;

    // Envelope rates, stored as floats by the rules.
    const auto cube = [] (double x) { return x * x * x; };
    const auto attackRate = (double) (float) (3.0 / (cube (attack) * hostRate));
    const auto decayRate = (double) (float) (c.curve == 0 ? 1.0 - 1.0 / (decay * hostRate)
                                             : c.curve == 1 ? 0.004 / (cube (decay + 0.1) * hostRate)
                                                            : 0.04 / (cube (decay + 0.1) * hostRate) * 0.3);
    const auto releaseRate = (double) (float) (c.curve == 0 ? 1.0 - 1.0 / (release * hostRate)
                                               : c.curve == 1 ? 0.004 / (cube (release + 0.1) * hostRate)
                                                              : 0.04 / (cube (release + 0.1) * hostRate) * 0.3);
    enum { attacking, decaying, sustaining, releasing, idle } stage = attacking;
    auto value = 0.0;

    const auto shaped = [&] (double v)
    {
        if (c.curve == 1)
            return 1.0 / (1.0 + (1.0 - v) * 99.0) - 0.01;

        if (c.curve == 2)
            return v >= 1.0 ? 1.0 : v <= 0.0 ? 0.0 : 1.0 - std::atan ((1.0 - v) * 15.707963268) * 0.66347;

        return v;
    };

    const auto numSamples = (int) (c.renderSeconds * hostRate);
    const auto releaseAt = (int) (c.heldSeconds * hostRate);
    std::vector<std::vector<double>> out ((size_t) c.outputChannels, std::vector<double> ((size_t) numSamples, 0.0));

    for (auto i = 0; i < numSamples; ++i)
    {
        if (i == releaseAt && stage != idle)
            stage = releasing;

        switch (stage)
        {
            case attacking:
                value += attackRate;
                if (value >= 1.0) { value = 1.0; stage = decaying; }
                break;
            case decaying:
                value = c.curve == 0 ? value * decayRate : value - decayRate;
                if (value <= sustain) { value = sustain; stage = sustaining; }
                break;
            case sustaining: value = sustain; break;
            case releasing:
                value = c.curve == 0 ? value * releaseRate : value - releaseRate;
                if (value <= 0.0) { value = 0.0; stage = idle; }
                break;
            case idle: break;
        }

        const auto e = stage == idle ? 0.0 : shaped (value);
        const auto index = (int) position;
        const auto next = std::min (index + 1, bufferSamples - 1);
        const auto alpha = position - index;
        const auto read = [&] (int channel)
        {
            const auto& d = data[(size_t) std::min (channel, c.sourceChannels - 1)];
            return d[(size_t) index] * (1.0 - alpha) + d[(size_t) next] * alpha;
        };

        const auto l = e * leftGain * read (0), r = e * rightGain * read (1);

        if (c.outputChannels == 2)
        {
            out[0][(size_t) i] = l;
            out[1][(size_t) i] = r;
        }
        else
        {
            out[0][(size_t) i] = (l + r) * 0.5;
        }

        // The note ends once its position has passed the last sample.
        position += ratio;

        if (position > length)
            break;
    }

    return out;
}

juce::AudioBuffer<float> engineRender (const NoteCase& c, const juce::File& file)
{
    Instrument instrument (hostRate, blockSize, c.outputChannels);
    instrument.steady();

    const std::pair<const char*, float> settings[] = {
        { "volume", c.volume }, { "pan", c.pan }, { "attack", c.attack }, { "decay", c.decay },
        { "sustain", c.sustain }, { "release", c.release }, { "curve", (float) c.curve / 9.0f },
        { "vel2vol", c.velToVolume }, { "vel2offs", c.velToOffset }, { "msec", c.milliseconds ? 1.0f : 0.0f },
    };

    for (const auto& [id, value] : settings)
        instrument.set (id, value);

    EXPECT_EQ (instrument.load ({ file.getFullPathName() }), 1);
    return instrument.play ((int) (c.renderSeconds * hostRate),
                            { Instrument::on (0, c.note, c.velocity),
                              { (int) (c.heldSeconds * hostRate), juce::MidiMessage::noteOff (1, c.note) } });
}

class ReferenceRender : public testing::TestWithParam<NoteCase> {};
} // namespace

TEST_P (ReferenceRender, EverySampleIsWithinMinus80DecibelsOfTheRules)
{
    const auto& c = GetParam();
    AudioFixtures::TempFolder folder;
    const auto file = folder.file ("source.wav");
    ASSERT_TRUE (AudioFixtures::writeAudioFile (file, sourceRate, c.sourceChannels,
                                                (int) std::lround (c.sourceSeconds * sourceRate), sourceSample, 32));

    const auto expected = referenceRender (c);
    const auto rendered = engineRender (c, file);
    auto worst = 0.0, peak = 0.0;

    for (auto channel = 0; channel < c.outputChannels; ++channel)
    {
        for (auto i = 0; i < rendered.getNumSamples(); ++i)
        {
            const auto want = expected[(size_t) channel][(size_t) i];
            worst = std::max (worst, std::abs (rendered.getSample (channel, i) - want));
            peak = std::max (peak, std::abs (want));
        }
    }

    std::cout << c.name << ": largest difference " << worst << " (peak " << peak << ")" << std::endl;
    EXPECT_GT (peak, 0.05);
    EXPECT_LT (worst, 1.0e-4);
}

INSTANTIATE_TEST_SUITE_P (, ReferenceRender, testing::ValuesIn (cases), RowName());
