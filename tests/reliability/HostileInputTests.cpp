#include "reliability/ReliabilityRig.h"

#include "sampler/SamplerSoundLog.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ReliabilityRig;

namespace
{
//==============================================================================
// Byte-level writers for files that no encoder would produce.

void appendLE (juce::MemoryOutputStream& out, juce::uint32 value, int bytes)
{
    for (auto i = 0; i < bytes; ++i)
        out.writeByte ((char) ((value >> (8 * i)) & 0xff));
}

void appendBE (juce::MemoryOutputStream& out, juce::uint32 value, int bytes)
{
    for (auto i = bytes - 1; i >= 0; --i)
        out.writeByte ((char) ((value >> (8 * i)) & 0xff));
}

/** A PCM WAV whose header claims what it likes, followed by dataBytes of a ramp. */
juce::MemoryBlock wavBytes (juce::uint32 channels, juce::uint32 rate, juce::uint32 bits,
                            juce::uint32 claimedDataSize, int dataBytes)
{
    juce::MemoryOutputStream out;
    const auto blockAlign = channels * bits / 8;
    out.write ("RIFF", 4);
    appendLE (out, claimedDataSize + 36, 4);
    out.write ("WAVEfmt ", 8);
    appendLE (out, 16, 4);
    appendLE (out, 1, 2); // PCM
    appendLE (out, channels, 2);
    appendLE (out, rate, 4);
    appendLE (out, rate * blockAlign, 4);
    appendLE (out, blockAlign, 2);
    appendLE (out, bits, 2);
    out.write ("data", 4);
    appendLE (out, claimedDataSize, 4);

    for (auto i = 0; i < dataBytes; ++i)
        out.writeByte ((char) (i * 7));

    return out.getMemoryBlock();
}

/** An AIFF whose COMM chunk claims what it likes; rateBytes is the 80-bit rate. */
juce::MemoryBlock aiffBytes (juce::uint32 channels, juce::uint32 frames, juce::uint32 bits,
                             const juce::uint8 (&rateBytes)[10], int dataBytes)
{
    juce::MemoryOutputStream out;
    out.write ("FORM", 4);
    appendBE (out, (juce::uint32) (4 + 26 + 16 + dataBytes), 4);
    out.write ("AIFF", 4);
    out.write ("COMM", 4);
    appendBE (out, 18, 4);
    appendBE (out, channels, 2);
    appendBE (out, frames, 4);
    appendBE (out, bits, 2);
    out.write (rateBytes, 10);
    out.write ("SSND", 4);
    appendBE (out, (juce::uint32) (8 + dataBytes), 4);
    appendBE (out, 0, 4);
    appendBE (out, 0, 4);

    for (auto i = 0; i < dataBytes; ++i)
        out.writeByte ((char) (i * 3));

    return out.getMemoryBlock();
}

bool writeBytes (const juce::File& file, const juce::MemoryBlock& bytes)
{
    file.deleteFile();
    return file.replaceWithData (bytes.getData(), bytes.getSize());
}

bool writeTruncated (const juce::File& source, const juce::File& target, juce::int64 length)
{
    juce::MemoryBlock bytes;

    if (! source.loadFileAsData (bytes))
        return false;

    bytes.setSize ((size_t) juce::jlimit ((juce::int64) 0, (juce::int64) bytes.getSize(), length));
    return writeBytes (target, bytes);
}

/** A FLAC file with its STREAMINFO rewritten: the rate (20 bits), the channel count
    (3 bits, count - 1) and the total sample count (36 bits). */
bool writePatchedFlac (const juce::File& source, const juce::File& target, juce::uint32 rate,
                       juce::uint32 channels, juce::uint64 totalSamples)
{
    juce::MemoryBlock bytes;

    if (! source.loadFileAsData (bytes) || bytes.getSize() < 42)
        return false;

    auto* info = static_cast<juce::uint8*> (bytes.getData()) + 8 + 10;
    const auto bitsPerSampleMinusOne = (juce::uint32) (((info[2] & 0x01) << 4) | (info[3] >> 4));

    info[0] = (juce::uint8) (rate >> 12);
    info[1] = (juce::uint8) (rate >> 4);
    info[2] = (juce::uint8) (((rate & 0x0f) << 4) | (((channels - 1) & 0x07) << 1) | (bitsPerSampleMinusOne >> 4));
    info[3] = (juce::uint8) (((bitsPerSampleMinusOne & 0x0f) << 4) | ((totalSamples >> 32) & 0x0f));
    info[4] = (juce::uint8) (totalSamples >> 24);
    info[5] = (juce::uint8) (totalSamples >> 16);
    info[6] = (juce::uint8) (totalSamples >> 8);
    info[7] = (juce::uint8) totalSamples;
    return writeBytes (target, bytes);
}

//==============================================================================
/** One hostile file (or path) with the reason it is in the corpus. */
struct HostileEntry
{
    juce::String path;
    juce::String description;
};

/** Builds the corpus in a folder of its own: every entry is a path that a user could
    drop or that a saved project could name. */
class HostileCorpus
{
public:
    HostileCorpus()
    {
        juce::Array<juce::File> sources;

        for (const auto* name : { "source.wav", "source.aiff", "source.flac" })
            if (AudioFixtures::writeSine (temp.file (name), 44100.0, 2, 0.2, 440.0))
                sources.add (temp.file (name));

        if (AudioFixtures::writeSineMp3 (temp.file ("source.mp3"), 44100.0, 0.3, 440.0))
            sources.add (temp.file ("source.mp3"));

        // Truncated and zero-length files of every format, cut inside the header, at its
        // end and inside the audio.
        for (const auto& source : sources)
        {
            const auto size = source.getSize();

            for (const auto cut : { (juce::int64) 0, (juce::int64) 4, (juce::int64) 12, (juce::int64) 30,
                                    (juce::int64) 44, (juce::int64) 45, size / 3, size - 1 })
            {
                const auto target = temp.file ("cut " + juce::String (cut) + " " + source.getFileName());

                if (writeTruncated (source, target, cut))
                    add (target, "truncated to " + juce::String (cut) + " bytes: " + source.getFileName());
            }
        }

        // WAV headers that lie.
        addBytes ("billions.wav", wavBytes (2, 44100, 16, 0xfffffff0u, 4000), "WAV claiming about a billion frames");
        addBytes ("zero hertz.wav", wavBytes (2, 0, 16, 4000, 4000), "WAV at 0 Hz");
        addBytes ("huge rate.wav", wavBytes (2, 0x7fffffffu, 16, 0xfffffff0u, 4000), "WAV at 2^31 Hz claiming billions");
        addBytes ("sixty-four.wav", wavBytes (64, 48000, 16, 64 * 2 * 500, 64 * 2 * 500), "WAV with 64 channels");
        addBytes ("sixty-four billions.wav", wavBytes (64, 48000, 24, 0xffffff00u, 1000), "WAV with 64 channels claiming billions");
        addBytes ("zero bits.wav", wavBytes (2, 44100, 0, 4000, 4000), "WAV with 0 bits per sample");
        addBytes ("no channels.wav", wavBytes (0, 44100, 16, 4000, 4000), "WAV with no channels");
        addBytes ("odd bits.wav", wavBytes (3, 44100, 13, 4000, 4000), "WAV with 13-bit samples");

        // AIFF headers that lie: rates of 44100, 0, and the largest exponent.
        const juce::uint8 rate44100[10] = { 0x40, 0x0e, 0xac, 0x44, 0, 0, 0, 0, 0, 0 };
        const juce::uint8 rateZero[10] = {};
        const juce::uint8 rateHuge[10] = { 0x7f, 0xff, 0x80, 0, 0, 0, 0, 0, 0, 0 };
        addBytes ("billions.aiff", aiffBytes (2, 0xffffffffu, 16, rate44100, 4000), "AIFF claiming billions of frames");
        addBytes ("zero hertz.aiff", aiffBytes (2, 1000, 16, rateZero, 4000), "AIFF at 0 Hz");
        addBytes ("infinite rate.aif", aiffBytes (2, 1000, 16, rateHuge, 4000), "AIFF with an infinite rate");
        addBytes ("sixty-four.aif", aiffBytes (64, 0x7fffffffu, 16, rate44100, 64 * 2 * 100), "AIFF with 64 channels");

        // FLAC stream headers that lie (FLAC can't say more than 8 channels).
        const struct { const char* name; juce::uint32 rate, channels; juce::uint64 samples; const char* description; } flacs[] = {
            { "billions.flac", 44100, 2, 0xfffffffffull, "FLAC claiming 2^36 samples" },
            { "zero hertz.flac", 0, 2, 8820, "FLAC at 0 Hz" },
            { "eight channels.flac", 44100, 8, 8820, "FLAC claiming 8 channels" },
        };

        for (const auto& flac : flacs)
            if (writePatchedFlac (temp.file ("source.flac"), temp.file (flac.name), flac.rate, flac.channels, flac.samples))
                add (temp.file (flac.name), flac.description);

        // Noise and impostors.
        juce::MemoryBlock noise (20000);
        juce::Random (42).fillBitsRandomly (noise.getData(), noise.getSize());
        addBytes ("noise.mp3", noise, "random bytes named .mp3");
        addBytes ("noise.wav", noise, "random bytes named .wav");
        addBytes ("noise.flac", noise, "random bytes named .flac");
        addBytes ("text.aiff", juce::MemoryBlock ("FORM this is not audio", 22), "text named .aiff");

        juce::MemoryOutputStream id3;
        id3.write ("ID3\x04\x00\x00\x7f\x7f\x7f\x7f", 10);
        id3.writeRepeatedByte (0, 100);
        addBytes ("id3 only.mp3", id3.getMemoryBlock(), "MP3 with an ID3 tag claiming 256 MB");

        const auto folder = temp.file ("a folder.wav");
        folder.createDirectory();
        add (folder, "a directory named like an audio file");
        add (temp.file ("never written.flac"), "a file that does not exist");
        entries.push_back ({ "/", "the root directory" });
        entries.push_back ({ "relative/path.wav", "a relative path" });
    }

    const std::vector<HostileEntry>& get() const noexcept { return entries; }

private:
    void add (const juce::File& file, const juce::String& description)
    {
        entries.push_back ({ file.getFullPathName(), description });
    }

    void addBytes (const juce::String& name, const juce::MemoryBlock& bytes, const juce::String& description)
    {
        const auto file = temp.file (name);

        if (writeBytes (file, bytes))
            add (file, description);
    }

    AudioFixtures::TempFolder temp;
    std::vector<HostileEntry> entries;
};

//==============================================================================
/** A processor prepared at 48 kHz with loud, predictable settings. */
struct Instrument
{
    Instrument()
    {
        prepare (processor, 48000.0, blockSize);
        processor.probabilityParam->setValueNotifyingHost (1.0f);
        processor.velToOffsetParam->setValueNotifyingHost (0.0f);
        processor.attackParam->setValueNotifyingHost (0.0f);
        processor.sustainParam->setValueNotifyingHost (1.0f);
    }

    /** Renders one block with a note-on for every key at the start. */
    juce::AudioBuffer<float> playAllKeys()
    {
        juce::MidiBuffer midi;

        for (auto note = 0; note < 128; ++note)
            midi.addEvent (juce::MidiMessage::noteOn (1, note, (juce::uint8) 127), 0);

        return render (processor, blockSize, midi);
    }

    /** The peak of one block with a note-on for note alone, every voice silenced first. */
    float peakOfKey (int note)
    {
        processor.synth.allNotesOff (0, false);
        const auto buffer = render (processor, blockSize, noteOns ({ note }));
        EXPECT_EQ (checkBlock (buffer, outputBound (std::max (1.0f, loudestSource()))), juce::String());
        return buffer.getMagnitude (0, blockSize);
    }

    /** The largest source sample of any loaded sound, for the output bound. */
    float loudestSource()
    {
        auto loudest = 0.0f;

        for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
            if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
                if (const auto* data = sound->getAudioData())
                    loudest = std::max (loudest, data->getMagnitude (0, data->getNumSamples()));

        return loudest;
    }

    /** Drops paths, plays every key with the block that loads them, checks that block,
        and returns the sounds loaded. */
    std::map<juce::String, int> dropAndPlay (const juce::StringArray& paths)
    {
        drop (processor, paths.joinIntoString ("\n"));
        const auto buffer = playAllKeys();
        EXPECT_EQ (checkBlock (buffer, outputBound (std::max (1.0f, loudestSource()))), juce::String());
        return loadedSounds (processor);
    }

    static constexpr int blockSize = 512;
    VantrelSampivoAudioProcessor processor;
};

const HostileCorpus& corpus()
{
    static const HostileCorpus instance;
    return instance;
}

/** Writes a one-channel sine in folder for each name and returns their paths. */
juce::StringArray writeGoodFiles (const AudioFixtures::TempFolder& folder, const juce::StringArray& names,
                                  double rate = 44100.0, double seconds = 0.3)
{
    juce::StringArray paths;

    for (const auto& name : names)
        if (AudioFixtures::writeSine (folder.file (name), rate, 1, seconds, 440.0, 0.5f))
            paths.add (folder.file (name).getFullPathName());

    EXPECT_EQ (paths.size(), names.size());
    return paths;
}
} // namespace

//==============================================================================
TEST (HostileInput, EachCorpusEntryBetweenTwoGoodFilesLoadsTheGoodOnesAndKeepsPlaying)
{
    const AudioFixtures::TempFolder folder;
    const auto good = writeGoodFiles (folder, { "first.wav", "last.wav" });
    ASSERT_EQ (good.size(), 2);
    ASSERT_GT (corpus().get().size(), 30u);

    for (const auto& entry : corpus().get())
    {
        SCOPED_TRACE (entry.description.toStdString());
        Instrument instrument;
        const auto sounds = instrument.dropAndPlay ({ good[0], entry.path, good[1] });

        // The good files keep their places: index 0 with root 60 and index 2 with root
        // 58. Whatever the hostile one gave is at most one more sound.
        ASSERT_EQ (sounds.count (good[0]) + sounds.count (good[1]), 2u);
        EXPECT_EQ (sounds.at (good[0]), 60);
        EXPECT_EQ (sounds.at (good[1]), 58);
        EXPECT_LE (sounds.size(), 3u);

        // Keys 0 (first file) and 2 (last file) still sound afterwards.
        EXPECT_GT (instrument.peakOfKey (0), 0.001f);
        EXPECT_GT (instrument.peakOfKey (2), 0.001f);
    }

    // The whole corpus in one drop loads what it can; key 0 belongs to the good file.
    juce::StringArray paths (good[0]);

    for (const auto& entry : corpus().get())
        paths.add (entry.path);

    Instrument instrument;
    EXPECT_EQ (instrument.dropAndPlay (paths).count (good[0]), 1u);
    EXPECT_GT (instrument.peakOfKey (0), 0.001f);
}

TEST (HostileInput, PathsWithQuotesSpacesAndOtherLettersLoadAndSurviveASave)
{
    const AudioFixtures::TempFolder folder;
    const auto paths = writeGoodFiles (folder, { "with spaces .wav", "say \"hi\".wav", "Ünïcødé ßample 音.wav",
                                                 "apostrophe's & ampersand.flac", "  leading spaces.aiff" });

    // A pair of quotes inside one path stays within that path, so every file loads at
    // its own index: root note 60 - index.
    Instrument instrument;
    std::map<juce::String, int> expected;

    for (auto i = 0; i < paths.size(); ++i)
        expected[paths[i]] = 60 - i;

    EXPECT_EQ (instrument.dropAndPlay (paths), expected);

    // The list survives a save and restore letter for letter.
    juce::MemoryBlock state;
    instrument.processor.getStateInformation (state);
    Instrument restored;
    restored.processor.setStateInformation (state.getData(), (int) state.getSize());
    EXPECT_EQ (restored.processor.getStateProperty ("filenames"), paths.joinIntoString ("\n"));
}

TEST (HostileInput, ALineFeedALoneQuoteOrADeletedFileLosesOnlyItsOwnEntries)
{
    const AudioFixtures::TempFolder folder;
    const auto files = writeGoodFiles (folder, { "before.wav", "line\nfeed.wav", "after.wav", "lone \" quote.wav",
                                                 "deleted.flac" });
    ASSERT_EQ (files.size(), 5);
    const auto& before = files[0];
    const auto& after = files[2];

    // The line feed splits its path in two tokens, neither of them a file: four tokens,
    // so "after" is index 3.
    EXPECT_EQ (Instrument().dropAndPlay ({ before, files[1], after }),
               (std::map<juce::String, int> { { before, 60 }, { after, 57 } }));

    // A lone quote opens a quoted run to the end of the list: everything after it is
    // one unreadable token, the files before it still load.
    {
        Instrument instrument;
        EXPECT_EQ (instrument.dropAndPlay ({ before, files[3], after }), (std::map<juce::String, int> { { before, 60 } }));
        EXPECT_GT (instrument.peakOfKey (0), 0.001f);
    }

    // A file deleted between the drop and the load is skipped. The kept file is index 1
    // of 2: root 59, keys 1, 3, 5...; key 0 stays silent.
    Instrument instrument;
    drop (instrument.processor, files[4] + "\n" + after);
    ASSERT_TRUE (juce::File (files[4]).deleteFile());
    instrument.playAllKeys();
    EXPECT_EQ (loadedSounds (instrument.processor), (std::map<juce::String, int> { { after, 59 } }));
    EXPECT_EQ (instrument.peakOfKey (0), 0.0f);
    EXPECT_GT (instrument.peakOfKey (1), 0.001f);
}

TEST (HostileInput, AListOfAThousandEntriesLoadsAndTheNextDropPlays)
{
    const AudioFixtures::TempFolder folder;
    const auto files = writeGoodFiles (folder, { "tiny 0.wav", "tiny 1.flac", "tiny 2.wav", "tiny 3.flac", "tiny 4.wav" },
                                       22050.0, 0.02);
    ASSERT_EQ (files.size(), 5);

    // Every third entry names nothing.
    juce::StringArray paths;

    for (auto i = 0; i < 1000; ++i)
        paths.add (i % 3 == 2 ? folder.file ("missing " + juce::String (i) + ".wav").getFullPathName() : files[i % 5]);

    // With a thousand files, "every thousandth key from the file's index, below
    // 128 - 1000" holds no key at all: every sound loads, none answers.
    Instrument instrument;
    drop (instrument.processor, paths.joinIntoString ("\n"));
    EXPECT_EQ (instrument.playAllKeys().getMagnitude (0, Instrument::blockSize), 0.0f);
    EXPECT_EQ (instrument.processor.synth.getNumSounds(), 667);

    // The next drop replaces them all, and a note plays.
    drop (instrument.processor, files[0]);
    EXPECT_GT (instrument.peakOfKey (60), 0.001f);
    EXPECT_EQ (instrument.processor.synth.getNumSounds(), 1);
}
