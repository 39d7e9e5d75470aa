#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The phrase played when no MIDI file is given: four bars of broken chords around
    middle C with a slower last bar, so the demo also passes through a tempo change. */
class DemoPhrase
{
public:
    /** The phrase as a two-track MIDI file (tempo track and note track), time stamps in ticks. */
    static juce::MidiFile create();

    static constexpr int ticksPerQuarterNote = 480;
};
