#include "NumberText.h"

#include <charconv>
#include <cstdint>
#include <limits>

namespace
{
bool isDigit (juce::juce_wchar c) noexcept { return c >= '0' && c <= '9'; }

/** True if the text starts with the three letters, in either case. */
bool startsWithWord (juce::String::CharPointerType text, const char* word) noexcept
{
    for (auto i = 0; i < 3; ++i, ++text)
        if (*text != (juce::juce_wchar) word[i] && *text != (juce::juce_wchar) word[i] - ('a' - 'A'))
            return false;

    return true;
}
} // namespace

double NumberText::toDouble (const juce::String& text) noexcept
{
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    constexpr auto maxSignificantDigits = 18;
    constexpr int64_t lowestExponent = std::numeric_limits<double>::min_exponent10 - 1;
    constexpr int64_t highestExponent = std::numeric_limits<double>::max_exponent10 + 1;

    auto c = text.getCharPointer().findEndOfWhitespace();
    const auto negative = *c == '-';

    if (*c == '-' || *c == '+')
        ++c;

    if (startsWithWord (c, "nan"))
        return std::numeric_limits<double>::quiet_NaN();

    if (startsWithWord (c, "inf"))
        return negative ? -infinity : infinity;

    // The significant digits (zeros before the first digit of the whole part left out)
    // and the decimal point are copied for the standard conversion; whole-part digits
    // past the 18th only raise the exponent, fraction digits past it are dropped.
    char number[maxSignificantDigits + 8] {};
    auto length = 0;
    auto significantDigits = 0;
    auto pointFound = false;
    auto leadingZeros = false;
    int64_t exponent = 0;

    for (;; ++c)
    {
        if (isDigit (*c))
        {
            if (significantDigits >= maxSignificantDigits)
                exponent += pointFound ? 0 : 1;
            else if (! pointFound && significantDigits == 0 && *c == '0')
                leadingZeros = true;
            else
                number[length++] = (char) *c, ++significantDigits;
        }
        else if (! pointFound && *c == '.')
        {
            number[length++] = '.';
            pointFound = true;
        }
        else
        {
            break;
        }
    }

    if (significantDigits == 0 && ! leadingZeros)
        return 0.0;

    if (*c == 'e' || *c == 'E')
    {
        ++c;
        const auto negativeExponent = *c == '-';

        if (*c == '-' || *c == '+')
            ++c;

        // Held at a bound far past the range of a double, so that no length of
        // exponent can overflow.
        int64_t written = 0;

        for (; isDigit (*c); ++c)
            written = std::min<int64_t> (written * 10 + (*c - '0'), 1'000'000'000'000);

        exponent += negativeExponent ? -written : written;

        // Zero digits with an exponent still count here: "0e999" reads as infinity.
        if (exponent < lowestExponent)
            return negative ? -0.0 : 0.0;
    }

    if (exponent > highestExponent)
        return negative ? -infinity : infinity;

    if (significantDigits == 0)
        return 0.0;

    if (exponent != 0)
    {
        number[length++] = 'e';
        const auto written = std::to_chars (number + length, number + sizeof (number), exponent);
        length = (int) (written.ptr - number);
    }

    // At most 18 digits and an exponent of -308 to 309: the standard conversion reads
    // it to the nearest double, as strtod does; past a double's range it is infinity
    // or 0, as strtod gives too.
    auto magnitude = 0.0;

    if (std::from_chars (number, number + length, magnitude).ec == std::errc::result_out_of_range)
        magnitude = exponent > 0 ? infinity : 0.0;

    return negative ? -magnitude : magnitude;
}
