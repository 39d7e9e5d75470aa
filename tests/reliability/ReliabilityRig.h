#pragma once

#include "support/AudioFixtures.h"

#include "processor/VantrelSampivoAudioProcessor.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

/** Pieces shared by the sharing, stress and hostile-input tests: a pool of sample files,
    random host behaviour, the checks applied to every rendered block, and the threads
    that run it all at once. */
namespace ReliabilityRig
{
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

    /** The first count files of the pool, repeated as needed, one path a line. */
    juce::String list (int count) const;

    /** A random drop of one to six files, sometimes with a path that does not exist. */
    juce::String randomFileList (juce::Random& random) const;

private:
    AudioFixtures::TempFolder temp;
    std::vector<juce::File> pool;
};

/** Sets the output layout, rate and block size, and prepares the processor to play. */
void prepare (juce::AudioProcessor& processor, double rate, int blockSize, int channels = 2);

/** Stores a file list as the editor's drop does; the next block loads it. */
void drop (VantrelSampivoAudioProcessor& processor, const juce::String& list);

/** Renders one stereo block of blockSize samples with the given events. */
juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, juce::MidiBuffer midi = {});

/** A block's events: a note-on at full velocity for each of the notes, at its start. */
juce::MidiBuffer noteOns (std::initializer_list<int> notes);

/** The loaded sounds by name, with their root notes (60 minus the index in the list). */
std::map<juce::String, int> loadedSounds (VantrelSampivoAudioProcessor& processor);

/** Note-ons and note-offs at random positions of a block, on random keys and velocities. */
juce::MidiBuffer randomNotes (juce::Random& random, int numSamples, int maxEvents);

/** Sets every given parameter to a random value, notifying the host, as automation
    does; the extremes, where clamps and curves break, come up often. */
void automateAtRandom (const juce::Array<juce::AudioProcessorParameter*>& parameters, juce::Random& random);

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

    /** Waits until body has run another n times. */
    void waitFor (long n) const;

private:
    std::atomic<bool> running { true };
    std::atomic<long> count { 0 };
    std::thread thread;
};

/** What a stress run did, summed over its rates. */
struct StressCounts
{
    long blocks = 0, sideActions = 0, messageActions = 0;
};

/** Stresses one block size at every rate from 22050 to 192000 Hz for seconds in all.
    Per rate, setUp (rate, channels) returns the prepared target; one thread renders
    random notes into it and checks every block, another runs sideAction over and over,
    and this (the message) thread runs messageAction and opens and closes the editor
    until the rate's share of the time is up. */
StressCounts stressAtEveryRate (int blockSize, double seconds,
                                const std::function<juce::AudioProcessor& (double rate, int channels)>& setUp,
                                const std::function<void (juce::Random&)>& sideAction,
                                const std::function<void (juce::Random&)>& messageAction, FailureLog& failures);

/** Opens the processor's editor on the desktop (when there is a display), lets the
    message loop run for a moment, and closes it again. Message thread only. */
void openAndCloseEditor (juce::AudioProcessor& processor, int millisecondsOpen);
} // namespace ReliabilityRig
