#include "WaveformPlot.h"

#include "OutputPath.h"
#include "RenderFailure.h"

#include <cmath>

namespace
{
constexpr int leftMargin = 56;
constexpr int rightMargin = 24;
constexpr int topMargin = 40;
constexpr int bottomMargin = 44;
constexpr int laneGap = 16;

const juce::Colour background (0xff15181c);
const juce::Colour laneBackground (0xff1d2127);
const juce::Colour gridColour (0xff30363e);
const juce::Colour textColour (0xffc8c8c8);
const juce::Colour peakColour (0xff4fa3d9);
const juce::Colour rmsColour (0xff9fd3f5);

juce::String secondsText (double seconds, double spacing)
{
    const auto decimals = spacing >= 1.0 ? 0 : (spacing >= 0.1 ? 1 : (spacing >= 0.01 ? 2 : 3));
    return juce::String (seconds, decimals) + " s";
}

void drawLane (juce::Graphics& g, const juce::AudioBuffer<float>& audio, int channel, juce::Rectangle<int> lane,
               const juce::String& label)
{
    g.setColour (laneBackground);
    g.fillRect (lane);

    const auto centreY = static_cast<float> (lane.getCentreY());
    const auto halfHeight = static_cast<float> (lane.getHeight()) * 0.5f;

    // Guide lines at full scale, half scale and zero.
    g.setColour (gridColour);

    for (const auto level : { -1.0f, -0.5f, 0.0f, 0.5f, 1.0f })
        g.drawHorizontalLine (juce::roundToInt (centreY - level * halfHeight), static_cast<float> (lane.getX()),
                              static_cast<float> (lane.getRight()));

    const auto numSamples = audio.getNumSamples();
    const auto* samples = audio.getReadPointer (channel);

    for (auto column = 0; column < lane.getWidth() && numSamples > 0; ++column)
    {
        const auto first = static_cast<int> (static_cast<juce::int64> (column) * numSamples / lane.getWidth());
        const auto last = juce::jmax (first + 1, static_cast<int> (static_cast<juce::int64> (column + 1) * numSamples
                                                                  / lane.getWidth()));
        auto lowest = samples[first];
        auto highest = samples[first];
        auto sumOfSquares = 0.0;

        for (auto i = first; i < juce::jmin (last, numSamples); ++i)
        {
            lowest = juce::jmin (lowest, samples[i]);
            highest = juce::jmax (highest, samples[i]);
            sumOfSquares += static_cast<double> (samples[i]) * samples[i];
        }

        const auto rms = static_cast<float> (std::sqrt (sumOfSquares / (last - first)));
        const auto x = static_cast<float> (lane.getX() + column);
        const auto yOf = [&] (float level) { return centreY - juce::jlimit (-1.0f, 1.0f, level) * halfHeight; };

        // Whole-pixel columns at least one pixel tall, so silence still shows as a line.
        const auto fillColumn = [&] (float top, float bottom)
        { g.fillRect (juce::Rectangle<float> (x, top, 1.0f, juce::jmax (1.0f, bottom - top))); };

        g.setColour (peakColour);
        fillColumn (yOf (highest), yOf (lowest));
        g.setColour (rmsColour);
        fillColumn (yOf (juce::jmin (rms, highest)), yOf (juce::jmax (-rms, lowest)));
    }

    g.setColour (textColour);
    g.setFont (15.0f);
    g.drawText (label, 0, lane.getY(), leftMargin - 10, lane.getHeight(), juce::Justification::centredRight);
    g.setFont (11.0f);
    g.drawText ("+1", 0, lane.getY() - 6, leftMargin - 10, 12, juce::Justification::centredRight);
    g.drawText ("-1", 0, lane.getBottom() - 6, leftMargin - 10, 12, juce::Justification::centredRight);
}
} // namespace

double WaveformPlot::tickSpacing (double durationSeconds, int maxTicks)
{
    if (durationSeconds <= 0.0 || maxTicks < 1)
        return 1.0;

    const auto rough = durationSeconds / maxTicks;
    const auto magnitude = std::pow (10.0, std::floor (std::log10 (rough)));

    for (const auto step : { 1.0, 2.0, 5.0, 10.0 })
        if (step * magnitude >= rough)
            return step * magnitude;

    return 10.0 * magnitude;
}

juce::Image WaveformPlot::draw (const juce::AudioBuffer<float>& audio, double sampleRate, const juce::String& title)
{
    juce::Image image (juce::Image::RGB, width, height, true);
    juce::Graphics g (image);
    g.fillAll (background);

    g.setColour (textColour);
    g.setFont (16.0f);
    g.drawText (title, leftMargin, 8, width - leftMargin - rightMargin, 24, juce::Justification::centredLeft);

    const auto plotArea = juce::Rectangle<int> (leftMargin, topMargin, width - leftMargin - rightMargin,
                                                height - topMargin - bottomMargin);
    const auto laneHeight = (plotArea.getHeight() - laneGap) / 2;
    const auto leftLane = plotArea.withHeight (laneHeight);
    const auto rightLane = leftLane.withY (leftLane.getBottom() + laneGap);

    drawLane (g, audio, 0, leftLane, "L");
    drawLane (g, audio, juce::jmin (1, audio.getNumChannels() - 1), rightLane, "R");

    // Time axis: ticks and labels below the lanes, faint lines through them.
    const auto duration = audio.getNumSamples() / sampleRate;
    const auto spacing = tickSpacing (duration, 16);
    const auto axisY = rightLane.getBottom() + 4;

    g.setFont (12.0f);

    for (auto tick = 0; tick * spacing <= duration + 1.0e-9; ++tick)
    {
        const auto seconds = tick * spacing;
        const auto x = plotArea.getX()
                       + (duration > 0.0 ? juce::roundToInt (seconds / duration * (plotArea.getWidth() - 1)) : 0);

        g.setColour (gridColour.withAlpha (0.6f));
        g.drawVerticalLine (x, static_cast<float> (plotArea.getY()), static_cast<float> (rightLane.getBottom()));
        g.setColour (textColour);
        g.drawVerticalLine (x, static_cast<float> (axisY), static_cast<float> (axisY + 6));
        g.drawText (secondsText (seconds, spacing), x - 40, axisY + 8, 80, 16, juce::Justification::centred);
    }

    return image;
}

void WaveformPlot::writePng (const juce::File& file, const juce::AudioBuffer<float>& audio, double sampleRate,
                             const juce::String& title)
{
    const auto fail = [&file] (const juce::String& why)
    {
        throw RenderFailure (ExitCode::outputFailed, "can't write " + file.getFullPathName() + ": " + why);
    };

    OutputPath::checkWritable (file);

    const auto image = draw (audio, sampleRate, title);

    juce::TemporaryFile temporary (file);

    {
        juce::FileOutputStream stream (temporary.getFile());

        if (! stream.openedOk())
            fail (stream.getStatus().getErrorMessage());

        juce::PNGImageFormat png;

        if (! png.writeImageToStream (image, stream))
            fail ("the PNG encoder failed");
    }

    if (! temporary.overwriteTargetFileWithTemporary())
        fail ("the finished file couldn't be moved into place");
}
