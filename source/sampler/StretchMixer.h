#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The voice's inner loop: adds a stretch of a sample, read at a fractional step with
    linear interpolation and scaled by a gain per output sample and a gain per side,
    into the output.

    It works four output samples at a time. The read positions are stepped in fixed
    point (an index and a 32-bit fraction per lane), so that no position waits for the
    one before it and no conversion from double is made per sample; each output's pair
    of neighbouring source samples is read with one 64-bit load.
*/
class StretchMixer
{
public:
    /** What is read, from where and how loud. */
    struct Source
    {
        const juce::AudioBuffer<float>& audio;  // 1 or 2 channels
        double start;                            // the first read position, in samples
        double step;                             // positions advanced per output sample
        float leftGain, rightGain;
    };

    /** The longest stretch mixed in one call; a multiple of four. */
    static constexpr int maxLength = 256;

    /** Adds numSamples (at most maxLength) to left, and to right unless it is null, in
        which case both sides are averaged into left. Positions must lie within the
        audio's samples; the last one is read as the one before it with a fraction of
        1, so that interpolation never reads past the data. */
    static void mix (const Source& source, const float* gains, float* left, float* right, int numSamples) noexcept;
};
