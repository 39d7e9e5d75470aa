#include "support/AudioFixtures.h"

#include <cmath>

namespace AudioFixtures
{

// A random part in the name: test processes run side by side, and a plain numbered
// name lets two of them pick the same folder and delete it under each other.
TempFolder::TempFolder()
    : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                  .getNonexistentChildFile ("sampivo-test-" + juce::String::toHexString (juce::Random().nextInt64()),
                                            {}, false))
{
    folder.createDirectory();
}

TempFolder::~TempFolder()
{
    folder.deleteRecursively();
}

bool writeAudioFile (const juce::File& file, double sampleRate, int numChannels, int numSamples,
                     const Generator& generator, int bitsPerSample)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();

    auto* format = formats.findFormatForFileExtension (file.getFileExtension());

    if (format == nullptr)
        return false;

    file.deleteFile();
    auto stream = file.createOutputStream();

    if (stream == nullptr)
        return false;

    std::unique_ptr<juce::AudioFormatWriter> writer (
        format->createWriterFor (stream.get(), sampleRate, (unsigned int) numChannels, bitsPerSample, {}, 0));

    if (writer == nullptr)
        return false;

    stream.release(); // the writer owns it now

    juce::AudioBuffer<float> buffer (numChannels, numSamples);

    for (auto c = 0; c < numChannels; ++c)
        for (auto i = 0; i < numSamples; ++i)
            buffer.setSample (c, i, generator (c, i));

    return writer->writeFromAudioSampleBuffer (buffer, 0, numSamples);
}

bool writeSine (const juce::File& file, double sampleRate, int numChannels, double seconds,
                double frequency, float amplitude)
{
    const auto numSamples = (int) std::lround (seconds * sampleRate);
    return writeAudioFile (file, sampleRate, numChannels, numSamples, [&] (int, int i)
    {
        return amplitude * (float) std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate);
    });
}

bool writeConstant (const juce::File& file, double sampleRate, int numChannels, int numSamples, float level)
{
    return writeAudioFile (file, sampleRate, numChannels, numSamples, [level] (int, int) { return level; });
}

bool writeSineMp3 (const juce::File& file, double sampleRate, double seconds, double frequency)
{
    const auto lame = juce::File ("/usr/bin/lame");

    if (! lame.existsAsFile())
        return false;

    const auto wav = file.withFileExtension ("source.wav");

    if (! writeAudioFile (wav, sampleRate, 1, (int) std::lround (seconds * sampleRate), [&] (int, int i)
        { return 0.5f * (float) std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate); }, 16))
        return false;

    juce::ChildProcess process;

    if (! process.start (juce::StringArray { lame.getFullPathName(), "--quiet", "-b", "128",
                                             wav.getFullPathName(), file.getFullPathName() }))
        return false;

    process.waitForProcessToFinish (60000);
    wav.deleteFile();
    return process.getExitCode() == 0 && file.existsAsFile();
}

} // namespace AudioFixtures
