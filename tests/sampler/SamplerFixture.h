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
