// Runs the fuzzing entry point without libFuzzer, so that a compiler without it (the
// regular gcc build) still exercises it in every test run: first the seeds, then
// every cut of each seed's first bytes, then a fixed number of mutated seeds drawn
// from a seeded generator. The same seed gives the same inputs on every machine.
//
//   sampivo_state_fuzz_replay [-runs=N] [-seed=S] [corpus folder or file ...]

#include "StateSeeds.h"
#include "support/ByteMutator.h"

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size);

namespace
{
using ByteMutator::Bytes;

// Fragments that tend to matter to an XML reader and a UTF-8 decoder.
const std::vector<std::string> tokens {
    "<", ">", "/>", "</settings>", "\"", "'", "=", "&", "&#x", "&#10;", "&amp;", "&#xFFFFFFFF;",
    "<a>", "<!--", "-->", "<![CDATA[", "]]>", "<?", "?>", "<!DOCTYPE x [<!ENTITY e \"&e;\">]>", "&e;",
    "\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xff", std::string (1, '\0'), "settings", "SETTINGS",
    " volume=\"", " filenames=\"", "1e999", "nan", "-0", "0x1p3"
};

Bytes toBytes (const juce::MemoryBlock& block)
{
    const auto* begin = static_cast<const uint8_t*> (block.getData());
    return Bytes (begin, begin + block.getSize());
}
} // namespace

int main (int argc, char** argv)
{
    long long runs = 10000;
    unsigned long long seed = 1;
    std::vector<Bytes> seeds;

    for (const auto& block : StateSeeds::makeSeeds())
        seeds.push_back (toBytes (block));

    for (auto i = 1; i < argc; ++i)
    {
        const std::string argument (argv[i]);

        if (argument.rfind ("-runs=", 0) == 0)
            runs = std::stoll (argument.substr (6));
        else if (argument.rfind ("-seed=", 0) == 0)
            seed = std::stoull (argument.substr (6));
        else
        {
            const auto location = juce::File::getCurrentWorkingDirectory().getChildFile (argument);
            auto files = location.isDirectory() ? location.findChildFiles (juce::File::findFiles, false)
                                                : juce::Array<juce::File> { location };
            files.sort();

            for (const auto& file : files)
                if (juce::MemoryBlock block; file.loadFileAsData (block))
                    seeds.push_back (toBytes (block));
        }
    }

    for (const auto& input : seeds)
    {
        LLVMFuzzerTestOneInput (input.data(), input.size());

        for (size_t length = 0; length < std::min<size_t> (input.size(), 64); ++length)
            LLVMFuzzerTestOneInput (input.data(), length);
    }

    ByteMutator::Generator random (seed);

    for (long long run = 0; run < runs; ++run)
    {
        auto input = seeds[random.below (seeds.size())];
        ByteMutator::mutate (input, seeds, tokens, random);

        // Half the time the length word is made to match the damaged text, so that the
        // damage reaches the reader instead of the wrapping's checks.
        if (input.size() >= 9 && random.below (2) == 0)
            for (size_t i = 0; i < 4; ++i)
                input[4 + i] = (uint8_t) ((input.size() - 9) >> (8 * i));

        LLVMFuzzerTestOneInput (input.data(), input.size());
    }

    std::printf ("replayed %zu seeds and %lld mutated inputs (seed %llu) without a failure\n", seeds.size(), runs, seed);
    return 0;
}
