#pragma once

#include "MidiScore.h"

#include <juce_audio_basics/juce_audio_basics.h>

/** Counts the note-ons after which no new sound begins in a render.

    The plug-in is a closed box to the renderer, so a note dropped by the instrument's
    probability can only be seen in the output: a note that plays adds energy right
    after its note-on, a dropped one doesn't. For each note-on, the RMS level of the
    window just after it is compared with the window just before it; when it hasn't
    risen by at least riseDecibels (and above the silence floor), the note counts as
    dropped. Note-ons closer together than a window form one group (a chord): the
    group counts as played when any sound begins, so a chord that loses only some of
    its notes is not counted. A note whose start is masked by much louder ringing
    notes can be taken for dropped; the count is an estimate. */
class DroppedNoteEstimator
{
public:
    static int countDropped (const juce::AudioBuffer<float>& audio, const MidiScore& score, double sampleRate);

    static constexpr double windowSeconds = 0.03;
    static constexpr double riseDecibels = 1.0;
    static constexpr double silenceFloor = 1.0e-5; // -100 dBFS
};
