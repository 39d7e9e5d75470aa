#include "DefaultTone.h"

#include "RenderFailure.h"
#include "WavFileOutput.h"

#include <cmath>

namespace
{
struct Partial
{
    double harmonic;
    double level;
    double decaySeconds; // time to fall by 1/e
};

// A bright start that mellows: the upper partials die away much faster than the
// fundamental, roughly as a struck tine does.
constexpr Partial partials[] = {
    { 1.0, 1.00, 0.90 }, { 2.0, 0.42, 0.45 }, { 3.0, 0.20, 0.25 },
    { 4.0, 0.11, 0.16 }, { 6.0, 0.05, 0.08 }, { 7.02, 0.08, 0.03 },
};

constexpr double fadeInSeconds = 0.002;
constexpr double fadeOutSeconds = 0.05;
constexpr double targetPeak = 0.3; // leaves headroom for chords at the default volume
constexpr double stereoDetuneCents = 3.0; // the right channel runs slightly sharp, for width
} // namespace

juce::AudioBuffer<float> DefaultTone::render()
{
    const auto numSamples = static_cast<int> (seconds * sampleRate);
    juce::AudioBuffer<float> buffer (2, numSamples);

    for (auto channel = 0; channel < 2; ++channel)
    {
        const auto detune = std::pow (2.0, (channel == 0 ? 0.0 : stereoDetuneCents) / 1200.0);
        auto* samples = buffer.getWritePointer (channel);

        for (auto i = 0; i < numSamples; ++i)
        {
            const auto t = i / sampleRate;
            auto value = 0.0;

            for (const auto& partial : partials)
                value += partial.level * std::exp (-t / partial.decaySeconds)
                         * std::sin (juce::MathConstants<double>::twoPi * frequency * partial.harmonic * detune * t);

            const auto fadeIn = juce::jmin (1.0, t / fadeInSeconds);
            const auto fadeOut = juce::jmin (1.0, (seconds - t) / fadeOutSeconds);
            samples[i] = static_cast<float> (value * fadeIn * fadeOut);
        }
    }

    const auto peak = buffer.getMagnitude (0, numSamples);

    if (peak > 0.0f)
        buffer.applyGain (static_cast<float> (targetPeak / peak));

    return buffer;
}

DefaultTone::DefaultTone()
    : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                  .getNonexistentChildFile ("sampivo-render-", {}, false))
{
    if (! folder.createDirectory())
        throw RenderFailure (ExitCode::outputFailed,
                             "can't create a temporary folder for the built-in tone at " + folder.getFullPathName());

    file = folder.getChildFile ("Sampivo built-in tone.wav");

    try
    {
        WavFileOutput::write (file, render(), sampleRate, 24);
    }
    catch (...)
    {
        folder.deleteRecursively();
        throw;
    }
}

DefaultTone::~DefaultTone()
{
    folder.deleteRecursively();
}
