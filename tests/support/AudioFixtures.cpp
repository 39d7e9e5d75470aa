#include "support/AudioFixtures.h"

#include <cmath>

namespace AudioFixtures
{

// A random part in the name: test processes run side by side, and a numbered name
// would let two of them pick the same folder and delete it under each other.
TempFolder::TempFolder()
    : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                  .getChildFile ("sampivo-test-" + juce::String::toHexString (juce::Random().nextInt64())))
{
    folder.createDirectory();
}

bool writeAudioFile (const juce::File& file, double sampleRate, int numChannels, int numSamples,
                     const std::function<float (int, int)>& generator, int bitsPerSample)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    auto* format = formats.findFormatForFileExtension (file.getFileExtension());
    file.deleteFile();
    auto stream = file.createOutputStream();
    std::unique_ptr<juce::AudioFormatWriter> writer (format == nullptr || stream == nullptr ? nullptr
        : format->createWriterFor (stream.get(), sampleRate, (unsigned int) numChannels, bitsPerSample, {}, 0));

    if (writer == nullptr)
        return false;

    stream.release(); // the writer owns it now
    juce::AudioBuffer<float> buffer (numChannels, numSamples);

    for (auto c = 0; c < numChannels; ++c)
        for (auto i = 0; i < numSamples; ++i)
            buffer.setSample (c, i, generator (c, i));

    return writer->writeFromAudioSampleBuffer (buffer, 0, numSamples);
}

bool writeSine (const juce::File& file, double sampleRate, int numChannels, double seconds, double frequency, float amplitude)
{
    return writeAudioFile (file, sampleRate, numChannels, (int) std::lround (seconds * sampleRate), [&] (int, int i)
    {
        return amplitude * (float) std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate);
    });
}

bool writeSineMp3 (const juce::File& file, double sampleRate, double seconds, double frequency)
{
    const auto wav = file.withFileExtension ("source.wav");
    juce::ChildProcess lame;

    const auto sine = [&] (int, int i) { return 0.5f * (float) std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate); };

    if (! juce::File ("/usr/bin/lame").existsAsFile() || ! writeAudioFile (wav, sampleRate, 1, (int) std::lround (seconds * sampleRate), sine, 16)
        || ! lame.start (juce::StringArray { "/usr/bin/lame", "--quiet", "-b", "128", wav.getFullPathName(), file.getFullPathName() }))
        return false;

    lame.waitForProcessToFinish (60000);
    wav.deleteFile();
    return lame.getExitCode() == 0 && file.existsAsFile();
}

} // namespace AudioFixtures
