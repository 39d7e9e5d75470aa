#pragma once

#include "sampler/SampleSynthesiser.h"
#include "sampler/SoundSettings.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace juce
{
class SamplerSoundLog;
}

/** Turns file lists into sets of sounds on a thread of its own, so that the audio
    thread never reads a file, allocates or frees for a load, and never waits for the
    loader.

    A request carries the list (one path a line) and the settings the new sounds start
    with. A newer request supersedes one being served, which stops at the next file; the
    last request always wins. A finished set waits in a mailbox (an atomic pointer)
    until the thread that renders takes it, in one swap of the synthesiser's sound list
    under the synthesiser's lock, which that thread holds anyway. The set it replaces
    goes back through a second mailbox; its sounds are kept here until no voice plays
    them any more, and are destroyed on this thread.
*/
class SampleLoader : private juce::Thread
{
public:
    /** loading is raised while a request waits or is being served. */
    SampleLoader (SampleSynthesiser& synthToFill, juce::AudioFormatManager& formatsToUse,
                  std::atomic<bool>& loading);
    ~SampleLoader() override;

    /** Asks for the list to be loaded. An empty list, or the list of the last request
        unless force is set, changes nothing and returns false. Any thread but the audio
        thread. */
    bool request (const juce::String& fileList, const SoundSettings& settings, bool force);

    /** Returns once every request made so far has been served and the set the last
        swap replaced is back here, so that the next takeFinishedSet() takes the newest
        set (which may still wait in the mailbox for the rendering thread). */
    void waitUntilDone();

    /** Swaps the newest finished set, if there is one, into the synthesiser. For the
        thread that renders (or, while nothing renders, the host's preparing thread):
        it neither waits, allocates nor frees. */
    void takeFinishedSet() noexcept;

    /** Files read so far by the load being served. */
    int getFilesDone() const noexcept { return filesDone.load (std::memory_order_relaxed); }

    /** Sounds in the newest finished set. */
    int getNumLoadedSounds() const noexcept { return loadedSounds.load (std::memory_order_relaxed); }

    /** Stores the settings into every sound of the newest finished set, without taking
        the synthesiser's lock (for pushes from threads other than the audio thread). */
    void applyToLoadedSounds (const SoundSettings& settings);

    /** The keys that file index of count plays on: every count-th key from its index,
        the top count keys silent; one file plays on all 128. */
    static juce::BigInteger notesForSample (int index, int count);

    /** The key at which file index of count plays at its own pitch: 60 - index. */
    static int rootNoteForSample (int index, int count);

    /** Called on the loader thread when a list had missing files and the search through
        the remembered folders found some: the list asked for, and the list loaded. Set
        it before the first request. */
    std::function<void (const juce::String& asked, const juce::String& loaded)> onListRelinked;

    /** Called on the loader thread when such a search gave up before its end. */
    std::function<void (int entriesSearched)> onSearchGaveUp;

private:
    using Sounds = juce::ReferenceCountedArray<juce::SynthesiserSound>;

    void run() override;

    /** Serves the newest request, if there is one; false when there was none. */
    bool serveNewestRequest();

    /** The sounds for a list, or nothing when a newer request came in meanwhile. */
    bool build (const juce::String& fileList, const SoundSettings& settings, std::uint64_t generation, Sounds& sounds);

    /** One file as a sound, or nullptr when it can't be read. */
    juce::SamplerSoundLog* loadSound (const juce::String& path, int index, int count) const;

    void publish (Sounds& sounds);
    void collectReturnedSet();
    void releaseUnusedSounds();
    bool superseded (std::uint64_t generation) const;

    SampleSynthesiser& synth;
    juce::AudioFormatManager& formats;
    std::atomic<bool>& loadingFlag;

    // Requests, guarded by requestLock (never taken by the audio thread).
    std::mutex requestLock;
    std::condition_variable served;
    juce::String lastList, pendingList;
    SoundSettings pendingSettings;
    std::uint64_t requested = 0, done = 0;
    std::atomic<std::uint64_t> newest { 0 };

    std::atomic<int> filesDone { 0 }, loadedSounds { 0 };

    // The newest finished set, for pushes from the message thread.
    std::mutex publishedLock;
    Sounds published;

    // The mailboxes: a finished set on its way to the synthesiser, and the set it
    // replaced on its way back.
    std::atomic<Sounds*> incoming { nullptr }, returned { nullptr };

    // Sounds that left the synthesiser, kept until no voice holds them (loader thread).
    Sounds retired;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SampleLoader)
};
