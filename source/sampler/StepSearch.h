#pragma once

#include <cstdint>
#include <limits>

/** Counting steps of a closed form: how many steps until a stage, or a sample, ends. */
namespace StepSearch
{
/** A count that stands for "not within any render". */
constexpr auto never = std::numeric_limits<std::int64_t>::max() / 2;

/** The first k >= 1 for which reached (k) holds, reached being monotonic in k. The
    estimate comes from the closed form and is exact to within rounding, so it is moved
    by a step or two until it is the first k that reaches the end. */
template <typename Reached>
std::int64_t firstStep (double estimate, Reached reached) noexcept
{
    auto steps = estimate < 1.0 ? std::int64_t { 1 }
               : estimate < (double) never ? (std::int64_t) estimate : never;

    while (steps > 1 && reached (steps - 1))
        --steps;

    while (steps < never && ! reached (steps))
        ++steps;

    return steps;
}
} // namespace StepSearch
