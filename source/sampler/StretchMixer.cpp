#include "sampler/StretchMixer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#if JUCE_USE_SSE_INTRINSICS
 #include <emmintrin.h>
#endif

namespace
{
/** The read positions of four consecutive output samples at a time: whole index (kept
    at most lastStart) and the fraction between it and the next sample. */
class Positions
{
public:
    Positions (double start, double step, int lastStartIndex) noexcept
        : lastStart (lastStartIndex)
    {
       #if JUCE_USE_SSE_INTRINSICS
        // Each lane steps by four positions. Its fraction counts in units of 2^-32 and
        // wraps, the wrap carrying into the index; over a stretch the rounding of the
        // step adds up to less than 1e-7 of a sample.
        alignas (16) std::int32_t indices[4];
        alignas (16) std::uint32_t fractions[4];

        for (auto lane = 0; lane < 4; ++lane)
        {
            const auto position = start + (double) lane * step;
            const auto whole = std::floor (position);
            indices[lane] = (std::int32_t) whole;
            fractions[lane] = (std::uint32_t) ((position - whole) * 4294967296.0);
        }

        const auto fourSteps = 4.0 * step;
        const auto wholeSteps = std::floor (fourSteps);
        index = _mm_load_si128 (reinterpret_cast<const __m128i*> (indices));
        fraction = _mm_load_si128 (reinterpret_cast<const __m128i*> (fractions));
        indexStep = _mm_set1_epi32 ((std::int32_t) wholeSteps);
        fractionStep = _mm_set1_epi32 ((std::int32_t) (std::uint32_t) std::min ((fourSteps - wholeSteps) * 4294967296.0 + 0.5,
                                                                                4294967295.0));
       #else
        first = start;
        increment = step;
       #endif
    }

    /** Writes the next four positions. */
    void next (std::int32_t* indices, float* fractions) noexcept
    {
       #if JUCE_USE_SSE_INTRINSICS
        const auto last = _mm_set1_epi32 (lastStart);
        const auto beyond = _mm_cmpgt_epi32 (index, last);
        _mm_storeu_si128 (reinterpret_cast<__m128i*> (indices),
                          _mm_or_si128 (_mm_and_si128 (beyond, last), _mm_andnot_si128 (beyond, index)));

        // A lane kept at the last start reads its next sample in full: fraction 1.
        const auto fractionAsFloat = _mm_mul_ps (_mm_cvtepi32_ps (_mm_srli_epi32 (fraction, 1)),
                                                 _mm_set1_ps (1.0f / 2147483648.0f));
        _mm_storeu_ps (fractions, _mm_or_ps (_mm_and_ps (_mm_castsi128_ps (beyond), _mm_set1_ps (1.0f)),
                                             _mm_andnot_ps (_mm_castsi128_ps (beyond), fractionAsFloat)));

        // Unsigned wrap of the fraction, found by a signed compare with the sign flipped.
        const auto sign = _mm_set1_epi32 (std::numeric_limits<std::int32_t>::min());
        const auto nextFraction = _mm_add_epi32 (fraction, fractionStep);
        const auto wrapped = _mm_cmpgt_epi32 (_mm_xor_si128 (fraction, sign), _mm_xor_si128 (nextFraction, sign));
        index = _mm_sub_epi32 (_mm_add_epi32 (index, indexStep), wrapped);
        fraction = nextFraction;
       #else
        for (auto lane = 0; lane < 4; ++lane)
        {
            const auto position = first + (double) (done + lane) * increment;
            indices[lane] = std::min ((std::int32_t) position, lastStart);
            fractions[lane] = indices[lane] < (std::int32_t) position ? 1.0f : (float) (position - (double) indices[lane]);
        }

        done += 4;
       #endif
    }

private:
    std::int32_t lastStart;

   #if JUCE_USE_SSE_INTRINSICS
    __m128i index, fraction, indexStep, fractionStep;
   #else
    double first, increment;
    int done = 0;
   #endif
};

/** out[i] = in[k] + fraction[i] x (in[k + 1] - in[k]) for four outputs, k = index[i]. */
void interpolateFour (const float* in, const std::int32_t* index, const float* fraction, float* out) noexcept
{
   #if JUCE_USE_SSE_INTRINSICS
    // One 64-bit load per pair of neighbouring samples, then two shuffles sort the
    // four pairs into first and second samples.
    const auto pair = [in] (std::int32_t k) { return reinterpret_cast<const __m64*> (in + k); };
    const auto pairs01 = _mm_loadh_pi (_mm_loadl_pi (_mm_setzero_ps(), pair (index[0])), pair (index[1]));
    const auto pairs23 = _mm_loadh_pi (_mm_loadl_pi (_mm_setzero_ps(), pair (index[2])), pair (index[3]));
    const auto first = _mm_shuffle_ps (pairs01, pairs23, _MM_SHUFFLE (2, 0, 2, 0));
    const auto second = _mm_shuffle_ps (pairs01, pairs23, _MM_SHUFFLE (3, 1, 3, 1));
    _mm_storeu_ps (out, _mm_add_ps (first, _mm_mul_ps (_mm_loadu_ps (fraction), _mm_sub_ps (second, first))));
   #else
    for (auto i = 0; i < 4; ++i)
        out[i] = in[index[i]] + fraction[i] * (in[index[i] + 1] - in[index[i]]);
   #endif
}

template <bool stereoSource, bool stereoOutput>
void mixLayout (const StretchMixer::Source& source, const float* gains, float* left, float* right, int numSamples) noexcept
{
    constexpr auto maxLength = StretchMixer::maxLength;
    static_assert (maxLength % 4 == 0, "the mixer works in fours");
    float sampleLeft[maxLength], sampleRight[maxLength];

    // Positions relative to the first whole one keep their fractions precise.
    const auto base = (int) source.start;
    const auto* inLeft = source.audio.getReadPointer (0) + base;
    const auto* inRight = source.audio.getReadPointer (stereoSource ? 1 : 0) + base;
    Positions positions (source.start - (double) base, source.step, source.audio.getNumSamples() - 2 - base);

    // Four at a time: the outputs past the stretch, up to the next multiple of four,
    // are interpolated too (their positions kept within the data) but not mixed.
    for (auto i = 0; i < numSamples; i += 4)
    {
        std::int32_t index[4];
        float fraction[4];
        positions.next (index, fraction);
        interpolateFour (inLeft, index, fraction, sampleLeft + i);

        if constexpr (stereoSource)
            interpolateFour (inRight, index, fraction, sampleRight + i);
    }

    const auto* sampleForRight = stereoSource ? sampleRight : sampleLeft;

    for (auto i = 0; i < numSamples; ++i)
    {
        const auto gainedLeft = gains[i] * source.leftGain * sampleLeft[i];
        const auto gainedRight = gains[i] * source.rightGain * sampleForRight[i];

        if constexpr (stereoOutput)
        {
            left[i] += gainedLeft;
            right[i] += gainedRight;
        }
        else
        {
            left[i] += (gainedLeft + gainedRight) * 0.5f;
        }
    }
}
} // namespace

void StretchMixer::mix (const Source& source, const float* gains, float* left, float* right, int numSamples) noexcept
{
    if (source.audio.getNumChannels() > 1)
        right != nullptr ? mixLayout<true, true> (source, gains, left, right, numSamples)
                         : mixLayout<true, false> (source, gains, left, right, numSamples);
    else
        right != nullptr ? mixLayout<false, true> (source, gains, left, right, numSamples)
                         : mixLayout<false, false> (source, gains, left, right, numSamples);
}
