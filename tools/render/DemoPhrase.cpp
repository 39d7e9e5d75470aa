#include "DemoPhrase.h"

namespace
{
struct PhraseNote
{
    double beat;
    int key;
    double beats;
    juce::uint8 velocity;
};

// Broken chords in C: Cmaj7, Am7, Fmaj7, G then a held C chord. The velocities rise
// and fall so that the velocity-dependent knobs have something to act on.
constexpr PhraseNote phraseNotes[] = {
    { 0.0, 48, 2.0, 100 }, { 0.0, 60, 0.5, 96 }, { 0.5, 64, 0.5, 70 }, { 1.0, 67, 0.5, 84 }, { 1.5, 71, 0.5, 66 },
    { 2.0, 72, 1.0, 104 }, { 3.0, 67, 1.0, 72 },
    { 4.0, 45, 2.0, 96 },  { 4.0, 57, 0.5, 90 }, { 4.5, 60, 0.5, 64 }, { 5.0, 64, 0.5, 80 }, { 5.5, 67, 0.5, 62 },
    { 6.0, 69, 1.0, 100 }, { 7.0, 64, 1.0, 70 },
    { 8.0, 41, 2.0, 92 },  { 8.0, 57, 0.5, 86 }, { 8.5, 60, 0.5, 60 }, { 9.0, 64, 0.5, 78 }, { 9.5, 65, 0.5, 58 },
    { 10.0, 69, 1.0, 96 }, { 11.0, 67, 0.5, 74 }, { 11.5, 62, 0.5, 68 },
    { 12.0, 36, 3.0, 110 }, { 12.0, 48, 3.0, 92 }, { 12.0, 55, 3.0, 84 }, { 12.0, 64, 3.0, 88 },
    { 12.5, 67, 2.5, 70 },  { 13.0, 72, 2.0, 100 },
};

constexpr double openingTempo = 112.0; // quarter notes per minute
constexpr double closingTempo = 84.0;  // from the last bar on
constexpr double closingBar = 12.0;    // in beats

double ticksAt (double beat)
{
    return beat * DemoPhrase::ticksPerQuarterNote;
}
} // namespace

juce::MidiFile DemoPhrase::create()
{
    juce::MidiMessageSequence tempoTrack;
    tempoTrack.addEvent (juce::MidiMessage::timeSignatureMetaEvent (4, 4), 0.0);
    tempoTrack.addEvent (juce::MidiMessage::tempoMetaEvent (juce::roundToInt (60.0e6 / openingTempo)), 0.0);
    tempoTrack.addEvent (juce::MidiMessage::tempoMetaEvent (juce::roundToInt (60.0e6 / closingTempo)),
                         ticksAt (closingBar));

    juce::MidiMessageSequence noteTrack;

    for (const auto& note : phraseNotes)
    {
        noteTrack.addEvent (juce::MidiMessage::noteOn (1, note.key, note.velocity), ticksAt (note.beat));
        noteTrack.addEvent (juce::MidiMessage::noteOff (1, note.key), ticksAt (note.beat + note.beats));
    }

    noteTrack.updateMatchedPairs();

    juce::MidiFile file;
    file.setTicksPerQuarterNote (ticksPerQuarterNote);
    file.addTrack (tempoTrack);
    file.addTrack (noteTrack);
    return file;
}
