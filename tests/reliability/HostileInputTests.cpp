#include "reliability/ReliabilityRig.h"

#include "processor/VantrelSampivoAudioProcessor.h"
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
        const auto sourceWav = temp.file ("source.wav");
        const auto sourceAiff = temp.file ("source.aiff");
        const auto sourceFlac = temp.file ("source.flac");
        const auto sourceMp3 = temp.file ("source.mp3");
        AudioFixtures::writeSine (sourceWav, 44100.0, 2, 0.2, 440.0);
        AudioFixtures::writeSine (sourceAiff, 44100.0, 2, 0.2, 440.0);
        AudioFixtures::writeSine (sourceFlac, 44100.0, 2, 0.2, 440.0);
        const auto haveMp3 = AudioFixtures::writeSineMp3 (sourceMp3, 44100.0, 0.3, 440.0);

        // Truncated and zero-length files of every format, cut inside the header, at its
        // end and inside the audio.
        juce::Array<juce::File> sources { sourceWav, sourceAiff, sourceFlac };

        if (haveMp3)
            sources.add (sourceMp3);

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
        const auto billionsFlac = temp.file ("billions.flac");

        if (writePatchedFlac (sourceFlac, billionsFlac, 44100, 2, 0xfffffffffull))
            add (billionsFlac, "FLAC claiming 2^36 samples");

        const auto zeroFlac = temp.file ("zero hertz.flac");

        if (writePatchedFlac (sourceFlac, zeroFlac, 0, 2, 8820))
            add (zeroFlac, "FLAC at 0 Hz");

        const auto eightFlac = temp.file ("eight channels.flac");

        if (writePatchedFlac (sourceFlac, eightFlac, 44100, 8, 8820))
            add (eightFlac, "FLAC claiming 8 channels");

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
    const AudioFixtures::TempFolder& folder() const noexcept { return temp; }

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
        processor.setRateAndBufferSizeDetails (48000.0, blockSize);
        processor.prepareToPlay (48000.0, blockSize);
        processor.probabilityParam->setValueNotifyingHost (1.0f);
        processor.velToOffsetParam->setValueNotifyingHost (0.0f);
        processor.attackParam->setValueNotifyingHost (0.0f);
        processor.sustainParam->setValueNotifyingHost (1.0f);
    }

    /** Stores the list as the editor's drop does; the next block loads it. */
    void drop (const juce::StringArray& paths)
    {
        processor.setStateProperty ("filenames", paths.joinIntoString ("\n"));
        processor.reloadRequested = true;
    }

    /** Renders one block with a note-on for every key at the start. */
    juce::AudioBuffer<float> playAllKeys()
    {
        juce::MidiBuffer midi;

        for (auto note = 0; note < 128; ++note)
            midi.addEvent (juce::MidiMessage::noteOn (1, note, (juce::uint8) 127), 0);

        return render (midi);
    }

    /** Silences every voice at once, then renders one block with a note-on for note. */
    juce::AudioBuffer<float> playKey (int note)
    {
        processor.synth.allNotesOff (0, false);
        juce::MidiBuffer midi;
        midi.addEvent (juce::MidiMessage::noteOn (1, note, (juce::uint8) 127), 0);
        return render (midi);
    }

    juce::AudioBuffer<float> render (juce::MidiBuffer& midi)
    {
        juce::AudioBuffer<float> buffer (2, blockSize);
        processor.processBlock (buffer, midi);
        return buffer;
    }

    /** The loaded sounds by name, with their root notes. */
    std::map<juce::String, int> loadedSounds()
    {
        std::map<juce::String, int> sounds;

        for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
            if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
                sounds[sound->getName()] = sound->getRootNote();

        return sounds;
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

    static constexpr int blockSize = 512;
    VantrelSampivoAudioProcessor processor;
};

const HostileCorpus& corpus()
{
    static const HostileCorpus instance;
    return instance;
}

juce::File goodFile (const juce::String& name)
{
    static const AudioFixtures::TempFolder folder;
    const auto file = folder.file (name);

    if (! file.existsAsFile())
        AudioFixtures::writeSine (file, 48000.0, 1, 0.5, 480.0, 0.5f);

    return file;
}
} // namespace

//==============================================================================
TEST (HostileInput, EachCorpusEntryBetweenTwoGoodFilesLoadsTheGoodOnesAndKeepsPlaying)
{
    const auto first = goodFile ("first.wav").getFullPathName();
    const auto last = goodFile ("last.wav").getFullPathName();
    ASSERT_GT (corpus().get().size(), 30u);

    for (const auto& entry : corpus().get())
    {
        SCOPED_TRACE (entry.description.toStdString());
        Instrument instrument;
        instrument.drop ({ first, entry.path, last });

        // The block that loads also renders the notes; nothing may blow up.
        auto buffer = instrument.playAllKeys();
        const auto sounds = instrument.loadedSounds();

        // The good files keep their places: index 0 with root 60 and index 2 with root
        // 58. Whatever the hostile one gave is at most one more sound.
        ASSERT_EQ (sounds.count (first), 1u);
        ASSERT_EQ (sounds.count (last), 1u);
        EXPECT_EQ (sounds.at (first), 60);
        EXPECT_EQ (sounds.at (last), 58);
        EXPECT_LE (sounds.size(), 3u);

        const auto bound = outputBound (std::max (1.0f, instrument.loudestSource()));
        EXPECT_EQ (checkBlock (buffer, bound), juce::String());

        // Keys 0 (first file) and 2 (last file) still sound afterwards.
        for (const auto key : { 0, 2 })
        {
            buffer = instrument.playKey (key);
            EXPECT_GT (buffer.getMagnitude (0, buffer.getNumSamples()), 0.001f) << "key " << key;
            EXPECT_EQ (checkBlock (buffer, bound), juce::String());
        }
    }
}

TEST (HostileInput, TheWholeCorpusInOneDropLoadsWhatItCan)
{
    juce::StringArray paths;
    paths.add (goodFile ("first.wav").getFullPathName());

    for (const auto& entry : corpus().get())
        paths.add (entry.path);

    Instrument instrument;
    instrument.drop (paths);
    auto buffer = instrument.playAllKeys();

    EXPECT_GE (instrument.loadedSounds().count (paths[0]), 1u);
    EXPECT_EQ (checkBlock (buffer, outputBound (std::max (1.0f, instrument.loudestSource()))), juce::String());

    // Key 0 belongs to the good file at index 0.
    buffer = instrument.playKey (0);
    EXPECT_GT (buffer.getMagnitude (0, buffer.getNumSamples()), 0.001f);
}

TEST (HostileInput, PathsWithQuotesSpacesAndOtherLettersLoad)
{
    const AudioFixtures::TempFolder folder;
    const juce::StringArray names { "with spaces .wav", "say \"hi\".wav", "Ünïcødé ßample 音.wav",
                                    "apostrophe's & ampersand.flac", "  leading spaces.aiff" };
    juce::StringArray paths;

    for (const auto& name : names)
    {
        const auto file = folder.file (name);
        ASSERT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.3, 440.0)) << name;
        paths.add (file.getFullPathName());
    }

    Instrument instrument;
    instrument.drop (paths);
    auto buffer = instrument.playAllKeys();

    // A pair of quotes inside one path stays within that path, so every file loads at
    // its own index: root note 60 - index.
    const auto sounds = instrument.loadedSounds();
    ASSERT_EQ (sounds.size(), (size_t) paths.size());

    for (auto i = 0; i < paths.size(); ++i)
    {
        ASSERT_EQ (sounds.count (paths[i]), 1u) << paths[i];
        EXPECT_EQ (sounds.at (paths[i]), 60 - i) << paths[i];
    }

    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());

    // The list survives a save and restore letter for letter.
    juce::MemoryBlock state;
    instrument.processor.getStateInformation (state);
    Instrument restored;
    restored.processor.setStateInformation (state.getData(), (int) state.getSize());
    EXPECT_EQ (restored.processor.getStateProperty ("filenames"), paths.joinIntoString ("\n"));
}

TEST (HostileInput, ALineFeedOrALoneQuoteInAPathLosesOnlyWhatItSwallows)
{
    const AudioFixtures::TempFolder folder;
    const auto before = folder.file ("before.wav");
    const auto lineFeed = folder.file ("line\nfeed.wav");
    const auto after = folder.file ("after.wav");

    for (const auto& file : { before, lineFeed, after })
        ASSERT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.3, 440.0));

    // The line feed splits its path in two tokens, neither of them a file: four tokens,
    // so "after" is index 3.
    {
        Instrument instrument;
        instrument.drop ({ before.getFullPathName(), lineFeed.getFullPathName(), after.getFullPathName() });
        const auto buffer = instrument.playAllKeys();
        const auto sounds = instrument.loadedSounds();

        EXPECT_EQ (sounds.size(), 2u);
        EXPECT_EQ (sounds.count (before.getFullPathName()), 1u);
        ASSERT_EQ (sounds.count (after.getFullPathName()), 1u);
        EXPECT_EQ (sounds.at (after.getFullPathName()), 57);
        EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());
    }

    // A lone quote opens a quoted run to the end of the list: everything after it is
    // one unreadable token, the files before it still load.
    {
        const auto quote = folder.file ("lone \" quote.wav");
        ASSERT_TRUE (AudioFixtures::writeSine (quote, 44100.0, 1, 0.3, 440.0));

        Instrument instrument;
        instrument.drop ({ before.getFullPathName(), quote.getFullPathName(), after.getFullPathName() });
        const auto buffer = instrument.playAllKeys();
        const auto sounds = instrument.loadedSounds();

        EXPECT_EQ (sounds.count (before.getFullPathName()), 1u);
        EXPECT_EQ (sounds.count (after.getFullPathName()), 0u);
        EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());

        const auto played = instrument.playKey (0);
        EXPECT_GT (played.getMagnitude (0, played.getNumSamples()), 0.001f);
    }
}

TEST (HostileInput, AFileDeletedBetweenDropAndLoadIsSkipped)
{
    const AudioFixtures::TempFolder folder;
    const auto kept = folder.file ("kept.wav");
    const auto deleted = folder.file ("deleted.flac");
    ASSERT_TRUE (AudioFixtures::writeSine (kept, 44100.0, 2, 0.3, 440.0));
    ASSERT_TRUE (AudioFixtures::writeSine (deleted, 44100.0, 2, 0.3, 440.0));

    Instrument instrument;
    instrument.drop ({ deleted.getFullPathName(), kept.getFullPathName() });
    ASSERT_TRUE (deleted.deleteFile());

    const auto buffer = instrument.playAllKeys();
    const auto sounds = instrument.loadedSounds();

    // The kept file is index 1 of 2: root 59, keys 1, 3, 5...; key 0 stays silent.
    ASSERT_EQ (sounds.size(), 1u);
    EXPECT_EQ (sounds.at (kept.getFullPathName()), 59);
    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());

    const auto silent = instrument.playKey (0);
    EXPECT_EQ (silent.getMagnitude (0, silent.getNumSamples()), 0.0f);
    const auto played = instrument.playKey (1);
    EXPECT_GT (played.getMagnitude (0, played.getNumSamples()), 0.001f);
}

TEST (HostileInput, AListOfAThousandEntriesLoadsAndTheNextDropPlays)
{
    const AudioFixtures::TempFolder folder;
    std::vector<juce::File> files;

    for (auto i = 0; i < 10; ++i)
    {
        files.push_back (folder.file ("tiny " + juce::String (i) + (i % 2 == 0 ? ".wav" : ".flac")));
        ASSERT_TRUE (AudioFixtures::writeSine (files.back(), 22050.0, 1, 0.02, 440.0));
    }

    // Every third entry names nothing.
    juce::StringArray paths;
    auto readable = 0;

    for (auto i = 0; i < 1000; ++i)
    {
        if (i % 3 == 2)
        {
            paths.add (folder.file ("missing " + juce::String (i) + ".wav").getFullPathName());
        }
        else
        {
            paths.add (files[(size_t) (i % 10)].getFullPathName());
            ++readable;
        }
    }

    Instrument instrument;
    instrument.drop (paths);
    auto buffer = instrument.playAllKeys();

    // With a thousand files, "every thousandth key from the file's index, below
    // 128 - 1000" holds no key at all: every sound loads, none answers.
    EXPECT_EQ (instrument.processor.synth.getNumSounds(), readable);
    EXPECT_EQ (buffer.getMagnitude (0, buffer.getNumSamples()), 0.0f);

    // The next drop replaces them all, and a note plays.
    instrument.drop ({ files.front().getFullPathName() });
    buffer = instrument.playKey (60);
    EXPECT_EQ (instrument.processor.synth.getNumSounds(), 1);
    EXPECT_GT (buffer.getMagnitude (0, buffer.getNumSamples()), 0.001f);
    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());
}
