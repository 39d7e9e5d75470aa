#pragma once

#include "support/AudioFixtures.h"
#include "support/Instrument.h"

#include <map>

/** Pieces shared by the stress and hostile-input tests. */
namespace ReliabilityRig
{
/** The largest magnitude the instrument can output for sources that peak at sourcePeak:
    128 voices at full volume and velocity, the largest random level, panned hard. */
float outputBound (float sourcePeak = 1.0f);

/** The first fault of a block (NaN, infinity, a sample beyond bound), or an empty string. */
juce::String checkBlock (const juce::AudioBuffer<float>& buffer, float bound = outputBound());

/** Small generated sample files in every readable format, mono and stereo, at several rates. */
class SamplePool
{
public:
    SamplePool();

    const std::vector<juce::File>& files() const noexcept { return pool; }

    /** The first count files of the pool, repeated as needed, one path a line. */
    juce::String list (int count) const;

    /** A random drop of one to six files, sometimes with a path that does not exist. */
    juce::String randomList (juce::Random& random) const;

private:
    AudioFixtures::TempFolder temp;
    std::vector<juce::File> pool;
};

/** Renders one stereo block with note-ons at full velocity for the given keys. */
juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, const std::vector<int>& keys = {});

/** The loaded sounds by name, with their root notes. */
std::map<juce::String, int> loadedSounds (VantrelSampivoAudioProcessor& processor);
} // namespace ReliabilityRig
