#include "sampler/SampleFileStream.h"

#include <filesystem>

SampleFileStream::SampleFileStream (std::unique_ptr<juce::InputStream> sourceToRead)
    : source (std::move (sourceToRead))
{
}

std::unique_ptr<SampleFileStream> SampleFileStream::open (const juce::File& file)
{
    // Opening a pipe would wait for a writer, and a directory or device reads as nothing
    // or without end.
    std::error_code error;

    if (! std::filesystem::is_regular_file (std::filesystem::u8path (file.getFullPathName().toRawUTF8()), error))
        return nullptr;

    if (auto stream = file.createInputStream())
        return std::make_unique<SampleFileStream> (std::move (stream));

    return nullptr;
}

bool SampleFileStream::failedBeforeItsEnd()
{
    return ended && ! source->isExhausted();
}

juce::int64 SampleFileStream::getTotalLength() { return source->getTotalLength(); }

bool SampleFileStream::isExhausted() { return ended || source->isExhausted(); }

int SampleFileStream::read (void* destBuffer, int maxBytesToRead)
{
    const auto got = source->read (destBuffer, maxBytesToRead);
    ended = ended || (got <= 0 && maxBytesToRead > 0);
    return juce::jmax (0, got);
}

juce::int64 SampleFileStream::getPosition() { return source->getPosition(); }

bool SampleFileStream::setPosition (juce::int64 newPosition)
{
    // A seek that fails leaves a file stream's position unknown: nothing more is read.
    ended = ! source->setPosition (newPosition);
    return ! ended;
}
