#pragma once

// Measures one rendered note: its pitch from the upward zero crossings of the left
// channel, its level as the RMS of each channel over a steady stretch (the caller
// leaves out the attack and the release), its peak, and whether every sample was
// finite.
class ToneMeter
{
public:
    explicit ToneMeter (double sampleRate) : rate (sampleRate) {}

    // One stereo sample frame; inLevelWindow marks the frames the RMS is taken over.
    void add (float left, float right, bool inLevelWindow);

    double frequency() const;  // Hz; 0 with fewer than two crossings
    double rms() const;        // per channel, over the level window; 0 when empty
    float peak() const noexcept { return highest; }
    bool allFinite() const noexcept { return finite; }

private:
    const double rate;
    long frames = 0;
    float previousLeft = 0.0f;
    double firstCrossing = -1.0, lastCrossing = -1.0;
    int crossings = 0;
    double sumOfSquares = 0.0;
    long windowFrames = 0;
    float highest = 0.0f;
    bool finite = true;
};
