// Runs the fuzzing entry point without libFuzzer, so that a compiler without it (the
// regular gcc build) still exercises it in every test run: first the seeds, then
// every cut of each seed's first bytes, then a fixed number of mutated seeds drawn
// from a seeded generator. The same seed gives the same inputs on every machine.
//
//   sampivo_state_fuzz_replay [-runs=N] [-seed=S] [corpus folder or file ...]

#include "StateSeeds.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size);

namespace
{
using Bytes = std::vector<uint8_t>;

/** SplitMix64: tiny, and identical everywhere (unlike the standard distributions). */
class Generator
{
public:
    explicit Generator (uint64_t seed) : state (seed) {}

    uint64_t next()
    {
        auto z = (state += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }

    size_t below (size_t bound) { return bound == 0 ? 0 : (size_t) (next() % bound); }

private:
    uint64_t state;
};

// Fragments that tend to matter to an XML reader and a UTF-8 decoder.
const std::vector<std::string> tokens {
    "<", ">", "/>", "</settings>", "\"", "'", "=", "&", "&#x", "&#10;", "&amp;", "&#xFFFFFFFF;",
    "<a>", "<!--", "-->", "<![CDATA[", "]]>", "<?", "?>", "<!DOCTYPE x [<!ENTITY e \"&e;\">]>", "&e;",
    "\xc3", "\xe2\x82", "\xf0\x9f\x98", "\xff", std::string (1, '\0'), "settings", "SETTINGS",
    " volume=\"", " filenames=\"", "1e999", "nan", "-0", "0x1p3"
};

void writeLengthWord (Bytes& bytes, uint32_t length)
{
    if (bytes.size() < 8)
        return;

    for (auto i = 0; i < 4; ++i)
        bytes[(size_t) (4 + i)] = (uint8_t) (length >> (8 * i));
}

void mutate (Bytes& bytes, const std::vector<Bytes>& seeds, Generator& random)
{
    const auto mutations = 1 + random.below (4);

    for (size_t m = 0; m < mutations; ++m)
    {
        switch (random.below (9))
        {
            case 0: // flip one bit
                if (! bytes.empty())
                    bytes[random.below (bytes.size())] ^= (uint8_t) (1u << random.below (8));
                break;

            case 1: // replace one byte
                if (! bytes.empty())
                    bytes[random.below (bytes.size())] = (uint8_t) random.next();
                break;

            case 2: // insert a token
            {
                const auto& token = tokens[random.below (tokens.size())];
                bytes.insert (bytes.begin() + (std::ptrdiff_t) random.below (bytes.size() + 1), token.begin(), token.end());
                break;
            }

            case 3: // erase a run
                if (! bytes.empty())
                {
                    const auto start = random.below (bytes.size());
                    const auto length = 1 + random.below (std::min<size_t> (32, bytes.size() - start));
                    bytes.erase (bytes.begin() + (std::ptrdiff_t) start, bytes.begin() + (std::ptrdiff_t) (start + length));
                }
                break;

            case 4: // repeat a run
                if (! bytes.empty() && bytes.size() < 65536)
                {
                    const auto start = random.below (bytes.size());
                    const auto length = 1 + random.below (std::min<size_t> (64, bytes.size() - start));
                    const Bytes run (bytes.begin() + (std::ptrdiff_t) start, bytes.begin() + (std::ptrdiff_t) (start + length));
                    const auto copies = 1 + random.below (8);

                    for (size_t c = 0; c < copies; ++c)
                        bytes.insert (bytes.begin() + (std::ptrdiff_t) start, run.begin(), run.end());
                }
                break;

            case 5: // cut the end
                bytes.resize (random.below (bytes.size() + 1));
                break;

            case 6: // an arbitrary length word
            {
                const uint32_t lengths[] { 0, 1, 0x7fffffffu, 0x80000000u, 0xffffffffu, (uint32_t) random.next() };
                writeLengthWord (bytes, lengths[random.below (std::size (lengths))]);
                break;
            }

            case 7: // splice the tail of another seed
            {
                const auto& other = seeds[random.below (seeds.size())];
                bytes.resize (random.below (bytes.size() + 1));
                bytes.insert (bytes.end(), other.begin() + (std::ptrdiff_t) random.below (other.size() + 1), other.end());
                break;
            }

            default: // keep the wrapping consistent with edited text
                if (bytes.size() >= 9)
                    writeLengthWord (bytes, (uint32_t) (bytes.size() - 9));
                break;
        }
    }
}

void runOne (const Bytes& bytes)
{
    LLVMFuzzerTestOneInput (bytes.data(), bytes.size());
}

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
            const juce::File location (juce::File::getCurrentWorkingDirectory().getChildFile (argument));
            auto files = location.isDirectory() ? location.findChildFiles (juce::File::findFiles, false)
                                                : juce::Array<juce::File> { location };
            files.sort();

            for (const auto& file : files)
            {
                juce::MemoryBlock block;

                if (file.loadFileAsData (block))
                    seeds.push_back (toBytes (block));
            }
        }
    }

    for (const auto& input : seeds)
    {
        runOne (input);

        for (size_t length = 0; length < std::min<size_t> (input.size(), 64); ++length)
            runOne (Bytes (input.begin(), input.begin() + (std::ptrdiff_t) length));
    }

    Generator random (seed);

    for (long long run = 0; run < runs; ++run)
    {
        auto input = seeds[random.below (seeds.size())];
        mutate (input, seeds, random);
        runOne (input);
    }

    std::printf ("replayed %zu seeds and %lld mutated inputs (seed %llu) without a failure\n",
                 seeds.size(), runs, seed);
    return 0;
}
