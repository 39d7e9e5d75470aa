#include "MidiScore.h"

#include "RenderFailure.h"

#include <algorithm>
#include <vector>

MidiScore MidiScore::fromFile (const juce::File& file)
{
    if (! file.existsAsFile())
        throw RenderFailure (ExitCode::unreadableInput, "no MIDI file at " + file.getFullPathName());

    juce::FileInputStream stream (file);

    if (! stream.openedOk())
        throw RenderFailure (ExitCode::unreadableInput, "can't open the MIDI file " + file.getFullPathName());

    juce::MidiFile midiFile;

    if (! midiFile.readFrom (stream, true) || midiFile.getNumTracks() == 0)
        throw RenderFailure (ExitCode::unreadableInput,
                             file.getFullPathName() + " is not a readable Standard MIDI File");

    return fromMidiFile (std::move (midiFile));
}

MidiScore MidiScore::fromMidiFile (juce::MidiFile midiFile)
{
    // Converts every track with the tempo events gathered from all tracks, so a tempo
    // map on a conductor track applies to the notes on the others.
    midiFile.convertTimestampTicksToSeconds();

    MidiScore score;
    std::vector<juce::MidiMessage> channelMessages;

    for (auto trackIndex = 0; trackIndex < midiFile.getNumTracks(); ++trackIndex)
    {
        const auto* track = midiFile.getTrack (trackIndex);

        for (const auto* holder : *track)
        {
            const auto& message = holder->message;
            score.endSeconds = juce::jmax (score.endSeconds, message.getTimeStamp());

            if (message.isMetaEvent() || message.isSysEx())
                continue;

            channelMessages.push_back (message);

            if (message.isNoteOn())
                ++score.numNoteOns;
        }
    }

    // Events at the same instant keep their track order, except that note-offs go
    // first: a key that is released and struck again at once must restart, not stop.
    std::stable_sort (channelMessages.begin(), channelMessages.end(),
                      [] (const juce::MidiMessage& a, const juce::MidiMessage& b)
                      {
                          if (a.getTimeStamp() != b.getTimeStamp())
                              return a.getTimeStamp() < b.getTimeStamp();

                          return a.isNoteOff() && ! b.isNoteOff();
                      });

    for (const auto& message : channelMessages)
        score.events.addEvent (message);

    return score;
}
