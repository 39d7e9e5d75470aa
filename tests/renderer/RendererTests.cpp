// The offline renderer, run as a user runs it: a child process playing MIDI files
// written here through the freshly built VST3 bundle, with the audio read back and
// measured.
#include "RendererProcess.h"
#include "support/AudioFixtures.h"
#include "support/SignalAnalysis.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr int ticksPerQuarter = 960;

/** A tempo map given as (beat, quarter notes per minute) from that beat on. */
struct TempoChange
{
    double beat;
    double bpm;
};

const std::vector<TempoChange> tempoMap { { 0.0, 120.0 }, { 2.0, 60.0 } };

/** Seconds at a beat, by summing the map's segments (independent of JUCE's conversion). */
double secondsAtBeat (double beat)
{
    auto seconds = 0.0;

    for (size_t i = 0; i < tempoMap.size(); ++i)
    {
        const auto segmentEnd = i + 1 < tempoMap.size() ? tempoMap[i + 1].beat : beat;
        const auto beatsInSegment = juce::jlimit (0.0, juce::jmax (0.0, segmentEnd - tempoMap[i].beat),
                                                  beat - tempoMap[i].beat);
        seconds += beatsInSegment * 60.0 / tempoMap[i].bpm;
    }

    return seconds;
}

struct TestNote
{
    double beat;
    int key;
    double beats;
    int velocity;
};

// Spread across the tempo change; far enough apart that each 0.1 s sample has ended
// before the next note starts.
const std::vector<TestNote> testNotes { { 0.5, 60, 0.25, 100 }, { 1.0, 60, 0.25, 100 }, { 2.0, 60, 0.25, 100 },
                                        { 3.0, 60, 0.25, 100 }, { 3.5, 60, 0.25, 100 } };

/** Tempo on track 0, notes on track 1, as a sequencer exports them. */
void writeMidiFile (const juce::File& file, const std::vector<TestNote>& notes)
{
    juce::MidiMessageSequence tempoTrack, noteTrack;

    for (const auto& change : tempoMap)
        tempoTrack.addEvent (juce::MidiMessage::tempoMetaEvent (juce::roundToInt (60.0e6 / change.bpm)),
                             change.beat * ticksPerQuarter);

    for (const auto& note : notes)
    {
        noteTrack.addEvent (juce::MidiMessage::noteOn (1, note.key, static_cast<juce::uint8> (note.velocity)),
                            note.beat * ticksPerQuarter);
        noteTrack.addEvent (juce::MidiMessage::noteOff (1, note.key), (note.beat + note.beats) * ticksPerQuarter);
    }

    juce::MidiFile midi;
    midi.setTicksPerQuarterNote (ticksPerQuarter);
    midi.addTrack (tempoTrack);
    midi.addTrack (noteTrack);

    file.deleteFile();
    juce::FileOutputStream stream (file);
    ASSERT_TRUE (stream.openedOk());
    ASSERT_TRUE (midi.writeTo (stream));
}

struct Rendered
{
    juce::AudioBuffer<float> audio;
    double sampleRate = 0.0;
    unsigned int bitsPerSample = 0;
    bool usesFloat = false;
};

Rendered readWav (const juce::File& file)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
    Rendered rendered;

    if (reader == nullptr)
        return rendered;

    rendered.audio.setSize (static_cast<int> (reader->numChannels), static_cast<int> (reader->lengthInSamples));
    reader->read (&rendered.audio, 0, static_cast<int> (reader->lengthInSamples), 0, true, true);
    rendered.sampleRate = reader->sampleRate;
    rendered.bitsPerSample = reader->bitsPerSample;
    rendered.usesFloat = reader->usesFloatingPointData;
    return rendered;
}

/** The first sample at or after from whose magnitude on either channel exceeds threshold. */
int firstSoundFrom (const juce::AudioBuffer<float>& audio, int from, float threshold)
{
    for (auto i = juce::jmax (0, from); i < audio.getNumSamples(); ++i)
        for (auto channel = 0; channel < audio.getNumChannels(); ++channel)
            if (std::abs (audio.getSample (channel, i)) > threshold)
                return i;

    return -1;
}

class RendererTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE (RendererProcess::binary().existsAsFile()) << RendererProcess::binary().getFullPathName();
        ASSERT_TRUE (RendererProcess::bundle().isDirectory()) << RendererProcess::bundle().getFullPathName();

        // A constant level makes every onset a step from silence, exact to the sample.
        ASSERT_TRUE (AudioFixtures::writeConstant (sample, sampleRate, 1, sampleLength, 0.5f));
        writeMidiFile (midi, testNotes);
    }

    /** Runs the renderer on the bundle under test with the common arguments. */
    RendererProcess::Result render (juce::StringArray arguments)
    {
        arguments.insert (0, "--plugin");
        arguments.insert (1, RendererProcess::bundle().getFullPathName());
        return RendererProcess::run (arguments, temp.get());
    }

    /** Arguments that make every note start at once at a fixed level: the shortest
        attack, no velocity-dependent start offset and no random level, pan or decay. */
    static juce::StringArray steadyNotes()
    {
        return { "--set", "attack=0", "--set", "vel2offs=0", "--set", "rnddecay=0" };
    }

    AudioFixtures::TempFolder temp;
    juce::File sample = temp.file ("level.wav");
    juce::File midi = temp.file ("tempo-change.mid");
    static constexpr double sampleRate = 48000.0;
    static constexpr int sampleLength = 4800;
};

juce::String describe (const RendererProcess::Result& result)
{
    return "exit " + juce::String (result.exitCode) + "\nstdout:\n" + result.out + "\nstderr:\n" + result.err;
}
} // namespace

//==============================================================================
TEST_F (RendererTest, NotesStartAtTheirTempoMapPositionsAndTheTailSetsTheLength)
{
    struct Case
    {
        double rate;
        int block;
        double tail;
    };

    // A rate other than the sample's and a block size that puts the notes mid-block.
    for (const auto& test : { Case { 48000.0, 512, 0.5 }, Case { 44100.0, 100, 1.25 } })
    {
        SCOPED_TRACE ("rate " + juce::String (test.rate) + ", block " + juce::String (test.block));
        const auto out = temp.file ("notes-" + juce::String (test.rate) + ".wav");
        auto arguments = steadyNotes();
        arguments.addArray ({ "--sample", sample.getFullPathName(), "--midi", midi.getFullPathName(), "--rate",
                              juce::String (test.rate), "--block", juce::String (test.block), "--tail",
                              juce::String (test.tail), "--out", out.getFullPathName() });
        const auto result = render (arguments);
        ASSERT_EQ (result.exitCode, 0) << describe (result);

        const auto rendered = readWav (out);
        ASSERT_EQ (rendered.audio.getNumChannels(), 2);
        EXPECT_EQ (rendered.sampleRate, test.rate);
        EXPECT_EQ (rendered.bitsPerSample, 24u);

        // The last event is the last note-off; the tail follows it.
        const auto lastNoteOff = secondsAtBeat (testNotes.back().beat + testNotes.back().beats);
        EXPECT_EQ (rendered.audio.getNumSamples(), juce::roundToInt ((lastNoteOff + test.tail) * test.rate));

        auto searchFrom = 0;

        for (const auto& note : testNotes)
        {
            const auto expected = juce::roundToInt (secondsAtBeat (note.beat) * test.rate);
            const auto onset = firstSoundFrom (rendered.audio, searchFrom, 1.0e-4f);
            EXPECT_EQ (onset, expected) << "note at beat " << note.beat;
            // The 0.1 s sample, resampled to the render rate, has ended well before the next note.
            searchFrom = expected + juce::roundToInt (0.2 * test.rate);
        }

        EXPECT_TRUE (result.out.contains ("Notes:    5 started, 0 dropped")) << result.out;
        EXPECT_FALSE (result.out.containsChar ('\r')) << "no progress bar when stdout is not a terminal";
    }
}

TEST_F (RendererTest, FloatOutputKeepsTheLevelsOfTheIntegerOutput)
{
    const auto integer = temp.file ("int.wav");
    const auto floating = temp.file ("float.wav");
    auto arguments = steadyNotes();
    arguments.addArray ({ "--sample", sample.getFullPathName(), "--midi", midi.getFullPathName(), "--tail", "0" });

    auto first = arguments;
    first.addArray ({ "--out", integer.getFullPathName() });
    auto second = arguments;
    second.addArray ({ "--out", floating.getFullPathName(), "--bits", "32" });
    ASSERT_EQ (render (first).exitCode, 0);
    ASSERT_EQ (render (second).exitCode, 0);

    const auto a = readWav (integer);
    const auto b = readWav (floating);
    EXPECT_FALSE (a.usesFloat);
    EXPECT_TRUE (b.usesFloat);
    EXPECT_EQ (b.bitsPerSample, 32u);
    ASSERT_EQ (a.audio.getNumSamples(), b.audio.getNumSamples());

    const auto onset = juce::roundToInt (secondsAtBeat (testNotes[0].beat) * sampleRate);
    EXPECT_NEAR (a.audio.getSample (0, onset), b.audio.getSample (0, onset), 1.0e-6f);
    EXPECT_GT (b.audio.getSample (0, onset), 0.01f);
}

TEST_F (RendererTest, SeveralSamplesAlternateAcrossNeighbouringKeys)
{
    // Two files of different level: the first answers on even keys, the second on odd ones.
    const auto quiet = temp.file ("quiet.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (quiet, sampleRate, 1, sampleLength, 0.125f));
    const auto twoKeys = temp.file ("two-keys.mid");
    writeMidiFile (twoKeys, { { 1.0, 60, 0.25, 100 }, { 2.0, 61, 0.25, 100 } });

    const auto out = temp.file ("alternating.wav");
    auto arguments = steadyNotes();
    arguments.addArray ({ "--sample", sample.getFullPathName(), "--sample", quiet.getFullPathName(), "--midi",
                          twoKeys.getFullPathName(), "--tail", "0.2", "--out", out.getFullPathName() });
    const auto result = render (arguments);
    ASSERT_EQ (result.exitCode, 0) << describe (result);

    const auto rendered = readWav (out);
    const auto first = juce::roundToInt (secondsAtBeat (1.0) * sampleRate);
    const auto second = juce::roundToInt (secondsAtBeat (2.0) * sampleRate);
    const auto ratio = rendered.audio.getSample (0, first) / rendered.audio.getSample (0, second);
    EXPECT_NEAR (ratio, 0.5f / 0.125f, 0.01f);
}

//==============================================================================
TEST_F (RendererTest, AStateFileRestoresParametersAndSamplesInBothForms)
{
    // A reference with the default volume (0.5) and centred pan.
    const auto reference = temp.file ("reference.wav");
    auto arguments = steadyNotes();
    arguments.addArray ({ "--sample", sample.getFullPathName(), "--midi", midi.getFullPathName(), "--tail", "0",
                          "--out", reference.getFullPathName() });
    ASSERT_EQ (render (arguments).exitCode, 0);
    const auto centred = readWav (reference);

    // The state: a quarter volume, hard left, the same steady-note settings and the sample.
    juce::XmlElement settings ("settings");
    settings.setAttribute ("volume", "0.2500");
    settings.setAttribute ("pan", "0.0000");
    settings.setAttribute ("attack", "0.0000");
    settings.setAttribute ("vel2offs", "0.0000");
    settings.setAttribute ("rnddecay", "0.0000");
    settings.setAttribute ("filenames", sample.getFullPathName());

    const auto xmlState = temp.file ("state.xml");
    ASSERT_TRUE (xmlState.replaceWithText (settings.toString()));

    juce::MemoryBlock block;
    juce::AudioProcessor::copyXmlToBinary (settings, block);
    const auto binaryState = temp.file ("state.bin");
    ASSERT_TRUE (binaryState.replaceWithData (block.getData(), block.getSize()));
    ASSERT_EQ (juce::ByteOrder::littleEndianInt (block.getData()), 0x21324356u); // "VC2!"

    const auto onset = juce::roundToInt (secondsAtBeat (testNotes[0].beat) * sampleRate);

    for (const auto& stateFile : { xmlState, binaryState })
    {
        SCOPED_TRACE (stateFile.getFileName());
        const auto out = temp.file ("from-" + stateFile.getFileName() + ".wav");
        const auto result = render ({ "--state", stateFile.getFullPathName(), "--midi", midi.getFullPathName(),
                                      "--tail", "0", "--params", "--out", out.getFullPathName() });
        ASSERT_EQ (result.exitCode, 0) << describe (result);

        // The parameter listing shows the restored values with the knobs' texts.
        EXPECT_TRUE (result.out.contains ("0.2500  -18.1 dB")) << result.out;
        EXPECT_TRUE (result.out.contains ("Samples:  " + sample.getFullPathName())) << result.out;

        const auto left = readWav (out);
        ASSERT_EQ (left.audio.getNumSamples(), centred.audio.getNumSamples());

        // Volume is cubic (a quarter of the travel below the middle is 1/8 of the
        // gain, -18.1 dB) and pan is equal-power: hard left is sqrt(2) louder on the
        // left than centred and silent on the right.
        const auto expectedRatio = std::pow (0.25 / 0.5, 3.0) * std::sqrt (2.0);
        EXPECT_NEAR (left.audio.getSample (0, onset) / centred.audio.getSample (0, onset), expectedRatio, 0.002);
        EXPECT_LT (SignalAnalysis::peak (left.audio.getReadPointer (1), 0, left.audio.getNumSamples()), 1.0e-6f);
    }
}

TEST_F (RendererTest, NotesDroppedByProbabilityAreCounted)
{
    // With Vel > Probability at 1 the choice is velocity's alone: a note plays when
    // 1 - velocity <= probability. At probability 0.5, velocity 127 plays and
    // velocity 40 (1 - 40/127 = 0.69) is dropped, every time.
    const auto mixed = temp.file ("mixed-velocities.mid");
    writeMidiFile (mixed, { { 0.5, 60, 0.25, 127 }, { 1.0, 60, 0.25, 40 }, { 2.0, 60, 0.25, 127 },
                            { 3.0, 60, 0.25, 40 }, { 3.5, 60, 0.25, 127 } });

    const auto out = temp.file ("dropped.wav");
    auto arguments = steadyNotes();
    arguments.addArray ({ "--sample", sample.getFullPathName(), "--midi", mixed.getFullPathName(), "--set",
                          "probabl=0.5", "--set", "vel2prob=1", "--out", out.getFullPathName() });
    const auto result = render (arguments);
    ASSERT_EQ (result.exitCode, 0) << describe (result);
    EXPECT_TRUE (result.out.contains ("Notes:    5 started, 2 dropped by probability (estimated")) << result.out;

    // The audio agrees: sound right at the loud notes, silence after the soft ones.
    const auto rendered = readWav (out);

    for (const auto& [beat, plays] : { std::pair { 0.5, true }, { 1.0, false }, { 2.0, true }, { 3.0, false } })
    {
        const auto at = juce::roundToInt (secondsAtBeat (beat) * sampleRate);
        const auto level = SignalAnalysis::peak (rendered.audio.getReadPointer (0), at, at + 2400);
        EXPECT_EQ (level > 1.0e-4f, plays) << "note at beat " << beat;
    }

    // Probability 0 left to chance alone drops them all (a note would need a random
    // draw of exactly 0): silence, and every note counted.
    auto none = steadyNotes();
    none.addArray ({ "--sample", sample.getFullPathName(), "--midi", mixed.getFullPathName(), "--set", "probabl=0",
                     "--set", "vel2prob=0" });
    const auto silent = render (none);
    ASSERT_EQ (silent.exitCode, 0) << describe (silent);
    EXPECT_TRUE (silent.out.contains ("Notes:    5 started, 5 dropped by probability")) << silent.out;
    EXPECT_TRUE (silent.out.contains ("Peak:     L -inf dBFS   R -inf dBFS")) << silent.out;
}

TEST_F (RendererTest, TheBuiltInToneAndPhraseRenderWithAPicture)
{
    const auto out = temp.file ("demo.wav");
    const auto png = temp.file ("demo.png");
    const auto result = render ({ "--out", out.getFullPathName(), "--png", png.getFullPathName() });
    ASSERT_EQ (result.exitCode, 0) << describe (result);

    EXPECT_TRUE (result.out.contains ("Samples:  the built-in tone")) << result.out;
    EXPECT_TRUE (result.out.contains ("Picture:  " + png.getFullPathName())) << result.out;

    const auto rendered = readWav (out);
    ASSERT_GT (rendered.audio.getNumSamples(), 0);
    EXPECT_TRUE (SignalAnalysis::allFinite (rendered.audio));
    const auto peak = rendered.audio.getMagnitude (0, rendered.audio.getNumSamples());
    EXPECT_GT (peak, 0.03f) << "the demo is audible";
    EXPECT_LT (peak, 1.0f) << "and doesn't clip";

    const auto image = juce::ImageFileFormat::loadFrom (png);
    ASSERT_TRUE (image.isValid());
    EXPECT_EQ (image.getWidth(), 1600);
    EXPECT_EQ (image.getHeight(), 640);
}

//==============================================================================
TEST_F (RendererTest, BadInputsEndWithAMessageAndTheirOwnExitStatus)
{
    const auto notMidi = temp.file ("not-midi.mid");
    ASSERT_TRUE (notMidi.replaceWithText ("this is text, not a Standard MIDI File"));
    const auto notState = temp.file ("not-state.xml");
    ASSERT_TRUE (notState.replaceWithText ("<preset volume=\"0.5\"/>"));

    struct Case
    {
        const char* what;
        juce::StringArray arguments;
        int exitCode;
        const char* mentions;
    };

    const auto midiPath = midi.getFullPathName();
    const std::vector<Case> cases {
        { "unknown option", { "--midi", midiPath, "--loud" }, 1, "--loud" },
        { "missing MIDI file", { "--midi", temp.file ("absent.mid").getFullPathName() }, 3, "absent.mid" },
        { "file that isn't MIDI", { "--midi", notMidi.getFullPathName() }, 3, "not-midi.mid" },
        { "state that isn't one", { "--midi", midiPath, "--state", notState.getFullPathName() }, 3, "not-state.xml" },
        { "missing sample", { "--midi", midiPath, "--sample", temp.file ("absent.wav").getFullPathName() }, 3,
          "absent.wav" },
        { "unknown parameter", { "--midi", midiPath, "--set", "loudness=0.5" }, 4, "loudness" },
        { "value above 1", { "--midi", midiPath, "--set", "volume=1.5" }, 5, "volume" },
        { "value below 0", { "--midi", midiPath, "--set", "pan=-0.1" }, 5, "pan" },
        { "value not a number", { "--midi", midiPath, "--set", "decay=loud" }, 5, "decay" },
        { "output folder missing", { "--midi", midiPath, "--out", temp.file ("no-folder/x.wav").getFullPathName() },
          6, "no-folder" },
        { "picture onto a folder", { "--midi", midiPath, "--png", temp.get().getFullPathName() }, 6, "folder" },
    };

    for (const auto& test : cases)
    {
        SCOPED_TRACE (test.what);
        const auto result = render (test.arguments);
        EXPECT_TRUE (result.exitedNormally) << describe (result);
        EXPECT_EQ (result.exitCode, test.exitCode) << describe (result);
        EXPECT_TRUE (result.err.startsWith ("sampivo-render: ")) << describe (result);
        EXPECT_TRUE (result.err.contains (test.mentions)) << describe (result);
    }

    // A missing bundle, named on the command line (not through render(), which adds the real one).
    const auto absentBundle = temp.file ("Nowhere.vst3");
    const auto missing = RendererProcess::run ({ "--plugin", absentBundle.getFullPathName(), "--midi", midiPath },
                                               temp.get());
    EXPECT_TRUE (missing.exitedNormally);
    EXPECT_EQ (missing.exitCode, 2) << describe (missing);
    EXPECT_TRUE (missing.err.contains (absentBundle.getFullPathName())) << describe (missing);
}
