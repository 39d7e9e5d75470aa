#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The notes to play: every track of a Standard MIDI File merged into one sequence
    whose time stamps are seconds, with the file's tempo map applied. */
class MidiScore
{
public:
    /** Reads a file; throws RenderFailure (unreadableInput) when it can't be read or
        isn't a Standard MIDI File. */
    static MidiScore fromFile (const juce::File& file);

    /** Merges an in-memory MIDI file (time stamps in ticks, as read or as built). */
    static MidiScore fromMidiFile (juce::MidiFile midiFile);

    /** The channel messages (notes, controllers, pitch wheel ...) in time order,
        time stamps in seconds. Meta events are left out: the plug-in has no use for them. */
    const juce::MidiMessageSequence& getEvents() const noexcept { return events; }

    /** The time of the last event of any track, end-of-track markers included. */
    double getEndSeconds() const noexcept { return endSeconds; }

    /** The number of note-ons (velocity above zero). */
    int getNumNoteOns() const noexcept { return numNoteOns; }

private:
    juce::MidiMessageSequence events;
    double endSeconds = 0.0;
    int numNoteOns = 0;
};
