#pragma once

#include "processor/VantrelSampivoAudioProcessor.h"

#include <cstdint>
#include <string>
#include <vector>

/** The saved-state fuzzing target, shared by libFuzzer's entry point and the replay
    that every test run makes. */
namespace StateFuzz
{
/** Real saved blocks written by the processor (fresh, every value moved, a file list
    with awkward characters, an unknown property) and a few wrapped hand-made documents. */
std::vector<std::vector<uint8_t>> seeds();

/** Restores bytes into a processor of its own that starts from the same fresh state
    each time, so that a failure replays on its own. */
class Harness
{
public:
    Harness() { processor.getStateInformation (baseline); }

    /** Returns the first rule that restoring the bytes breaks, or an empty string. */
    std::string restoreAndCheck (const uint8_t* data, size_t size);

private:
    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock baseline;
};
} // namespace StateFuzz
