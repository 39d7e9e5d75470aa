#include "ToneMeter.h"

#include <algorithm>
#include <cmath>

void ToneMeter::add (float left, float right, bool inLevelWindow)
{
    // Crossings at sub-sample positions, interpolated between the two frames around
    // them; the pitch is the number of periods between the first and the last one.
    if (previousLeft < 0.0f && left >= 0.0f)
    {
        const auto position = static_cast<double> (frames - 1) + static_cast<double> (previousLeft / (previousLeft - left));
        lastCrossing = position;

        if (crossings++ == 0)
            firstCrossing = position;
    }

    previousLeft = left;
    ++frames;

    for (const auto sample : { left, right })
    {
        finite = finite && std::isfinite (sample);
        highest = std::max (highest, std::abs (sample));
    }

    if (inLevelWindow)
    {
        sumOfSquares += static_cast<double> (left) * left + static_cast<double> (right) * right;
        ++windowFrames;
    }
}

double ToneMeter::frequency() const
{
    return crossings > 1 ? (crossings - 1) * rate / (lastCrossing - firstCrossing) : 0.0;
}

double ToneMeter::rms() const
{
    return windowFrames > 0 ? std::sqrt (sumOfSquares / (2.0 * static_cast<double> (windowFrames))) : 0.0;
}
