#pragma once

#include "support/AudioFixtures.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/** Pieces shared by the stress and hostile-input tests: a pool of sample files, random
    host behaviour (automation, notes, file lists) and the checks applied to every
    rendered block. */
namespace ReliabilityRig
{
/** The block sizes and sample rates every stress run cycles through. */
const std::vector<int>& stressBlockSizes();
const std::vector<double>& stressSampleRates();

/** Peak amplitude of the sample files in the pool. */
constexpr float poolAmplitude = 0.5f;

/** The largest magnitude the instrument can output for sources that peak at
    sourcePeak, worked out from the gain law: every one of the 128 voices at full volume,
    full velocity with the largest random level, panned hard to one side. */
float outputBound (float sourcePeak);

/** A folder of small generated sample files in every readable format the instrument
    accepts, mono and stereo, at several rates. */
class SamplePool
{
public:
    SamplePool();

    const std::vector<juce::File>& files() const noexcept { return pool; }
    const AudioFixtures::TempFolder& folder() const noexcept { return temp; }

    /** A random drop of one to six files, sometimes with a path that does not exist. */
    juce::String randomFileList (juce::Random& random) const;

private:
    AudioFixtures::TempFolder temp;
    std::vector<juce::File> pool;
};

/** Note-ons and note-offs at random positions of a block, on random keys and velocities. */
juce::MidiBuffer randomNotes (juce::Random& random, int numSamples, int maxEvents);

/** Sets every parameter of the processor (all fourteen) to a random value, notifying
    the host, as automation does. */
void automateAtRandom (juce::AudioProcessor& processor, juce::Random& random);

/** The first fault found in a rendered block (NaN, infinity, or a sample beyond bound),
    or an empty string. */
juce::String checkBlock (const juce::AudioBuffer<float>& buffer, float bound);

/** Collects the first failure reported by any thread. */
class FailureLog
{
public:
    void report (const juce::String& failure);
    juce::String first() const;
    bool any() const;

private:
    mutable std::mutex lock;
    juce::String firstFailure;
    std::atomic<bool> failed { false };
};

/** Runs body over and over on a thread of its own until stopped or destroyed. */
class LoopThread
{
public:
    explicit LoopThread (std::function<void()> body);
    ~LoopThread();

    void stop();
    long iterations() const noexcept { return count.load(); }

private:
    std::atomic<bool> running { true };
    std::atomic<long> count { 0 };
    std::thread thread;
};

/** True when a display is available, so that editors can be put on the desktop. */
bool haveDisplay();

/** Opens the processor's editor on the desktop (when there is a display), lets the
    message loop run for a moment, and closes it again. Message thread only. */
void openAndCloseEditor (juce::AudioProcessor& processor, int millisecondsOpen);
} // namespace ReliabilityRig
