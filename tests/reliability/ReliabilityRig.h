#pragma once

#include "support/AudioFixtures.h"
#include "support/Instrument.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <atomic>
#include <functional>
#include <map>
#include <thread>

/** Pieces shared by the stress, sharing and hostile-input tests. */
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

/** Renders one stereo block with the given events. */
juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, juce::MidiBuffer midi = {});

/** Note-ons at full velocity at the start of a block, for the given keys. */
juce::MidiBuffer noteOns (std::initializer_list<int> keys);

/** The loaded sounds by name, with their root notes. */
std::map<juce::String, int> loadedSounds (VantrelSampivoAudioProcessor& processor);

/** Every given parameter to a random value, as automation does; the extremes come up often. */
void automateAtRandom (const juce::Array<juce::AudioProcessorParameter*>& parameters, juce::Random& random);

/** Runs body over and over on a thread of its own until stopped or destroyed. */
class LoopThread
{
public:
    explicit LoopThread (std::function<void()> body);
    ~LoopThread() { stop(); }

    void stop();
    long iterations() const noexcept { return count.load(); }

private:
    std::atomic<bool> running { true };
    std::atomic<long> count { 0 };
    std::thread thread;
};

/** The seed of a stress run: SAMPIVO_STRESS_SEED when it is set (to replay a run), else
    a new one each time, so that every run tries other interleavings. */
juce::int64 stressSeed();

/** A host action that ran: its name, and the fault it found (empty when none). */
struct Outcome
{
    const char* action;
    juce::String fault;
};

/** Stresses one block size at every rate from 22050 to 192000 Hz, for seconds in all,
    the random choices drawn from seed. Per rate, setUp (rate, channels) returns the
    prepared target; one thread renders random notes into it and checks every block,
    another runs sideAction over and over, and this (the message) thread runs
    messageAction and opens and closes the editor. Returns the first fault found, with
    the seed and the host action that ran last, or an empty string; prints what was done. */
juce::String stressAtEveryRate (int blockSize, double seconds, juce::int64 seed,
                                const std::function<juce::AudioProcessor& (double, int)>& setUp,
                                const std::function<Outcome (juce::Random&)>& sideAction,
                                const std::function<const char* (juce::Random&)>& messageAction);
} // namespace ReliabilityRig
