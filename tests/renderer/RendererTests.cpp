// The offline renderer run as a user runs it: a child process playing a MIDI file
// through the freshly built VST3 bundle, its audio read back and measured. Only what the
// renderer adds is checked here; the instrument's own laws are the sampler suite's.
#include "support/AudioFixtures.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <gtest/gtest.h>

namespace
{
struct Outcome { int exitCode; juce::String output; };   // standard output and error together
struct Wav { juce::AudioBuffer<float> audio; double rate = 0.0; unsigned bits = 0; bool floating = false; };

class Renderer : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE (AudioFixtures::writeAudioFile (sample, 48000.0, 1, 4800, [] (int, int) { return 0.5f; }));

        // Quarter-beat notes on key 60 at 120 quarter notes a minute, from beat 2 at 60,
        // the tempo map on a track of its own as sequencers write it.
        juce::MidiMessageSequence tempo, notes;
        tempo.addEvent (juce::MidiMessage::tempoMetaEvent (500000), 0.0);
        tempo.addEvent (juce::MidiMessage::tempoMetaEvent (1000000), 2.0 * 960);

        for (const auto beat : beats)
        {
            notes.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 100), beat * 960);
            notes.addEvent (juce::MidiMessage::noteOff (1, 60), (beat + 0.25) * 960);
        }

        juce::MidiFile file;
        file.setTicksPerQuarterNote (960);
        file.addTrack (tempo);
        file.addTrack (notes);
        juce::FileOutputStream stream (midi);
        ASSERT_TRUE (stream.openedOk() && file.writeTo (stream));
    }

    /** Runs the renderer on the bundle under test. Unless steady is false, notes start at
        once at a fixed level: the shortest attack, no start offset, no randomness. */
    static Outcome render (const juce::StringArray& arguments, bool steady = true)
    {
        const auto binary = juce::File::getSpecialLocation (juce::File::currentExecutableFile).getParentDirectory()
                                .getSiblingFile ("tools").getChildFile ("sampivo-render");   // <build>/tests -> <build>/tools
        juce::StringArray all { binary.getFullPathName(), "--plugin", juce::SystemStats::getEnvironmentVariable ("SAMPIVO_VST3_BUNDLE", {}) };
        if (steady)
            all.addArray ({ "--set", "attack=0", "--set", "vel2offs=0", "--set", "rnddecay=0" });
        all.addArray (arguments);

        juce::ChildProcess process;
        const auto output = process.start (all) ? process.readAllProcessOutput() : "did not start";
        return { process.waitForProcessToFinish (60000) ? (int) process.getExitCode() : -1, output };
    }

    Wav read (const juce::File& file)
    {
        juce::AudioFormatManager formats;
        formats.registerBasicFormats();
        const std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
        Wav wav;
        if (reader == nullptr)
            return wav;
        wav.audio.setSize ((int) reader->numChannels, (int) reader->lengthInSamples);
        reader->read (&wav.audio, 0, wav.audio.getNumSamples(), 0, true, true);
        return { wav.audio, reader->sampleRate, reader->bitsPerSample, reader->usesFloatingPointData };
    }

    static double secondsAt (double beat) { return std::min (beat, 2.0) * 0.5 + std::max (beat - 2.0, 0.0); }

    const std::vector<double> beats { 0.5, 1.0, 2.0, 3.0, 3.5 };
    AudioFixtures::TempFolder temp;
    juce::File sample = temp.file ("level.wav"), midi = temp.file ("tempo-change.mid"), out = temp.file ("out.wav");
};
} // namespace

TEST_F (Renderer, NotesStartAtTheirTempoMapPositionsAndTheTailAndFormatFollowTheOptions)
{
    // A rate other than the sample's, a block size that puts notes mid-block, float output.
    for (const auto& [rate, block, tail, bits] : { std::tuple { 48000.0, 512, 0.5, 24 }, { 44100.0, 100, 1.25, 32 } })
    {
        const auto run = render ({ "--sample", sample.getFullPathName(), "--midi", midi.getFullPathName(), "--rate", juce::String (rate),
                                   "--block", juce::String (block), "--tail", juce::String (tail), "--bits", juce::String (bits),
                                   "--out", out.getFullPathName() });
        ASSERT_EQ (run.exitCode, 0) << run.output;
        EXPECT_TRUE (run.output.contains ("Notes:    5 started, 0 dropped")) << run.output;

        // The last note-off is at beat 3.75, 2.75 s in; the tail follows it.
        const auto wav = read (out);
        EXPECT_EQ (wav.rate, rate);
        EXPECT_EQ (std::pair (wav.bits, wav.floating), std::pair ((unsigned) bits, bits == 32));
        EXPECT_EQ (wav.audio.getNumSamples(), juce::roundToInt ((2.75 + tail) * rate));

        for (const auto beat : beats)
        {
            const auto onset = juce::roundToInt (secondsAt (beat) * rate);
            EXPECT_TRUE (wav.audio.getSample (0, onset - 1) == 0.0f && wav.audio.getSample (0, onset) > 0.1f) << beat;
        }
    }
}

TEST_F (Renderer, AStateFileInEitherFormRestoresParametersAndSamples)
{
    ASSERT_EQ (render ({ "--sample", sample.getFullPathName(), "--midi", midi.getFullPathName(), "--out", out.getFullPathName() }).exitCode, 0);
    const auto centred = read (out).audio;

    // A quarter volume and hard left: volume is cubic and pan equal-power, so the left
    // side is (0.25 / 0.5)^3 * sqrt (2) of the centred level and the right is silent.
    const auto settings = juce::parseXML ("<settings volume=\"0.2500\" pan=\"0.0000\" filenames=\"" + sample.getFullPathName() + "\"/>");
    juce::MemoryBlock block;
    juce::AudioProcessor::copyXmlToBinary (*settings, block);
    ASSERT_TRUE (temp.file ("state.xml").replaceWithText (settings->toString()) && temp.file ("state.bin").replaceWithData (block.getData(), block.getSize()));
    const auto onset = juce::roundToInt (0.25 * 48000.0);

    for (const auto* name : { "state.xml", "state.bin" })
    {
        const auto run = render ({ "--state", temp.file (name).getFullPathName(), "--midi", midi.getFullPathName(), "--params", "--out", out.getFullPathName() });
        ASSERT_EQ (run.exitCode, 0) << run.output;
        EXPECT_TRUE (run.output.contains ("0.2500  -18.1 dB") && run.output.contains ("Samples:  " + sample.getFullPathName())) << run.output;

        const auto left = read (out).audio;
        EXPECT_NEAR (left.getSample (0, onset) / centred.getSample (0, onset), 0.125 * std::sqrt (2.0), 0.002) << name;
        EXPECT_EQ (left.getMagnitude (1, 0, left.getNumSamples()), 0.0f) << name;
    }

    // The same state with its sample moved into a subfolder of a --search-dir.
    ASSERT_TRUE (temp.file ("moved").createDirectory() && sample.moveFileTo (temp.file ("moved/level.wav")));
    const auto run = render ({ "--state", temp.file ("state.xml").getFullPathName(), "--midi", midi.getFullPathName(),
                               "--search-dir", temp.get().getFullPathName(), "--out", out.getFullPathName() });
    EXPECT_TRUE (run.exitCode == 0 && run.output.contains ("Found:    1 of 1 missing samples")) << run.output;
    EXPECT_NEAR (read (out).audio.getSample (0, onset), 0.125 * std::sqrt (2.0) * centred.getSample (0, onset), 0.002);
}

TEST_F (Renderer, TheBuiltInToneRendersWithAPictureAndTheSameSeedGivesTheSameBytes)
{
    // No sample and no MIDI file: the built-in tone and phrase. Rnd. Other at its default
    // varies each note's level and pan and the decay, so the seed shows.
    const auto png = temp.file ("demo.png");
    const char* seeds[] { "7", "7", "8" };
    for (auto i = 0; i < 3; ++i)
    {
        const auto run = render ({ "--seed", seeds[i], "--bits", "32", "--out", temp.file (juce::String (i) + ".wav").getFullPathName(),
                                   "--png", png.getFullPathName() }, false);
        ASSERT_EQ (run.exitCode, 0) << run.output;
        EXPECT_TRUE (run.output.contains ("Samples:  the built-in tone")) << run.output;
    }

    const auto demo = read (temp.file ("0.wav")).audio;
    const auto peak = demo.getMagnitude (0, 0, demo.getNumSamples());
    EXPECT_TRUE (peak > 0.03f && peak < 1.0f) << "audible, not clipped: " << peak;
    EXPECT_EQ (juce::ImageFileFormat::loadFrom (png).getBounds(), juce::Rectangle<int> (0, 0, 1600, 640));
    EXPECT_TRUE (temp.file ("0.wav").hasIdenticalContentTo (temp.file ("1.wav")));
    EXPECT_FALSE (temp.file ("0.wav").hasIdenticalContentTo (temp.file ("2.wav")));
}

TEST_F (Renderer, BadInputsEndWithAMessageAndTheirOwnExitStatus)
{
    ASSERT_TRUE (temp.file ("not-midi.mid").replaceWithText ("this is text, not a Standard MIDI File"));
    ASSERT_TRUE (temp.file ("not-state.xml").replaceWithText ("<preset volume=\"0.5\"/>"));
    const auto m = midi.getFullPathName();

    // The last --plugin counts, so the missing bundle's case replaces the real one.
    const std::tuple<juce::StringArray, int, juce::String> cases[] {
        { { "--midi", m, "--loud" }, 1, "--loud" },
        { { "--midi", m, "--bits", "16" }, 1, "--bits" },
        { { "--plugin", temp.file ("Nowhere.vst3").getFullPathName(), "--midi", m }, 2, "Nowhere.vst3" },
        { { "--midi", temp.file ("absent.mid").getFullPathName() }, 3, "absent.mid" },
        { { "--midi", temp.file ("not-midi.mid").getFullPathName() }, 3, "not-midi.mid" },
        { { "--midi", m, "--state", temp.file ("not-state.xml").getFullPathName() }, 3, "not-state.xml" },
        { { "--midi", m, "--sample", temp.file ("absent.wav").getFullPathName() }, 3, "absent.wav" },
        { { "--midi", m, "--set", "loudness=0.5" }, 4, "loudness" },
        { { "--midi", m, "--set", "volume=1.5" }, 5, "volume" },
        { { "--midi", m, "--set", "decay=loud" }, 5, "decay" },
        { { "--midi", m, "--out", temp.file ("no-folder/x.wav").getFullPathName() }, 6, "no-folder" },
    };

    for (const auto& [arguments, exitCode, mentions] : cases)
    {
        const auto run = render (arguments);
        EXPECT_TRUE (run.exitCode == exitCode && run.output.contains ("sampivo-render: ") && run.output.contains (mentions))
            << arguments.joinIntoString (" ") << "\nexit " << run.exitCode << ": " << run.output;
    }
}
