#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/** Saved-state blocks that start a fuzzing run: real blocks written by the processor
    (fresh, every value moved, a file list with awkward characters, a restored
    unknown property) plus the wrapped texts of a few hand-made documents. */
namespace StateSeeds
{
std::vector<juce::MemoryBlock> makeSeeds();

/** Writes every seed as seed-NN.bin into folder; returns the number written. */
int writeSeeds (const juce::File& folder);
} // namespace StateSeeds
