#pragma once

#include <juce_core/juce_core.h>

#include <memory>

/** A sample file's bytes as the audio decoders read them, ending at the first read that
    brings nothing.

    JUCE's FLAC and MP3 readers ask for more bytes for as long as the stream does not
    say it is exhausted, and a file stream says so only once its position reaches the
    file's length. A read that fails (a directory, a disk or network error, a descriptor
    that went away) brings nothing and leaves the position short of the length, and a
    decoder would ask again for ever, holding the loader and everything that waits for
    it. Here such a read ends the stream, and the decoder stops with what it has.
*/
class SampleFileStream final : public juce::InputStream
{
public:
    explicit SampleFileStream (std::unique_ptr<juce::InputStream> source);

    /** Opens a regular file (not a directory, pipe or device), or returns nullptr. */
    static std::unique_ptr<SampleFileStream> open (const juce::File& file);

    /** True once a read failed (brought nothing) before the end of the file. */
    bool failedBeforeItsEnd();

    juce::int64 getTotalLength() override;
    bool isExhausted() override;
    int read (void* destBuffer, int maxBytesToRead) override;
    juce::int64 getPosition() override;
    bool setPosition (juce::int64 newPosition) override;

private:
    std::unique_ptr<juce::InputStream> source;
    bool ended = false;
};
