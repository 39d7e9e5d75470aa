#pragma once

#include <juce_core/juce_core.h>

#include <atomic>
#include <cstdint>

/** The random source of the notes: SplitMix64 over a single atomic word, so that the
    audio thread draws without locking or allocating while another thread may reseed.

    One seed always gives the same sequence of draws; a render that starts from a seed
    and plays the same MIDI in the same blocks therefore sounds the same every time.
*/
class SeededRandom
{
public:
    /** Starts from a seed of its own, different in every instance and run. */
    SeededRandom();

    void setSeed (std::uint64_t seed) noexcept;
    void setSeedRandomly();

    /** Seeds from a whole decimal number (other text counts by its leading digits, as
        juce::String reads numbers), or randomly when the text is empty. */
    void setSeedFromText (const juce::String& text);

    /** A value in [0, 1), with 24 bits of randomness as a float holds them. */
    float nextFloat() noexcept;

private:
    std::atomic<std::uint64_t> state { 0 };

    JUCE_DECLARE_NON_COPYABLE (SeededRandom)
};
