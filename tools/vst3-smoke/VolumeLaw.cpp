#include "VolumeLaw.h"

#include <cmath>

double VolumeLaw::gainPerSide() const
{
    const auto volumeGain = std::pow (10.0, 1.9) * volume * volume * volume;
    const auto velocityGain = velocity * velocity * velocity;
    return volumeGain * velocityGain * std::sqrt (0.5);
}

double VolumeLaw::sineRmsPerSide (double samplePeak) const
{
    return samplePeak / std::sqrt (2.0) * gainPerSide();
}
