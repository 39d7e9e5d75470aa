#include "sampler/SampleLoader.h"

#include "sampler/RememberedFolders.h"
#include "sampler/SampleFileStream.h"
#include "sampler/SampleRelinker.h"
#include "sampler/SamplerSoundLog.h"

namespace
{
/** How often the loader looks for sounds that no voice plays any more. */
constexpr int releaseIntervalMs = 200;

/** How often it looks while a set waits in either mailbox. */
constexpr int mailboxIntervalMs = 5;

/** How many times a file whose reading failed part-way is read. */
constexpr int maxReadAttempts = 3;
} // namespace

SampleLoader::SampleLoader (SampleSynthesiser& synthToFill, juce::AudioFormatManager& formatsToUse,
                            std::atomic<bool>& loading)
    : juce::Thread ("Sample loader"), synth (synthToFill), formats (formatsToUse), loadingFlag (loading)
{
    // Below the host's threads, audio above all: loading may take its time.
    startThread (juce::Thread::Priority::low);
}

SampleLoader::~SampleLoader()
{
    // A load stops at the next file; waiting for it is bounded by one file's read.
    signalThreadShouldExit();
    notify();
    waitForThreadToExit (-1);
    delete incoming.exchange (nullptr);
    delete returned.exchange (nullptr);

    {
        const std::lock_guard<std::mutex> lock (requestLock);
        done = requested;
    }

    served.notify_all();
}

bool SampleLoader::request (const juce::String& fileList, const SoundSettings& settings, bool force)
{
    {
        const std::lock_guard<std::mutex> lock (requestLock);

        if (fileList.isEmpty() || (! force && fileList == lastList))
            return false;

        lastList = pendingList = fileList;
        pendingSettings = settings;
        newest.store (++requested);
        loadingFlag.store (true);
    }

    notify();
    return true;
}

void SampleLoader::waitUntilDone()
{
    // The set that the last swap replaced must be back with this thread too: until it
    // is, the returned mailbox is full and the next swap would leave the newest set
    // waiting, so that an offline block would play an older one.
    notify();
    std::unique_lock<std::mutex> lock (requestLock);
    served.wait (lock, [this] { return done == requested && returned.load() == nullptr; });
}

void SampleLoader::applyToLoadedSounds (const SoundSettings& settings)
{
    const std::lock_guard<std::mutex> lock (publishedLock);

    for (auto* sound : published)
        if (auto* sampler = dynamic_cast<juce::SamplerSoundLog*> (sound))
            settings.applyTo (*sampler);
}

//==============================================================================
void SampleLoader::takeFinishedSet() noexcept
{
    // Only with the returned mailbox empty is there room for the set this one replaces.
    if (returned.load() != nullptr)
        return;

    if (auto* finished = incoming.exchange (nullptr))
    {
        synth.swapSounds (*finished);
        returned.store (finished);
    }
}

void SampleLoader::run()
{
    while (! threadShouldExit())
    {
        collectReturnedSet();
        releaseUnusedSounds();

        if (! serveNewestRequest())
        {
            const auto waiting = incoming.load() != nullptr || returned.load() != nullptr || ! retired.isEmpty();
            wait (waiting ? mailboxIntervalMs : releaseIntervalMs);
        }
    }
}

bool SampleLoader::serveNewestRequest()
{
    juce::String fileList;
    SoundSettings settings;
    std::uint64_t generation = 0;

    {
        const std::lock_guard<std::mutex> lock (requestLock);

        if (done == requested)
            return false;

        fileList = pendingList;
        settings = pendingSettings;
        generation = requested;
    }

    Sounds sounds;

    if (build (fileList, settings, generation, sounds))
    {
        publish (sounds);

        const std::lock_guard<std::mutex> lock (requestLock);
        done = generation;
        loadingFlag.store (done != requested);
    }

    served.notify_all();
    return true;
}

bool SampleLoader::superseded (std::uint64_t generation) const
{
    return newest.load() != generation || threadShouldExit();
}

bool SampleLoader::build (const juce::String& fileList, const SoundSettings& settings, std::uint64_t generation,
                          Sounds& sounds)
{
    juce::StringArray paths;
    paths.addTokens (fileList, "\n", "\"");
    filesDone.store (0, std::memory_order_relaxed);

    // Files that moved are looked for in the folders the user chose before; what is
    // found takes its entry's place, in the project's list too.
    if (SampleRelinker::hasMissingEntries (paths))
    {
        if (const auto folders = RememberedFolders::load(); ! folders.isEmpty())
        {
            const auto result = SampleRelinker::relink (paths, folders);

            if (result.gaveUp && onSearchGaveUp != nullptr)
                onSearchGaveUp (SampleRelinker::maxEntriesSearched);

            if (result.found > 0)
            {
                paths = result.entries;
                const auto relinked = paths.joinIntoString ("\n");

                {
                    // Asking for the found list later is asking for what is loaded.
                    const std::lock_guard<std::mutex> lock (requestLock);
                    if (lastList == fileList)
                        lastList = relinked;
                }

                if (onListRelinked != nullptr)
                    onListRelinked (fileList, relinked);
            }
        }
    }

    for (auto i = 0; i < paths.size(); ++i)
    {
        if (superseded (generation))
            return false;

        // An entry too short to be a path keeps its place in the layout, silent.
        if (paths[i].length() > 1)
        {
            if (auto* sound = loadSound (paths[i], i, paths.size()))
            {
                // A note may start on the sound before the next push reaches it.
                settings.applyTo (*sound);
                sounds.add (sound);
            }
        }

        filesDone.store (i + 1, std::memory_order_relaxed);
    }

    return ! superseded (generation);
}

juce::SamplerSoundLog* SampleLoader::loadSound (const juce::String& path, int index, int count) const
{
    const auto file = juce::File::getCurrentWorkingDirectory().getChildFile (path);

    // A read that fails part-way (a descriptor closed from elsewhere in the process, a
    // network share that stalls) usually succeeds on a fresh descriptor: such a file is
    // read again, a few times at most, and the last reading is kept whatever it holds.
    for (auto attempt = 1;; ++attempt)
    {
        std::unique_ptr<juce::AudioFormatReader> reader;
        SampleFileStream* readFrom = nullptr;
        auto failed = false;

        for (auto i = 0; i < formats.getNumKnownFormats() && reader == nullptr; ++i)
        {
            auto* format = formats.getKnownFormat (i);

            if (! format->canHandleFile (file))
                continue;

            auto stream = SampleFileStream::open (file);

            if (stream == nullptr)
                return nullptr;

            // A reader that opens owns the stream; one that can't leaves it here.
            reader.reset (format->createReaderFor (stream.get(), false));

            if (reader != nullptr)
                readFrom = stream.release();
            else
                failed = failed || stream->failedBeforeItsEnd();
        }

        std::unique_ptr<juce::SamplerSoundLog> sound;

        if (reader != nullptr)
        {
            // The sound copies the audio, so the reader and its file are released right away.
            sound = std::make_unique<juce::SamplerSoundLog> (path, *reader, notesForSample (index, count), rootNoteForSample (index, count));
            failed = readFrom->failedBeforeItsEnd();
        }

        if (! failed || attempt == maxReadAttempts)
            return sound.release();
    }
}

void SampleLoader::publish (Sounds& sounds)
{
    loadedSounds.store (sounds.size(), std::memory_order_relaxed);

    {
        const std::lock_guard<std::mutex> lock (publishedLock);
        published = sounds;
    }

    // A set still in the mailbox was never played: it makes way, and goes here.
    delete incoming.exchange (new Sounds (std::move (sounds)));
}

void SampleLoader::collectReturnedSet()
{
    // The sounds that left may still sound in a voice: they stay here until they don't.
    if (std::unique_ptr<Sounds> set { returned.exchange (nullptr) })
    {
        retired.addArray (*set);

        // Under the lock, so that a waiter between its check and its sleep hears it.
        const std::lock_guard<std::mutex> lock (requestLock);
        served.notify_all();
    }
}

void SampleLoader::releaseUnusedSounds()
{
    // A retired sound can no longer start a note, so once this list holds its only
    // reference, no voice will take one again.
    for (auto i = retired.size(); --i >= 0;)
        if (retired.getObjectPointerUnchecked (i)->getReferenceCount() == 1)
            retired.remove (i);
}

//==============================================================================
juce::BigInteger SampleLoader::notesForSample (int index, int count)
{
    juce::BigInteger notes;

    if (count < 2)
    {
        notes.setRange (0, 128, true);
        return notes;
    }

    // Every count-th key from the file's index; the top count keys stay silent.
    for (auto note = index; note < 128 - count; note += count)
        if (note >= 0)
            notes.setBit (note);

    return notes;
}

int SampleLoader::rootNoteForSample (int index, int count)
{
    return count < 2 ? 60 : 60 - (index % count);
}
