#include "RenderJob.h"

#include "BundleFinder.h"
#include "ChannelLevels.h"
#include "DefaultTone.h"
#include "DemoPhrase.h"
#include "DroppedNoteEstimator.h"
#include "HostedInstrument.h"
#include "MidiScore.h"
#include "OfflineRenderer.h"
#include "OutputPath.h"
#include "RenderFailure.h"
#include "sampler/SampleRelinker.h"
#include "TerminalProgress.h"
#include "WaveformPlot.h"
#include "WavFileOutput.h"

#include <iostream>
#include <memory>

namespace
{
/** Checks that every --sample is an audio file the instrument's formats can read,
    so a typo is reported instead of rendering silence. */
void checkSamplesReadable (const juce::Array<juce::File>& samples)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();

    for (const auto& sample : samples)
    {
        if (! sample.existsAsFile())
            throw RenderFailure (ExitCode::unreadableInput, "no sample file at " + sample.getFullPathName());

        if (std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (sample)); reader == nullptr)
            throw RenderFailure (ExitCode::unreadableInput,
                                 sample.getFullPathName() + " is not an audio file the instrument can read "
                                 "(WAV, AIFF, FLAC, MP3 or Ogg Vorbis)");
    }
}

/** A saved state may name files that have since moved. The instrument skips them
    silently, as it does in a DAW; the renderer says so, and renders on. */
void warnAboutUnreadableFiles (const juce::StringArray& paths)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();

    for (const auto& path : paths)
    {
        if (! juce::File::isAbsolutePath (path))
        {
            std::cerr << "sampivo-render: warning: the sample " << path
                      << " is not a full path, which the instrument needs; its keys stay silent" << std::endl;
            continue;
        }

        const juce::File file (path);
        std::unique_ptr<juce::AudioFormatReader> reader (file.existsAsFile() ? formats.createReaderFor (file)
                                                                               : nullptr);

        if (reader == nullptr)
            std::cerr << "sampivo-render: warning: can't read the sample " << path << "; its keys stay silent"
                      << std::endl;
    }
}

juce::String describeSamples (const juce::StringArray& files)
{
    return files.size() == 1 ? files[0] : juce::String (files.size()) + " files, alternating across the keys";
}
} // namespace

RenderJob::RenderJob (RenderOptions optionsToUse, std::ostream& outputStream)
    : options (std::move (optionsToUse)), out (outputStream)
{
}

void RenderJob::run()
{
    // Inputs first, so that a bad file is reported before the plug-in is loaded.
    const auto score = options.midiFile.has_value() ? MidiScore::fromFile (*options.midiFile)
                                                    : MidiScore::fromMidiFile (DemoPhrase::create());
    const auto savedState = options.stateFile.has_value()
                                ? std::make_unique<const InstrumentState> (InstrumentState::fromFile (*options.stateFile))
                                : nullptr;
    checkSamplesReadable (options.samples);

    for (const auto& target : { options.outputFile, options.pngFile })
        if (target.has_value())
            OutputPath::checkWritable (*target);

    OfflineRenderer::Settings settings;
    settings.sampleRate = options.sampleRate;
    settings.blockSize = options.blockSize;
    settings.tailSeconds = options.tailSeconds;
    const auto totalSamples = OfflineRenderer::lengthInSamples (score, settings);

    HostedInstrument instrument (BundleFinder::choose (options.plugin), settings.sampleRate, settings.blockSize);

    // The state to restore: the saved one, or the fresh instrument's own, with the
    // sample list replaced by --sample files or, when nothing names a sample, the tone.
    // The tone's file must outlive the instrument's reading of it, so it is declared here.
    auto state = savedState != nullptr ? *savedState : instrument.getState();
    std::unique_ptr<DefaultTone> tone;

    if (! options.samples.isEmpty())
        state.setSampleFiles (options.samples);
    else if (state.getSampleFiles().isEmpty())
    {
        tone = std::make_unique<DefaultTone>();
        state.setSampleFiles ({ tone->getFile() });
    }

    if (! options.searchFolders.isEmpty())
        findMovedSamples (state);

    if (options.seed.has_value())
        state.setSeed (*options.seed);

    instrument.setState (state);
    warnAboutUnreadableFiles (state.getSampleFiles());

    for (const auto& setting : options.settings)
        instrument.setParameter (setting.id, setting.value);

    if (options.listParameters)
        printParameters (instrument);

    TerminalProgress progress (out, TerminalProgress::isTerminal(), totalSamples / settings.sampleRate);
    const auto audio = OfflineRenderer::render (instrument.getPlugin(), score, settings,
                                                [&progress] (double fraction) { progress.update (fraction); });
    progress.finish();

    writeFiles (audio);
    printSummary (instrument, score, audio,
                  tone != nullptr ? juce::String ("the built-in tone") : describeSamples (state.getSampleFiles()));
}

void RenderJob::findMovedSamples (InstrumentState& state)
{
    const auto result = SampleRelinker::relink (state.getSampleFiles(), options.searchFolders);
    juce::Array<juce::File> files;

    for (const auto& entry : result.entries)
        files.add (juce::File::getCurrentWorkingDirectory().getChildFile (entry));

    state.setSampleFiles (files);
    out << "Found:    " << result.found << " of " << (result.found + result.missing) << " missing samples\n";

    if (result.gaveUp)
        std::cerr << "sampivo-render: warning: the search stopped after " << SampleRelinker::maxEntriesSearched
                  << " files" << std::endl;
}

void RenderJob::printParameters (HostedInstrument& instrument)
{
    out << "Parameters:\n";

    for (const auto& id : instrument.getParameterIds())
    {
        const auto* parameter = instrument.findParameter (id);
        out << "  " << id.paddedRight (' ', 10) << parameter->getName (32).paddedRight (' ', 20)
            << juce::String (parameter->getValue(), 4).paddedRight (' ', 8) << parameter->getCurrentValueAsText()
            << "\n";
    }
}

void RenderJob::writeFiles (const juce::AudioBuffer<float>& audio) const
{
    if (options.outputFile.has_value())
        WavFileOutput::write (*options.outputFile, audio, options.sampleRate, options.bitsPerSample);

    if (options.pngFile.has_value())
    {
        const auto title = "Vantrel Sampivo  |  " + describeMidi (false) + "  |  "
                           + juce::String (audio.getNumSamples() / options.sampleRate, 2) + " s at "
                           + juce::String (options.sampleRate, 0) + " Hz";
        WaveformPlot::writePng (*options.pngFile, audio, options.sampleRate, title);
    }
}

void RenderJob::printSummary (HostedInstrument& instrument, const MidiScore& score,
                              const juce::AudioBuffer<float>& audio, const juce::String& samples)
{
    // Only a Probability below 100 % can drop a note; then the count has to come from the audio.
    const auto* probability = instrument.findParameter ("probabl");
    const auto canDrop = probability == nullptr || probability->getValue() < 1.0f;
    const auto dropped = canDrop ? DroppedNoteEstimator::countDropped (audio, score, options.sampleRate) : 0;
    const auto left = ChannelLevels::measure (audio, 0);
    const auto right = ChannelLevels::measure (audio, 1);

    out << "Plug-in:  " << instrument.getBundle().getFullPathName() << "\n"
        << "Samples:  " << samples << "\n"
        << "MIDI:     " << describeMidi (true) << "\n"
        << "Length:   " << juce::String (audio.getNumSamples() / options.sampleRate, 3) << " s ("
        << audio.getNumSamples() << " samples at " << juce::String (options.sampleRate, 0) << " Hz, "
        << juce::String (options.tailSeconds, 2) << " s tail)\n"
        << "Peak:     L " << ChannelLevels::toDecibelText (left.peak) << " dBFS   R "
        << ChannelLevels::toDecibelText (right.peak) << " dBFS\n"
        << "RMS:      L " << ChannelLevels::toDecibelText (left.rms) << " dBFS   R "
        << ChannelLevels::toDecibelText (right.rms) << " dBFS\n"
        << "Notes:    " << score.getNumNoteOns() << " started, " << dropped << " dropped by probability"
        << (canDrop ? " (estimated from the audio: no sound began after the note-on)" : " (Probability is at 100 %)")
        << "\n";

    if (options.outputFile.has_value())
        out << "Audio:    " << options.outputFile->getFullPathName() << " (" << options.bitsPerSample
            << (options.bitsPerSample == 32 ? "-bit float" : "-bit") << " WAV)\n";

    if (options.pngFile.has_value())
        out << "Picture:  " << options.pngFile->getFullPathName() << "\n";

    if (options.outputFile.has_value() && options.bitsPerSample == 24 && juce::jmax (left.peak, right.peak) > 1.0f)
        out << "Warning:  the peak is above 0 dBFS, so the 24-bit file is clipped: turn Volume down "
               "(e.g. --set volume=0.4) or write 32-bit float (--bits 32)\n";

    out << std::flush;
}

juce::String RenderJob::describeMidi (bool fullPath) const
{
    if (! options.midiFile.has_value())
        return fullPath ? "the built-in phrase" : "built-in phrase";

    return fullPath ? options.midiFile->getFullPathName() : options.midiFile->getFileName();
}
