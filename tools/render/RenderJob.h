#pragma once

#include "RenderOptions.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <ostream>

class HostedInstrument;
class InstrumentState;
class MidiScore;

/** One run of the renderer: gathers the inputs, loads the instrument, applies the
    state and parameters, renders, writes the files and prints the summary. */
class RenderJob
{
public:
    RenderJob (RenderOptions optionsToUse, std::ostream& outputStream);

    /** Throws RenderFailure when an input or output is at fault. */
    void run();

private:
    /** Puts the samples found in the --search-dir folders into the state's list. */
    void findMovedSamples (InstrumentState& state);
    void printParameters (HostedInstrument& instrument);
    void writeFiles (const juce::AudioBuffer<float>& audio) const;
    void printSummary (HostedInstrument& instrument, const MidiScore& score, const juce::AudioBuffer<float>& audio,
                       const juce::String& samples);
    juce::String describeMidi (bool fullPath) const;

    RenderOptions options;
    std::ostream& out;
};
