// The texts that knobs and hosts show, one row per display kind and per boundary.
#include "processor/AudioParameterFloatVantrel.h"
#include "support/RowName.h"

#include <cmath>
#include <limits>

using juce::AudioParameterFloatVantrel;

namespace
{
// Which reachable value next to the row's minimum a boundary row shows (see below).
enum class Side { exact, below, atOrAbove };

struct TextRow { const char* name; int kind; float lo, hi, value; const char* unit; const char* text; Side side = Side::exact; };

// The log kinds (6, 7, 13) show x = expf (logf (lo) + (logf (hi) - logf (lo)) v), which
// with lo == hi is expf (logf (lo)); not every float is reachable that way. A boundary
// row shows the reachable x nearest its minimum on the row's side: this is the display
// minimum that gives it.
float minimumGiving (float target, Side side)
{
    auto lo = target, best = target;
    auto bestX = side == Side::below ? 0.0f : std::numeric_limits<float>::max();

    for (auto i = 0; i < 64; ++i)
        lo = std::nextafter (lo, 0.0f);

    for (auto i = 0; i < 128; ++i, lo = std::nextafter (lo, 1.0e30f))
    {
        const auto x = std::exp (std::log (lo));
        if (side == Side::below ? x < target && x > bestX : x >= target && x < bestX)
            bestX = x, best = lo;
    }

    return best;
}

class ValueText : public testing::TestWithParam<TextRow> {};
} // namespace

TEST_P (ValueText, ShowsTheRuleText)
{
    const auto row = GetParam();
    const auto lo = row.side == Side::exact ? row.lo : minimumGiving (row.lo, row.side);
    const auto hi = row.side == Side::exact ? row.hi : lo;
    const AudioParameterFloatVantrel parameter ("p", "P", lo, hi, 0.0f, row.kind, row.unit);
    EXPECT_EQ (parameter.getDisplayText (row.value), row.text);
}

INSTANTIATE_TEST_SUITE_P (Processor, ValueText, testing::Values (
    TextRow { "PercentRoundsToNearest", 2, 0, 100, 0.126f, "%", "13 %" },
    TextRow { "CubicRange", 3, 2, 12, 0.5f, "x", "+3.2 x" },           // 0.125 * 10 + 2
    TextRow { "DecibelsMiddle", 5, 0, 1, 0.5f, "dB", "+0.0 dB" },      // 20 log10 (8 v^3)
    TextRow { "DecibelsOff", 5, 0, 1, 0.0f, "dB", "OFF" },
    TextRow { "SmallDecibelsTop", 4, 0, 1, 1.0f, "", "+10.0 dB" },     // 20 log10 (3.162278 v^3)
    TextRow { "LinearFifteen", 8, 0, 1, -0.2f, "st", "-3.0 st" },
    TextRow { "SquaredOctaves", 9, 0, 1, 0.5f, "", "1.3 oct" },        // 4.9 v^2 + 0.1
    TextRow { "BipolarCentre", 11, -100, 100, 0.5f, "%", "  0 %" },
    TextRow { "BipolarSpanOfEleven", 11, -5.5f, 5.5f, 0.5f, "dB", "  0 dB" },
    TextRow { "BipolarNarrowNearZero", 11, -5, 5, 0.505f, "dB", "  0.0 dB" },
    TextRow { "RatioQuarter", 12, 1, 20, 0.25f, "", "1.9:1" },         // 1 / (0.5 (0.05 - 1) + 1)
    TextRow { "GenericTwoDecimals", 20, 0, 2.9f, 0.5f, "x", "1.45 x" },
    TextRow { "AttackFourFifths", 7, 0.001f, 100, 0.8f, "ms", "10.0 ms" },
    TextRow { "LogTimeBelow3", 7, 3, 0, 0.5f, "ms", "3.00 ms", Side::below },
    TextRow { "LogTimeFrom3", 7, 3, 0, 0.5f, "ms", "3.0 ms", Side::atOrAbove },
    TextRow { "PeriodBelow03", 6, 0.3f, 0, 0.5f, "Hz", "3 sec", Side::below },
    TextRow { "FrequencyFrom3", 6, 3, 0, 0.5f, "Hz", "3.0 Hz", Side::atOrAbove },
    TextRow { "DurationOneSecond", 13, 1, 0, 0.5f, "", "1 sec", Side::atOrAbove },
    TextRow { "DurationOneMinute", 13, 90, 0, 0.5f, "", "1 minute", Side::atOrAbove }),
    RowName());

TEST (ValueTexts, ChoicesAndLabels)
{
    // Ten choices, three names: the nearest index names the text, from 2.5/9 up nothing.
    AudioParameterFloatVantrel curve ("curve", "Decay Curve", 0.0f, 1.0f, 0, { "Log", "1/x", "Atan" }, 10);
    const std::pair<float, const char*> choices[] { { 0.0f, "Log" }, { 1.0f / 9.0f, "1/x" }, { 2.0f / 9.0f, "Atan" },
                                                    { 2.4f / 9.0f, "Atan" }, { 2.6f / 9.0f, "" }, { 1.0f, "" } };
    for (const auto& [value, text] : choices)
        EXPECT_EQ (curve.getDisplayText (value), text) << value * 9.0f;

    EXPECT_EQ (AudioParameterFloatVantrel ("m", "M", 0.0f, 1.0f, 0, {}, 4).getDisplayText (0.7f), "Modes not set!");
    EXPECT_FLOAT_EQ (AudioParameterFloatVantrel ("c", "C", 0.0f, 1.0f, 2, { "a", "b", "c" }, 5).getStoredDefault(), 0.5f);

    // Labels: the given one cut to 19 characters, else the kind's own.
    EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, 2, "abcdefghijklmnopqrstuvwxyz").getUnitLabel(), "abcdefghijklmnopqrs");
    const std::pair<int, const char*> labels[] { { 2, "%" }, { 4, "dB" }, { 5, "dB" }, { 6, "Hz" }, { 9, "oct" }, { 12, ":1" }, { 7, "" } };
    for (const auto& [kind, label] : labels)
        EXPECT_EQ (AudioParameterFloatVantrel ("a", "A", 0, 1, 0, kind, "").getUnitLabel(), label) << kind;
}
