#include "WavFileOutput.h"

#include "OutputPath.h"
#include "RenderFailure.h"

void WavFileOutput::write (const juce::File& file, const juce::AudioBuffer<float>& audio, double sampleRate,
                           int bitsPerSample)
{
    const auto fail = [&file] (const juce::String& why)
    {
        throw RenderFailure (ExitCode::outputFailed, "can't write " + file.getFullPathName() + ": " + why);
    };

    OutputPath::checkWritable (file);

    // Written beside the target and moved over it at the end, so an interrupted or
    // failed write never leaves a truncated file under the requested name.
    juce::TemporaryFile temporary (file);
    auto stream = std::make_unique<juce::FileOutputStream> (temporary.getFile());

    if (! stream->openedOk())
        fail (stream->getStatus().getErrorMessage());

    juce::WavAudioFormat wav;
    // The WAV writer stores IEEE float samples when asked for 32 bits.
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (stream.get(), sampleRate, static_cast<unsigned int> (audio.getNumChannels()),
                             bitsPerSample, {}, 0));

    if (writer == nullptr)
        fail ("the WAV writer refused " + juce::String (bitsPerSample) + "-bit audio at "
              + juce::String (sampleRate) + " Hz");

    stream.release(); // the writer owns the stream now

    if (! writer->writeFromAudioSampleBuffer (audio, 0, audio.getNumSamples()) || ! writer->flush())
        fail ("the disk refused the data");

    writer.reset(); // closes the file and completes the header

    if (! temporary.overwriteTargetFileWithTemporary())
        fail ("the finished file couldn't be moved into place");
}
