#include "processor/AudioParameterFloatVantrel.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace juce
{

namespace
{
// Value texts are limited as a 50-byte C buffer would limit them, and unit labels as
// a 20-byte one, so that long labels or choice names never change what fits.
constexpr size_t maxTextLength = 49;
constexpr size_t maxLabelLength = 19;

template <typename... Args>
std::string format (const char* pattern, Args... args)
{
    std::array<char, maxTextLength + 1> buffer {};
    std::snprintf (buffer.data(), buffer.size(), pattern, args...);
    return buffer.data();
}

float logInterpolate (float lo, float hi, float v)
{
    return std::exp (std::log (lo) + (std::log (hi) - std::log (lo)) * v);
}

std::string clipText (std::string text)
{
    if (text.size() > maxTextLength)
        text.resize (maxTextLength);

    return text;
}
} // namespace

AudioParameterFloatVantrel::AudioParameterFloatVantrel (const String& parameterID, const String& parameterName,
                                                        float displayMinimum_, float displayMaximum_,
                                                        float defaultNormalisedValue, int displayKind_,
                                                        const std::string& unitLabel_)
    : AudioParameterFloat (ParameterID { parameterID, 0 }, parameterName, NormalisableRange<float> (0.0f, 1.0f),
                           defaultNormalisedValue,
                           AudioParameterFloatAttributes().withStringFromValueFunction (
                               [this] (float normalised, int) { return getDisplayText (normalised); })),
      displayKind (displayKind_),
      displayMinimum (displayMinimum_),
      displayMaximum (displayMaximum_),
      unitLabel ((unitLabel_.empty() ? defaultLabelForKind (displayKind_) : unitLabel_).substr (0, maxLabelLength)),
      storedDefault (defaultNormalisedValue)
{
    applyPlainValue (defaultNormalisedValue);
}

AudioParameterFloatVantrel::AudioParameterFloatVantrel (const String& parameterID, const String& parameterName,
                                                        float displayMinimum_, float displayMaximum_,
                                                        int defaultChoiceIndex,
                                                        const std::vector<std::string>& choiceNames_,
                                                        int numberOfChoices_)
    : AudioParameterFloat (ParameterID { parameterID, 0 }, parameterName, NormalisableRange<float> (0.0f, 1.0f),
                           numberOfChoices_ < 2 ? 0.0f
                                                : (float) defaultChoiceIndex / (float) (numberOfChoices_ - 1),
                           AudioParameterFloatAttributes().withStringFromValueFunction (
                               [this] (float normalised, int) { return getDisplayText (normalised); })),
      displayKind (choiceList),
      numberOfChoices (numberOfChoices_),
      displayMinimum (displayMinimum_),
      displayMaximum (displayMaximum_),
      choiceNames (choiceNames_),
      storedDefault (numberOfChoices_ < 2 ? 0.0f
                                          : (float) defaultChoiceIndex / (float) (numberOfChoices_ - 1))
{
    applyPlainValue (storedDefault);
}

AudioParameterFloatVantrel::~AudioParameterFloatVantrel() = default;

void AudioParameterFloatVantrel::applyPlainValue (float normalisedValue)
{
    // AudioParameterFloat hides setValue; the public interface of the base reaches it.
    static_cast<AudioProcessorParameter*> (this)->setValue (normalisedValue);
}

std::string AudioParameterFloatVantrel::defaultLabelForKind (int kind)
{
    switch (kind)
    {
        case percent:            return "%";
        case cubicDecibelsSmall:
        case cubicDecibels:      return "dB";
        case frequency:          return "Hz";
        case squaredOctaves:     return "oct";
        case ratio:              return ":1";
        default:                 return {};
    }
}

String AudioParameterFloatVantrel::getDisplayText (float normalisedValue) const
{
    return String (formatValue (normalisedValue));
}

std::string AudioParameterFloatVantrel::formatDuration (double seconds)
{
    struct Unit { double seconds; const char* singular; const char* plural; };
    static constexpr Unit units[] = {
        { 31536000.0, " year",   " years" },
        { 2592000.0,  " month",  " months" },
        { 86400.0,    " day",    " days" },
        { 3600.0,     " hour",   " hours" },
        { 60.0,       " minute", " minutes" },
        { 1.0,        " sec",    " sec" },
        { 0.001,      " ms",     " ms" },
        { 0.000001,   " micros", " micros" },
    };

    // Only the first (largest) non-zero unit is shown; the remainder is dropped.
    for (const auto& unit : units)
    {
        const auto q = std::floor (seconds / unit.seconds);
        seconds -= unit.seconds * q;

        if (q == 0.0)
            continue;

        const auto whole = (long long) q;
        return std::to_string (whole) + (whole == 1 ? unit.singular : unit.plural);
    }

    return {};
}

std::string AudioParameterFloatVantrel::formatValue (float v) const
{
    const auto lo = displayMinimum;
    const auto hi = displayMaximum;
    const auto* unit = unitLabel.c_str();

    switch (displayKind)
    {
        case percent:
            return format ("%d %s", (int) std::lround (v * 100.0f), unit);

        case cubicRange:
            if (v <= 0.0f)
                return "OFF";
            return format ("%+.1f %s", (double) (v * v * v * (hi - lo) + lo), unit);

        case cubicDecibelsSmall:
        case cubicDecibels:
        {
            if (v <= 0.0f)
                return "OFF";
            const auto scale = displayKind == cubicDecibels ? 8.0f : 3.162278f;
            const auto g = v * v * v * scale;
            return format ("%+.1f %s", (double) (20.0f * std::log10 (g)), unit);
        }

        case frequency:
        {
            const auto x = logInterpolate (lo, hi, v);
            if (x == 0.0f)        return format ("0 %s", unit);
            if (x < 0.3f)         return clipText (formatDuration ((double) (1.0f / x)));
            if (x < 3.0f)         return format ("%.2f %s", (double) x, unit);
            if (x < 30.0f)        return format ("%.1f %s", (double) x, unit);
            if (x <= 1000.0f)     return format ("%.0f %s", (double) x, unit);
            if (x > 19000.0f)     return format ("%.0f k%s", (double) (x * 0.001f), unit);
            return format ("%.1f k%s", (double) (x * 0.001f), unit);
        }

        case logTime:
        {
            const auto x = logInterpolate (lo, hi, v);
            if (x == 0.0f)        return format ("0 %s", unit);
            if (x < 3.0f)         return format ("%.2f %s", (double) x, unit);
            if (x < 30.0f)        return format ("%.1f %s", (double) x, unit);
            return format ("%.0f %s", (double) x, unit);
        }

        case linearSigned15:
            return format ("%+.01f %s", (double) (v * 15.0f), unit);

        case squaredOctaves:
            return format ("%.01f %s", (double) (v * v * 4.9f + 0.1f), unit);

        case choiceList:
        {
            if (choiceNames.empty())
                return "Modes not set!";

            const auto index = numberOfChoices < 2 ? 0
                                                   : (int) std::round ((float) (numberOfChoices - 1) * v);
            if (index >= 0 && (size_t) index < choiceNames.size())
                return clipText (choiceNames[(size_t) index]);

            return {};
        }

        case bipolar:
        {
            const auto x = (hi - lo) * v + lo;

            if (hi - lo >= 11.0f)
            {
                const auto r = (int) std::round (x);
                return r == 0 ? format ("  0 %s", unit) : format ("%+d %s", r, unit);
            }

            return std::abs (x) < 0.1f ? format ("  0.0 %s", unit)
                                       : format ("%+.1f %s", (double) x, unit);
        }

        case ratio:
        {
            const auto a = lo == 0.0f ? 0.0f : 1.0f / lo;
            const auto b = hi == 0.0f ? 0.0f : 1.0f / hi;
            const auto y = std::sqrt (v) * (b - a) + a;
            const auto x = y == 0.0f ? 0.0f : 1.0f / y;

            if (y != 0.0f && x >= 10.0f)
                return format ("%.0f%s", (double) x, unit);

            return format ("%.1f%s", (double) x, unit);
        }

        case logDuration:
        {
            const auto x = logInterpolate (lo, hi, v);
            if (x > 0.0f)
                return clipText (formatDuration ((double) x));
            return format ("0 %s", unit);
        }

        default:
            return formatGeneric (v);
    }
}

std::string AudioParameterFloatVantrel::formatGeneric (float v) const
{
    const auto lo = displayMinimum;
    const auto hi = displayMaximum;
    const auto* unit = unitLabel.c_str();

    if (lo == 0.0f && hi == 1.0f)
    {
        const auto x = convertFrom0to1 (jlimit (0.0f, 1.0f, v));
        return format ("%.01f %s", (double) x, unit);
    }

    const auto x = (double) ((hi - lo) * v + lo);
    const auto signForced = lo < 0.0f;

    if (displayKind == 1 || hi > 29.0f)
        return format (signForced ? "%+.0f %s" : "%.0f %s", x, unit);

    if (hi <= 2.9f)
        return format (signForced ? "%+.02f %s" : "%.02f %s", x, unit);

    return format (signForced ? "%+.01f %s" : "%.01f %s", x, unit);
}

} // namespace juce
