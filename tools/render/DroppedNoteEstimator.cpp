#include "DroppedNoteEstimator.h"

#include "OfflineRenderer.h"

#include <cmath>
#include <vector>

namespace
{
/** RMS over both channels of [start, end), clipped to the buffer. */
double windowRms (const juce::AudioBuffer<float>& audio, juce::int64 start, juce::int64 end)
{
    const auto first = static_cast<int> (juce::jlimit<juce::int64> (0, audio.getNumSamples(), start));
    const auto last = static_cast<int> (juce::jlimit<juce::int64> (0, audio.getNumSamples(), end));

    if (last <= first)
        return 0.0;

    auto sum = 0.0;

    for (auto channel = 0; channel < audio.getNumChannels(); ++channel)
    {
        const auto* samples = audio.getReadPointer (channel);

        for (auto i = first; i < last; ++i)
            sum += static_cast<double> (samples[i]) * samples[i];
    }

    return std::sqrt (sum / ((last - first) * audio.getNumChannels()));
}
} // namespace

int DroppedNoteEstimator::countDropped (const juce::AudioBuffer<float>& audio, const MidiScore& score,
                                        double sampleRate)
{
    const auto window = juce::jmax<juce::int64> (1, OfflineRenderer::samplePositionOf (windowSeconds, sampleRate));
    const auto riseFactor = std::pow (10.0, riseDecibels / 20.0);

    struct Group
    {
        juce::int64 start;
        int notes;
    };

    std::vector<Group> groups;

    for (const auto* holder : score.getEvents())
    {
        if (! holder->message.isNoteOn())
            continue;

        const auto position = OfflineRenderer::samplePositionOf (holder->message.getTimeStamp(), sampleRate);

        if (! groups.empty() && position - groups.back().start < window)
            ++groups.back().notes;
        else
            groups.push_back ({ position, 1 });
    }

    auto dropped = 0;

    for (const auto& group : groups)
    {
        const auto before = windowRms (audio, group.start - window, group.start);
        const auto after = windowRms (audio, group.start, group.start + window);

        if (after <= silenceFloor || after < before * riseFactor)
            dropped += group.notes;
    }

    return dropped;
}
