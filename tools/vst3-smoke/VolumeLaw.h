#pragma once

// The level the instrument should give a note, worked out here from the volume law
// itself so that the smoke test does not trust the plug-in's own arithmetic:
//
//   - the Volume parameter v (normalised 0..1) scales by 10^1.9 * v^3;
//   - with "Vel > Volume" at 100 % and no random level, a note of velocity u is
//     scaled again by u^3;
//   - a centred pan gives each side sqrt(1/2) of that (equal power).
//
// The sample's own amplitude multiplies all of it.
class VolumeLaw
{
public:
    VolumeLaw (double volumeValue, double noteVelocity) : volume (volumeValue), velocity (noteVelocity) {}

    // The linear gain from a sample value to one output side.
    double gainPerSide() const;

    // The RMS of one output side for a steady sine of the given peak amplitude.
    double sineRmsPerSide (double samplePeak) const;

private:
    const double volume, velocity;
};
