#pragma once

#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

#include <gtest/gtest.h>

/** The sampler suite's fixture: a folder for the sample files each test generates. */
class Sampler : public testing::Test
{
protected:
    /** A file holding one constant level per channel, so that gains read off exactly. */
    juce::String levels (const juce::String& name, std::vector<float> channels, int numSamples = 24000)
    {
        EXPECT_TRUE (AudioFixtures::writeAudioFile (folder.file (name), 48000.0, (int) channels.size(), numSamples,
                                                    [&] (int channel, int) { return channels[(size_t) channel]; }));
        return folder.file (name).getFullPathName();
    }

    juce::String sine (const juce::String& name, double frequency, int channels = 1)
    {
        EXPECT_TRUE (AudioFixtures::writeSine (folder.file (name), 44100.0, channels, 0.5, frequency));
        return folder.file (name).getFullPathName();
    }

    /** Frequency from the rising zero crossings of [start, end), each placed to a
        fraction of a sample, counting whole periods between the first and the last. */
    static double frequency (const float* samples, int start, int end, double sampleRate)
    {
        double first = -1.0, last = -1.0;
        auto crossings = 0;

        for (auto i = start + 1; i < end; ++i)
            if (samples[i - 1] < 0.0f && samples[i] >= 0.0f)
            {
                last = (double) (i - 1) + (double) (-samples[i - 1] / (samples[i] - samples[i - 1]));
                first = first < 0.0 ? last : first;
                ++crossings;
            }

        return crossings < 2 ? 0.0 : (crossings - 1) * sampleRate / (last - first);
    }

    // The level of a centred note at volume 0.5 and Vel > Volume 0, per unit of source:
    // 0.5^3 * 10^(18/20) * 10 * 0.5^3 * sqrt (0.5).
    static constexpr double centred = 0.87762;

    AudioFixtures::TempFolder folder;
};

/** A table-driven case of the sampler suite: the fixture plus one row. */
template <typename Row>
class SamplerTable : public Sampler, public testing::WithParamInterface<Row>
{
};
