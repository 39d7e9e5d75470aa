#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** Measurements on rendered audio, computed independently of the engine. */
namespace SignalAnalysis
{
/** Frequency from the rising zero crossings between start and end, in Hz. */
double zeroCrossingFrequency (const float* samples, int start, int end, double sampleRate);

/** Largest absolute sample in [start, end). */
float peak (const float* samples, int start, int end);

/** Root mean square of [start, end). */
double rms (const float* samples, int start, int end);

/** Index of the first sample whose magnitude exceeds threshold, or -1. */
int firstAbove (const float* samples, int numSamples, float threshold);

/** True if every sample of the buffer is finite. */
bool allFinite (const juce::AudioBuffer<float>& buffer);
} // namespace SignalAnalysis
