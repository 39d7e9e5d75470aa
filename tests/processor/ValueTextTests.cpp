#include "processor/AudioParameterFloatVantrel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using juce::AudioParameterFloatVantrel;

namespace
{
juce::String textOf (int kind, float lo, float hi, float v, const char* unit = "")
{
    AudioParameterFloatVantrel parameter ("p", "P", lo, hi, 0.0f, kind, unit);
    return parameter.getDisplayText (v);
}

// The log-interpolated kinds show x = expf (logf (lo) + (logf (hi) - logf (lo)) * v); with
// lo == hi that is expf (logf (lo)). Not every float is reachable that way, so to sit on
// either side of a boundary the tests search the display minimums near it for the
// reachable x just below and just above (or exactly on) the boundary.
struct Reachable
{
    float below = 0.0f;        // largest reachable x < target
    float atOrAbove = 0.0f;    // smallest reachable x >= target
    float atOrBelow = 0.0f;    // largest reachable x <= target
    float above = 0.0f;        // smallest reachable x > target
    float loFor (float x) const;
};

Reachable reachableAround (float target)
{
    Reachable r;
    r.below = r.atOrBelow = 0.0f;
    r.atOrAbove = r.above = std::numeric_limits<float>::max();

    auto lo = target;

    for (auto i = 0; i < 64; ++i)
        lo = std::nextafter (lo, 0.0f);

    for (auto i = 0; i < 128; ++i, lo = std::nextafter (lo, std::numeric_limits<float>::max()))
    {
        const auto x = std::exp (std::log (lo));

        if (x < target)  r.below = std::max (r.below, x);
        if (x >= target) r.atOrAbove = std::min (r.atOrAbove, x);
        if (x <= target) r.atOrBelow = std::max (r.atOrBelow, x);
        if (x > target)  r.above = std::min (r.above, x);
    }

    return r;
}

// Returns the text of a kind whose x is the reachable value picked from the search.
juce::String logTextAt (int kind, float x, const char* unit)
{
    auto lo = x;

    for (auto i = 0; i < 64; ++i)
        lo = std::nextafter (lo, 0.0f);

    for (auto i = 0; i < 128; ++i, lo = std::nextafter (lo, std::numeric_limits<float>::max()))
        if (std::exp (std::log (lo)) == x)
            return textOf (kind, lo, lo, 0.5f, unit);

    ADD_FAILURE() << x << " is not reachable";
    return {};
}

juce::String belowText (int kind, float target, const char* unit)     { return logTextAt (kind, reachableAround (target).below, unit); }
juce::String atOrAboveText (int kind, float target, const char* unit) { return logTextAt (kind, reachableAround (target).atOrAbove, unit); }
juce::String atOrBelowText (int kind, float target, const char* unit) { return logTextAt (kind, reachableAround (target).atOrBelow, unit); }
juce::String aboveText (int kind, float target, const char* unit)     { return logTextAt (kind, reachableAround (target).above, unit); }
} // namespace

TEST (ValueText, PercentRoundsToWholeNumbers)
{
    EXPECT_EQ (textOf (2, 0, 100, 0.35f, "%"), "35 %");
    EXPECT_EQ (textOf (2, 0, 100, 0.0f, "%"), "0 %");
    EXPECT_EQ (textOf (2, 0, 100, 1.0f, "%"), "100 %");
    EXPECT_EQ (textOf (2, 0, 100, 0.126f, "%"), "13 %");
    EXPECT_EQ (textOf (2, 0, 100, 0.5f), "50 %") << "kind 2 supplies % when no label is given";
}

TEST (ValueText, CubicKindsShowOffAtZeroAndBelow)
{
    for (auto kind : { 3, 4, 5 })
    {
        SCOPED_TRACE (kind);
        EXPECT_EQ (textOf (kind, 0, 10, 0.0f), "OFF");
        EXPECT_EQ (textOf (kind, 0, 10, -0.25f), "OFF");
    }

    // Kind 3: v^3 * (hi - lo) + lo.
    EXPECT_EQ (textOf (3, 2, 12, 1.0f, "x"), "+12.0 x");
    EXPECT_EQ (textOf (3, 2, 12, 0.5f, "x"), "+3.2 x");    // 0.125 * 10 + 2 = 3.25 -> 3.2 (binary 3.25 is a tie, rounded to even)

    // Kind 4: 20 log10 (v^3 * 3.162278): +10 dB at the top; kind 5: 20 log10 (v^3 * 8).
    EXPECT_EQ (textOf (4, 0, 1, 1.0f), "+10.0 dB");
    EXPECT_EQ (textOf (5, 0, 1, 0.5f), "+0.0 dB");
    EXPECT_EQ (textOf (5, 0, 1, 1.0f), "+18.1 dB");
    EXPECT_EQ (textOf (5, 0, 1, 0.25f), "-18.1 dB");   // g = 1/8, 20 log10 (1/8) = -18.06
}

TEST (ValueText, FrequencyBoundaries)
{
    // Below 0.3 the value is shown as the period 1/x.
    EXPECT_EQ (atOrAboveText (6, 0.3f, "Hz"), "0.30 Hz");
    EXPECT_EQ (belowText (6, 0.3f, "Hz"), "3 sec");
    EXPECT_EQ (belowText (6, 0.05f, "Hz"), "20 sec");
    EXPECT_EQ (belowText (6, 0.001f, "Hz"), "16 minutes");

    // 3 and 30 themselves take one and no decimals.
    EXPECT_EQ (belowText (6, 3.0f, "Hz"), "3.00 Hz");
    EXPECT_EQ (atOrAboveText (6, 3.0f, "Hz"), "3.0 Hz");
    EXPECT_EQ (belowText (6, 30.0f, "Hz"), "30.0 Hz");
    EXPECT_EQ (atOrAboveText (6, 30.0f, "Hz"), "30 Hz");

    // Thousands only above 1000, and without decimals only above 19000.
    EXPECT_EQ (atOrBelowText (6, 1000.0f, "Hz"), "1000 Hz");
    EXPECT_EQ (aboveText (6, 1000.0f, "Hz"), "1.0 kHz");
    EXPECT_EQ (atOrAboveText (6, 2500.0f, "Hz"), "2.5 kHz");
    EXPECT_EQ (atOrBelowText (6, 19000.0f, "Hz"), "19.0 kHz");
    EXPECT_EQ (aboveText (6, 19000.0f, "Hz"), "19 kHz");
    EXPECT_EQ (atOrAboveText (6, 250.0f, ""), "250 Hz") << "kind 6 supplies Hz";
}

TEST (ValueText, LogTimeBoundaries)
{
    EXPECT_EQ (belowText (7, 3.0f, "ms"), "3.00 ms");
    EXPECT_EQ (atOrAboveText (7, 3.0f, "ms"), "3.0 ms");
    EXPECT_EQ (belowText (7, 30.0f, "ms"), "30.0 ms");
    EXPECT_EQ (atOrAboveText (7, 30.0f, "ms"), "30 ms");

    // The instrument's attack range: 0.001 * 10^(5 v).
    EXPECT_EQ (textOf (7, 0.001f, 100.0f, 0.0f, "ms"), "0.00 ms");
    EXPECT_EQ (textOf (7, 0.001f, 100.0f, 1.0f, "ms"), "100 ms");
    EXPECT_EQ (textOf (7, 0.001f, 100.0f, 0.8f, "ms"), "10.0 ms");
}

TEST (ValueText, LinearAndSquaredKinds)
{
    EXPECT_EQ (textOf (8, 0, 1, 0.5f, "st"), "+7.5 st");
    EXPECT_EQ (textOf (8, 0, 1, -0.2f, "st"), "-3.0 st");
    EXPECT_EQ (textOf (9, 0, 1, 1.0f), "5.0 oct");        // 4.9 + 0.1, kind 9 supplies oct
    EXPECT_EQ (textOf (9, 0, 1, 0.0f), "0.1 oct");
}

TEST (ValueText, ChoiceLists)
{
    AudioParameterFloatVantrel curve ("curve", "Decay Curve", 0.0f, 1.0f, 0, { "Log", "1/x", "Atan" }, 10);
    EXPECT_EQ (curve.getDisplayText (0.0f), "Log");
    EXPECT_EQ (curve.getDisplayText (1.0f / 9.0f), "1/x");
    EXPECT_EQ (curve.getDisplayText (2.0f / 9.0f), "Atan");
    EXPECT_EQ (curve.getDisplayText (2.4f / 9.0f), "Atan");
    EXPECT_EQ (curve.getDisplayText (2.6f / 9.0f), "") << "index 3 lies beyond the three names";
    EXPECT_EQ (curve.getDisplayText (1.0f), "");
    EXPECT_EQ (curve.getDisplayKind(), 10);
    EXPECT_EQ (curve.getNumberOfChoices(), 10);

    AudioParameterFloatVantrel unnamed ("m", "Modes", 0.0f, 1.0f, 0, {}, 4);
    EXPECT_EQ (unnamed.getDisplayText (0.0f), "Modes not set!");
    EXPECT_EQ (unnamed.getDisplayText (0.7f), "Modes not set!");

    // With fewer than two choices the index is always 0.
    AudioParameterFloatVantrel single ("s", "Single", 0.0f, 1.0f, 0, { "Only", "Other" }, 1);
    EXPECT_EQ (single.getDisplayText (1.0f), "Only");
}

TEST (ValueText, ChoiceConstructorDefault)
{
    // The default is index / (count - 1), applied as the value and kept as the stored default.
    AudioParameterFloatVantrel third ("c", "C", 0.0f, 1.0f, 2, { "a", "b", "c" }, 5);
    EXPECT_FLOAT_EQ (third.getStoredDefault(), 0.5f);
    EXPECT_FLOAT_EQ (static_cast<juce::AudioProcessorParameter&> (third).getValue(), 0.5f);
    EXPECT_EQ (third.getDisplayText (third.getStoredDefault()), "c");

    AudioParameterFloatVantrel lonely ("l", "L", 0.0f, 1.0f, 3, { "a" }, 1);
    EXPECT_FLOAT_EQ (lonely.getStoredDefault(), 0.0f);
}

TEST (ValueText, BipolarSpans)
{
    // A span of 11 or more shows whole numbers, zero with two leading spaces.
    EXPECT_EQ (textOf (11, -100, 100, 0.5f, "%"), "  0 %");
    EXPECT_EQ (textOf (11, -100, 100, 0.75f, "%"), "+50 %");
    EXPECT_EQ (textOf (11, -100, 100, 0.0f, "%"), "-100 %");
    EXPECT_EQ (textOf (11, -5.5f, 5.5f, 0.5f, "dB"), "  0 dB") << "a span of exactly 11 counts as wide";

    // Below 11, one decimal; within 0.1 of zero it reads 0.0 after two spaces.
    EXPECT_EQ (textOf (11, -5, 5, 0.5f, "dB"), "  0.0 dB");
    EXPECT_EQ (textOf (11, -5, 5, 0.505f, "dB"), "  0.0 dB");
    EXPECT_EQ (textOf (11, -5, 5, 0.52f, "dB"), "+0.2 dB");
    EXPECT_EQ (textOf (11, -5, 5, 0.0f, "dB"), "-5.0 dB");
}

TEST (ValueText, Ratios)
{
    // y = sqrt (v) (1/hi - 1/lo) + 1/lo, shown as 1/y without a space before the unit.
    EXPECT_EQ (textOf (12, 1, 20, 0.0f), "1.0:1");
    EXPECT_EQ (textOf (12, 1, 20, 1.0f), "20:1");
    EXPECT_EQ (textOf (12, 1, 20, 0.25f), "1.9:1");        // y = 0.525, 1/y = 1.905
    EXPECT_EQ (textOf (12, 12, 12, 0.3f), "12:1") << "no decimals from 10 upward";
    EXPECT_EQ (textOf (12, 5, 5, 0.3f), "5.0:1");

    // A zero end counts as 0 in the reciprocal; y = 0 shows 0.0.
    EXPECT_EQ (textOf (12, 0, 4, 0.0f), "0.0:1");
    EXPECT_EQ (textOf (12, 0, 4, 1.0f), "4.0:1");
    EXPECT_EQ (textOf (12, 0, 0, 0.6f), "0.0:1");
}

TEST (ValueText, Durations)
{
    EXPECT_EQ (atOrAboveText (13, 0.25f, ""), "250 ms");
    EXPECT_EQ (atOrAboveText (13, 90.0f, ""), "1 minute");
    EXPECT_EQ (atOrAboveText (13, 1.0f, ""), "1 sec");
    EXPECT_EQ (belowText (13, 1.0f, ""), "999 ms");
    EXPECT_EQ (atOrAboveText (13, 7200.0f, ""), "2 hours");
    EXPECT_EQ (atOrAboveText (13, 86400.0f * 3, ""), "3 days");
    EXPECT_EQ (atOrAboveText (13, 0.0000155f, ""), "15 micros");
    EXPECT_EQ (textOf (13, 1.0e-7f, 1.0e-7f, 0.5f), "") << "below a microsecond nothing is shown";
    EXPECT_EQ (textOf (13, 0.0f, 0.0f, 0.5f, "s"), "0 s") << "no positive duration";

    EXPECT_EQ (AudioParameterFloatVantrel::formatDuration (31536000.0 * 2 + 5), "2 years");
    EXPECT_EQ (AudioParameterFloatVantrel::formatDuration (2592000.0), "1 month");
    EXPECT_EQ (AudioParameterFloatVantrel::formatDuration (0.0), "");
}

TEST (ValueText, GenericKinds)
{
    // Normalised range 0..1: the value itself with one decimal; kinds 0 and 14 assign no label.
    EXPECT_EQ (textOf (0, 0, 1, 0.3f), "0.3 ");
    EXPECT_EQ (textOf (14, 0, 1, 1.7f), "1.0 ") << "clamped to the range";
    EXPECT_EQ (textOf (1, 0, 1, 0.3f, "x"), "0.3 x");

    // Other ranges: kind 1 or hi above 29 without decimals, hi up to 2.9 with two, else one.
    EXPECT_EQ (textOf (1, 0, 10, 0.55f, "x"), "6 x");
    EXPECT_EQ (textOf (0, 0, 30, 0.5f, "x"), "15 x");
    EXPECT_EQ (textOf (0, 0, 29, 0.5f, "x"), "14.5 x");
    EXPECT_EQ (textOf (20, 0, 2.9f, 0.5f, "x"), "1.45 x");
    EXPECT_EQ (textOf (0, 0, 3, 0.5f, "x"), "1.5 x");

    // A negative minimum forces the sign.
    EXPECT_EQ (textOf (0, -1, 1, 0.75f, "x"), "+0.50 x");
    EXPECT_EQ (textOf (0, -10, 10, 0.25f, "x"), "-5.0 x");
    EXPECT_EQ (textOf (0, -50, 50, 1.0f, "x"), "+50 x");
}

TEST (ValueText, LabelsByKind)
{
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 2, "").getUnitLabel(), "%");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 4, "").getUnitLabel(), "dB");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 5, "").getUnitLabel(), "dB");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 6, "").getUnitLabel(), "Hz");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 9, "").getUnitLabel(), "oct");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 12, "").getUnitLabel(), ":1");

    for (auto kind : { 0, 1, 3, 7, 8, 10, 11, 13, 14, 99 })
        EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, kind, "").getUnitLabel(), "") << kind;

    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 2, "pct").getUnitLabel(), "pct");
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 2, "abcdefghijklmnopqrstuvwxyz").getUnitLabel(),
               "abcdefghijklmnopqrs") << "labels are limited to 19 characters";
}

TEST (ValueText, DefaultIsAppliedAndKept)
{
    AudioParameterFloatVantrel parameter ("vol", "Vol", 0.0f, 1.0f, 0.7f, 5, "dB");
    EXPECT_FLOAT_EQ (parameter.getStoredDefault(), 0.7f);
    EXPECT_FLOAT_EQ (static_cast<juce::AudioProcessorParameter&> (parameter).getValue(), 0.7f);
    const auto& asHostSeesIt = static_cast<const juce::AudioProcessorParameter&> (parameter);
    EXPECT_FLOAT_EQ (asHostSeesIt.getDefaultValue(), 0.7f);
    EXPECT_EQ (parameter.getAttachedSlider(), nullptr);

    // The host's text goes through the same conversion.
    EXPECT_EQ (asHostSeesIt.getText (0.5f, 100), "+0.0 dB");
}
