// The fuzzing targets in every test run, with any compiler: every input once found by a
// fuzzer (findings/), the seeds, every cut of their first 64 bytes, then mutated seeds
// from a seeded generator, the same inputs on every machine. SAMPIVO_FUZZ_RUNS and
// SAMPIVO_FUZZ_SEED run more or other mutations; SAMPIVO_FUZZ_INPUT replays one file (a
// crash found elsewhere) first, through both targets.
#include "AudioFileFuzzTarget.h"
#include "StateFuzzTarget.h"
#include "support/ByteMutator.h"

#include <gtest/gtest.h>

namespace
{
juce::String environment (const char* name, const char* fallback) { return juce::SystemStats::getEnvironmentVariable (name, fallback); }

ByteMutator::Bytes bytesOf (const juce::File& file)
{
    juce::MemoryBlock block;
    file.loadFileAsData (block);
    return { static_cast<const uint8_t*> (block.getData()), static_cast<const uint8_t*> (block.getData()) + block.getSize() };
}

/** The inputs of one target; tweak may adjust each mutated input. */
template <typename Tweak>
std::vector<ByteMutator::Bytes> replayInputs (const char* findingsPrefix, const std::vector<ByteMutator::Bytes>& seeds,
                                              const std::vector<std::string>& tokens, int defaultRuns, Tweak&& tweak)
{
    std::vector<ByteMutator::Bytes> inputs;

    if (const juce::File input (environment ("SAMPIVO_FUZZ_INPUT", "/")); input.existsAsFile())
        inputs.push_back (bytesOf (input));

    for (const auto& finding : juce::File (SAMPIVO_FUZZ_FINDINGS).findChildFiles (juce::File::findFiles, false, juce::String (findingsPrefix) + "*"))
        inputs.push_back (bytesOf (finding));

    for (const auto& seed : seeds)
        for (size_t length = 0; length <= std::min<size_t> (seed.size(), 64); ++length)
            inputs.emplace_back (seed.begin(), seed.begin() + (std::ptrdiff_t) (length < 64 ? length : seed.size()));

    ByteMutator::Generator random ((uint64_t) environment ("SAMPIVO_FUZZ_SEED", "1").getLargeIntValue());

    for (auto run = environment ("SAMPIVO_FUZZ_RUNS", juce::String (defaultRuns).toRawUTF8()).getLargeIntValue(); run > 0; --run)
    {
        auto& input = inputs.emplace_back (seeds[random.below (seeds.size())]);
        ByteMutator::mutate (input, seeds, tokens, random);
        tweak (input, random);
    }

    return inputs;
}
} // namespace

TEST (StateFuzz, RestoringDamagedBlocksKeepsTheInstrumentConsistent)
{
    // Fragments that tend to matter to an XML reader, a UTF-8 decoder and a number reader.
    const std::vector<std::string> tokens {
        "<", ">", "/>", "</settings>", "\"", "'", "=", "&", "&#x", "&#10;", "&amp;", "&#xFFFFFFFF;",
        "<a>", "<!--", "-->", "<![CDATA[", "]]>", "<?", "?>", "<!DOCTYPE x [<!ENTITY e \"&e;\">]>", "&e;",
        "\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xff", std::string (1, '\0'), "settings", "SETTINGS",
        " volume=\"", " filenames=\"", "1e999", "nan", "-0", "0x1p3", "E7777777777", "e-99999999999"
    };

    StateFuzz::Harness harness;
    const auto inputs = replayInputs ("state-", StateFuzz::seeds(), tokens, 20000, [] (auto& input, auto& random)
    {
        // Half the time the length word is made to match the damaged text, so that the
        // damage reaches the reader instead of the wrapping's checks.
        if (input.size() >= 9 && random.below (2) == 0)
            for (size_t i = 0; i < 4; ++i)
                input[4 + i] = (uint8_t) ((input.size() - 9) >> (8 * i));
    });

    for (size_t i = 0; i < inputs.size(); ++i)
        ASSERT_EQ (harness.restoreAndCheck (inputs[i].data(), inputs[i].size()), "") << "input " << i << " of " << inputs.size();
}

TEST (AudioFileFuzz, DamagedSampleFilesLoadWithinTheLimitsAndPlayFinite)
{
    const std::vector<std::string> tokens { "RIFF", "WAVE", "fmt ", "data", "FORM", "AIFF", "COMM", "SSND", "fLaC", "OggS",
                                            "\x01vorbis", "ID3", "\xff\xfb", "\xff\xf3", std::string (8, '\xff'), std::string (4, '\0') };
    const auto seeds = AudioFileFuzz::seeds();
    ASSERT_GE (seeds.size(), 4u);

    AudioFileFuzz::Harness harness;
    const auto inputs = replayInputs ("audio-", seeds, tokens, 4000, [] (auto&, auto&) {});

    for (size_t i = 0; i < inputs.size(); ++i)
        ASSERT_EQ (harness.loadAndPlay (inputs[i].data(), inputs[i].size()), "") << "input " << i << " of " << inputs.size();
}
