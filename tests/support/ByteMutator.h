#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/** Damages valid inputs the way a fuzzer does, from a seed, so that every machine
    replays the same hostile inputs: the saved-state replay and the sample-file tests
    both draw theirs from a few valid files through it. */
namespace ByteMutator
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

/** Applies one to four damages: a flipped bit or byte, an inserted token, an erased or
    repeated run, a cut end, the tail of another input spliced on, or an extreme value
    (0, all ones, the largest signed, random) written into the first 64 bytes, where
    file formats keep their lengths, rates and channel counts, in either byte order. */
inline void mutate (Bytes& bytes, const std::vector<Bytes>& others, const std::vector<std::string>& tokens,
                    Generator& random)
{
    const auto at = [&] (size_t extra) { return bytes.begin() + (std::ptrdiff_t) random.below (bytes.size() + extra); };

    for (auto m = 1 + random.below (4); m > 0; --m)
    {
        const auto start = random.below (bytes.size());
        const auto run = bytes.empty() ? 0 : 1 + random.below (std::min<size_t> (64, bytes.size() - start));

        switch (random.below (8))
        {
            case 0: if (! bytes.empty()) bytes[start] ^= (uint8_t) (1u << random.below (8)); break;
            case 1: if (! bytes.empty()) bytes[start] = (uint8_t) random.next(); break;
            case 2: { const auto& token = tokens[random.below (tokens.size())]; bytes.insert (at (1), token.begin(), token.end()); break; }
            case 3: bytes.erase (bytes.begin() + (std::ptrdiff_t) start, bytes.begin() + (std::ptrdiff_t) (start + run)); break;
            case 4:
            {
                const Bytes copy (bytes.begin() + (std::ptrdiff_t) start, bytes.begin() + (std::ptrdiff_t) (start + run));

                for (auto copies = bytes.size() < 65536 ? 1 + random.below (8) : 0; copies > 0; --copies)
                    bytes.insert (bytes.begin() + (std::ptrdiff_t) start, copy.begin(), copy.end());
                break;
            }
            case 5: bytes.resize (random.below (bytes.size() + 1)); break;
            case 6:
            {
                const auto& other = others[random.below (others.size())];
                bytes.resize (random.below (bytes.size() + 1));
                bytes.insert (bytes.end(), other.begin() + (std::ptrdiff_t) random.below (other.size() + 1), other.end());
                break;
            }
            default:
            {
                const uint64_t values[] { 0, ~0ull, 0x7fffffffull, 0x80000000ull, random.next() };
                const auto value = values[random.below (std::size (values))];
                const auto width = (size_t) 1 << random.below (3);
                const auto offset = random.below (std::min<size_t> (64, bytes.size()));
                const auto bigEndian = random.below (2) == 0;

                for (size_t i = 0; i < width && offset + i < bytes.size(); ++i)
                    bytes[offset + i] = (uint8_t) (value >> (8 * (bigEndian ? width - 1 - i : i)));
                break;
            }
        }
    }
}
} // namespace ByteMutator
