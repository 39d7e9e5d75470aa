#include "sampler/SeededRandom.h"

// The audio thread draws from it: an atomic that needed a lock would defeat the point.
static_assert (std::atomic<std::uint64_t>::is_always_lock_free);

namespace
{
// The step of SplitMix64's counter: the golden ratio as a 64-bit fraction.
constexpr std::uint64_t counterStep = 0x9e3779b97f4a7c15ULL;
} // namespace

SeededRandom::SeededRandom()
{
    setSeedRandomly();
}

void SeededRandom::setSeed (std::uint64_t seed) noexcept
{
    state.store (seed, std::memory_order_relaxed);
}

void SeededRandom::setSeedRandomly()
{
    // A fresh juce::Random seeds itself from the clock and a process-wide counter.
    setSeed ((std::uint64_t) juce::Random().nextInt64());
}

void SeededRandom::setSeedFromText (const juce::String& text)
{
    if (text.trim().isEmpty())
    {
        setSeedRandomly();
        return;
    }

    // Read as juce::String reads a whole number, but in unsigned arithmetic throughout:
    // JUCE negates the lowest 64-bit number as a signed one (undefined behaviour), and a
    // project may hold any text here.
    auto c = text.getCharPointer().findEndOfWhitespace();
    const auto negative = *c == '-';
    std::uint64_t value = 0;

    for (c += negative ? 1 : 0; *c >= '0' && *c <= '9'; ++c)
        value = value * 10 + (std::uint64_t) (*c - '0');

    setSeed (negative ? 0 - value : value);
}

float SeededRandom::nextFloat() noexcept
{
    // One atomic step of the counter per draw; the mixing that follows works on a copy.
    auto z = state.fetch_add (counterStep, std::memory_order_relaxed) + counterStep;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    z ^= z >> 31;

    return (float) (z >> 40) * (1.0f / 16777216.0f);
}
