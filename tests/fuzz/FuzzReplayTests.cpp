// The fuzzing target in every test run, with any compiler: the seeds, every cut of
// their first 64 bytes, then mutated seeds from a seeded generator, the same inputs on
// every machine. SAMPIVO_FUZZ_RUNS and SAMPIVO_FUZZ_SEED run more or other mutations;
// SAMPIVO_FUZZ_INPUT replays one file (a crash found elsewhere) first.
#include "StateFuzzTarget.h"
#include "support/ByteMutator.h"

#include <gtest/gtest.h>

TEST (StateFuzz, RestoringDamagedBlocksKeepsTheInstrumentConsistent)
{
    // Fragments that tend to matter to an XML reader and a UTF-8 decoder.
    const std::vector<std::string> tokens {
        "<", ">", "/>", "</settings>", "\"", "'", "=", "&", "&#x", "&#10;", "&amp;", "&#xFFFFFFFF;",
        "<a>", "<!--", "-->", "<![CDATA[", "]]>", "<?", "?>", "<!DOCTYPE x [<!ENTITY e \"&e;\">]>", "&e;",
        "\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xff", std::string (1, '\0'), "settings", "SETTINGS",
        " volume=\"", " filenames=\"", "1e999", "nan", "-0", "0x1p3"
    };
    const auto environment = [] (const char* name, const char* fallback) { return juce::SystemStats::getEnvironmentVariable (name, fallback); };
    const auto seeds = StateFuzz::seeds();
    StateFuzz::Harness harness;
    std::vector<ByteMutator::Bytes> inputs;

    if (juce::MemoryBlock block; juce::File (environment ("SAMPIVO_FUZZ_INPUT", "/")).loadFileAsData (block))
        inputs.emplace_back (static_cast<const uint8_t*> (block.getData()), static_cast<const uint8_t*> (block.getData()) + block.getSize());

    for (const auto& seed : seeds)
        for (size_t length = 0; length <= std::min<size_t> (seed.size(), 64); ++length)
            inputs.emplace_back (seed.begin(), seed.begin() + (std::ptrdiff_t) (length < 64 ? length : seed.size()));

    ByteMutator::Generator random ((uint64_t) environment ("SAMPIVO_FUZZ_SEED", "1").getLargeIntValue());

    for (auto run = environment ("SAMPIVO_FUZZ_RUNS", "20000").getLargeIntValue(); run > 0; --run)
    {
        auto& input = inputs.emplace_back (seeds[random.below (seeds.size())]);
        ByteMutator::mutate (input, seeds, tokens, random);

        // Half the time the length word is made to match the damaged text, so that the
        // damage reaches the reader instead of the wrapping's checks.
        if (input.size() >= 9 && random.below (2) == 0)
            for (size_t i = 0; i < 4; ++i)
                input[4 + i] = (uint8_t) ((input.size() - 9) >> (8 * i));
    }

    for (size_t i = 0; i < inputs.size(); ++i)
        ASSERT_EQ (harness.restoreAndCheck (inputs[i].data(), inputs[i].size()), "") << "input " << i << " of " << inputs.size();
}
