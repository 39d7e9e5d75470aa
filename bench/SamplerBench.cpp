// Rendering cost of the sampler voice against JUCE's own SamplerVoice playing the same
// file in the same run, and the time a sample-set reload keeps the audio thread
// inside processBlock.

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SampleSynthesiser.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SamplerVoiceLog.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <sys/resource.h>
#include <cmath>
#include <memory>
#include <vector>

namespace
{
constexpr double hostRate = 48000.0;
constexpr int blockSize = 512;
constexpr int fileSeconds = 10;

using Clock = std::chrono::steady_clock;

double secondsBetween (Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double> (to - from).count();
}

/** Ten-second stereo files in a temporary folder, written on first use and removed at exit. */
class BenchFiles
{
public:
    static BenchFiles& get()
    {
        static BenchFiles files;
        return files;
    }

    /** The first count files, written if they don't exist yet. */
    juce::StringArray paths (int count)
    {
        while ((int) written.size() < count)
            written.push_back (write ((int) written.size()));

        juce::StringArray result;
        for (auto i = 0; i < count; ++i)
            result.add (written[(size_t) i].getFullPathName());

        return result;
    }

    ~BenchFiles() { folder.deleteRecursively(); }

private:
    BenchFiles()
        : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                      .getNonexistentChildFile ("sampivo-bench", {}, false))
    {
        folder.createDirectory();
        formats.registerBasicFormats();
    }

    juce::File write (int index)
    {
        const auto file = folder.getChildFile ("tone" + juce::String (index) + ".wav");
        const auto numSamples = (int) hostRate * fileSeconds;
        juce::AudioBuffer<float> audio (2, numSamples);
        const auto frequency = 110.0 * (1.0 + 0.1 * index);

        for (auto i = 0; i < numSamples; ++i)
        {
            const auto phase = 2.0 * juce::MathConstants<double>::pi * frequency * i / hostRate;
            audio.setSample (0, i, 0.5f * (float) std::sin (phase));
            audio.setSample (1, i, 0.5f * (float) std::cos (phase));
        }

        std::unique_ptr<juce::OutputStream> stream (file.createOutputStream().release());
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (wav.createWriterFor (stream.get(), hostRate, 2, 16, {}, 0));

        if (writer != nullptr)
        {
            stream.release(); // owned by the writer
            writer->writeFromAudioSampleBuffer (audio, 0, numSamples);
        }

        return file;
    }

public:
    juce::AudioFormatManager formats;

private:
    juce::File folder;
    std::vector<juce::File> written;
};

/** One synthesiser per engine, both loaded from the same file. */
struct Engines
{
    explicit Engines (int curve)
    {
        auto& files = BenchFiles::get();
        const auto path = files.paths (1)[0];
        std::unique_ptr<juce::AudioFormatReader> reader (files.formats.createReaderFor (juce::File (path)));

        if (reader == nullptr)
            return;

        juce::BigInteger allNotes;
        allNotes.setRange (0, 128, true);

        auto* sound = new juce::SamplerSoundLog ("bench", *reader, allNotes, 60);
        // What a parameter push would give: a long decay to sustain 0 keeps the envelope
        // stepping through its curve for the whole run.
        const auto relaxed = std::memory_order_relaxed;
        sound->envelopeSampleRate.store ((float) hostRate, relaxed);
        sound->curve.store (curve, relaxed);
        sound->attack.store (0.001f, relaxed);
        sound->decay.store (10.0f, relaxed);
        sound->sustain.store (0.0f, relaxed);
        sound->release.store (0.1f, relaxed);
        sound->gain.store (1.24f, relaxed);
        sound->velToOffset.store (0.0f, relaxed);
        sound->randomOther.store (0.0f, relaxed);
        ours.addSound (sound);

        reference.addSound (new juce::SamplerSound ("bench", *reader, allNotes, 60, 0.001, 0.1, fileSeconds));

        for (auto i = 0; i < 128; ++i)
        {
            ours.addVoice (new juce::SamplerVoiceLog (random));
            reference.addVoice (new juce::SamplerVoice());
        }

        ours.setCurrentPlaybackSampleRate (hostRate);
        reference.setCurrentPlaybackSampleRate (hostRate);
        ready = true;
    }

    /** Starts numVoices notes on each engine: eight keys around the root on each of
        sixteen channels, so no note replaces another. */
    bool startNotes (int numVoices)
    {
        for (auto* synth : std::initializer_list<juce::Synthesiser*> { &ours, &reference })
        {
            synth->allNotesOff (0, false);

            for (auto v = 0; v < numVoices; ++v)
                synth->noteOn (1 + v / 8, 56 + v % 8, 0.8f);
        }

        return countActive (ours) == numVoices && countActive (reference) == numVoices;
    }

    static int countActive (juce::Synthesiser& synth)
    {
        auto active = 0;
        for (auto i = 0; i < synth.getNumVoices(); ++i)
            active += synth.getVoice (i)->isVoiceActive() ? 1 : 0;
        return active;
    }

    // Ours is the synthesiser the instrument plays with (it skips idle voices);
    // the reference is JUCE's own. Its voices draw from the source declared before it.
    SeededRandom random;
    SampleSynthesiser ours;
    juce::Synthesiser reference;
    bool ready = false;
};

// Notes a fifth above the root end after 8.4 s of output; restart well before.
constexpr int blocksPerNoteRun = 700;

void voiceRendering (benchmark::State& state)
{
    const auto numVoices = (int) state.range (0);
    const auto curve = (int) state.range (1);
    const juce::ScopedNoDenormals noDenormals;

    Engines engines (curve);

    if (! engines.ready)
    {
        state.SkipWithError ("could not write or read the benchmark file");
        return;
    }

    juce::AudioBuffer<float> output (2, blockSize);
    const juce::MidiBuffer noMidi;
    double oursSeconds = 0.0, referenceSeconds = 0.0;
    std::int64_t blocks = 0;

    for (auto _ : state)
    {
        if (blocks % blocksPerNoteRun == 0 && ! engines.startNotes (numVoices))
        {
            state.SkipWithError ("not every voice started");
            return;
        }

        // The two engines take turns on every block, so both see the same machine load.
        output.clear();
        const auto t0 = Clock::now();
        engines.ours.renderNextBlock (output, noMidi, 0, blockSize);
        const auto t1 = Clock::now();
        benchmark::DoNotOptimize (output.getReadPointer (0));

        output.clear();
        const auto t2 = Clock::now();
        engines.reference.renderNextBlock (output, noMidi, 0, blockSize);
        const auto t3 = Clock::now();
        benchmark::DoNotOptimize (output.getReadPointer (0));

        const auto ours = secondsBetween (t0, t1);
        state.SetIterationTime (ours);
        oursSeconds += ours;
        referenceSeconds += secondsBetween (t2, t3);
        ++blocks;
    }

    const auto voiceSamples = (double) blocks * blockSize * numVoices;
    state.counters["ns_per_voice_sample"] = oursSeconds * 1.0e9 / voiceSamples;
    state.counters["juce_ns_per_voice_sample"] = referenceSeconds * 1.0e9 / voiceSamples;
    state.counters["ratio_to_juce"] = oursSeconds / referenceSeconds;
    state.SetLabel (curve == 0 ? "Log" : curve == 1 ? "1/x" : "Atan");
}

BENCHMARK (voiceRendering)
    ->ArgNames ({ "voices", "curve" })
    ->ArgsProduct ({ { 1, 16, 128 }, { 0, 1, 2 } })
    ->UseManualTime()
    ->Unit (benchmark::kMicrosecond);

//==============================================================================
/** Context switches of the calling thread so far: voluntary ones (it slept: waited on
    a lock, a file, a condition) and involuntary ones (the scheduler preempted it). */
struct Switches
{
    long voluntary = 0, involuntary = 0;

    static Switches now()
    {
        rusage usage {};
        getrusage (RUSAGE_THREAD, &usage);
        return { usage.ru_nvcsw, usage.ru_nivcsw };
    }
};

/** The longest of a run of blocks, leaving out the ones the scheduler preempted (on a
    shared machine they measure other programs), and how many blocks slept. */
struct BlockTimes
{
    double longest = 0.0, total = 0.0;
    std::int64_t count = 0, slept = 0, preempted = 0;

    void add (double seconds, const Switches& before, const Switches& after)
    {
        total += seconds;
        ++count;
        slept += after.voluntary > before.voluntary ? 1 : 0;

        if (after.involuntary > before.involuntary)
            ++preempted;
        else
            longest = std::max (longest, seconds);
    }
};

/** What a drop costs the audio thread: blocks rendered back to back, sixteen notes
    sounding, while the loader reads numFiles ten-second files, against as many blocks
    with no load. A block that read a file or waited for the loader would stand out by
    orders of magnitude, and would have slept. */
void blocksDuringADrop (benchmark::State& state)
{
    const auto numFiles = (int) state.range (0);
    const auto list = BenchFiles::get().paths (numFiles).joinIntoString ("\n");

    VantrelSampivoAudioProcessor processor;
    processor.setRateAndBufferSizeDetails (hostRate, blockSize);
    processor.setStateProperty ("filenames", BenchFiles::get().paths (1)[0]);
    processor.prepareToPlay (hostRate, blockSize);

    juce::AudioBuffer<float> output (2, blockSize);
    juce::MidiBuffer notes, none;

    for (auto note = 0; note < 16; ++note)
        notes.addEvent (juce::MidiMessage::noteOn (1 + note / 8, 56 + note % 8, 0.8f), 0);

    // Blocks run faster than real time, so the notes are struck again every 500 blocks
    // (under six seconds of audio), before any of them can end.
    std::int64_t blockNumber = 0;

    const auto timeBlock = [&] (BlockTimes& times)
    {
        auto& midi = blockNumber++ % 500 == 0 ? notes : none;
        const auto before = Switches::now();
        const auto start = Clock::now();
        processor.processBlock (output, midi);
        const auto seconds = secondsBetween (start, Clock::now());
        times.add (seconds, before, Switches::now());
        return seconds;
    };

    BlockTimes dropping, plain, warmUp;

    for (auto _ : state)
    {
        blockNumber = 0;
        timeBlock (warmUp);
        processor.setStateProperty ("filenames", list);
        processor.requestSampleLoad (true);
        const auto first = dropping.count;
        auto seconds = 0.0;

        while (processor.isLoadingSamples.load())
            seconds += timeBlock (dropping);

        for (auto i = first; i < dropping.count; ++i)
            timeBlock (plain);

        state.SetIterationTime (seconds);
    }

    state.counters["blocks"] = (double) dropping.count;
    state.counters["blocks_that_slept"] = (double) dropping.slept;
    state.counters["preempted"] = (double) dropping.preempted;
    state.counters["longest_us"] = dropping.longest * 1.0e6;
    state.counters["longest_plain_us"] = plain.longest * 1.0e6;
    state.counters["ratio_longest"] = dropping.longest / plain.longest;
    state.counters["ratio_mean"] = dropping.total / plain.total;
    state.counters["sounds"] = processor.getNumLoadedSounds();
}

BENCHMARK (blocksDuringADrop)
    ->ArgName ("files")
    ->Arg (1)->Arg (8)->Arg (32)
    ->Iterations (3)
    ->UseManualTime()
    ->Unit (benchmark::kMillisecond);
} // namespace

int main (int argc, char** argv)
{
    const juce::ScopedJuceInitialiser_GUI juceSystem;

    benchmark::Initialize (&argc, argv);

    if (benchmark::ReportUnrecognizedArguments (argc, argv))
        return 1;

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
