#pragma once

#include "sampler/SampleEnvelope.h"
#include "sampler/SamplerSoundLog.h"

#include <atomic>

namespace juce
{

/** Plays one note of a SamplerSoundLog: pitch from the distance to the root note and the
    two sample rates, per-note random pitch, level and pan, a velocity-dependent start
    point and volume, a note probability, and its own envelope.

    Everything is computed at note start from the sound's settings; rendering is a
    per-sample linear interpolation that never allocates. The voice is freed only when
    its read position passes the end of the sample, or when the synthesiser stops it.
*/
class SamplerVoiceLog : public SynthesiserVoice
{
public:
    SamplerVoiceLog();
    ~SamplerVoiceLog() override;

    bool canPlaySound (SynthesiserSound* sound) override;
    void startNote (int midiNoteNumber, float velocity, SynthesiserSound* sound,
                    int currentPitchWheelPosition) override;
    void stopNote (float velocity, bool allowTailOff) override;
    void pitchWheelMoved (int newValue) override;
    void controllerMoved (int controllerNumber, int newValue) override;
    void renderNextBlock (AudioBuffer<float>& outputBuffer, int startSample, int numSamples) override;
    using SynthesiserVoice::renderNextBlock;

    double getPitchRatio() const noexcept             { return pitchRatio; }
    double getSourceSamplePosition() const noexcept   { return sourceSamplePosition; }
    float getLeftGain() const noexcept                { return lgain; }
    float getRightGain() const noexcept               { return rgain; }
    const SampleEnvelope& getEnvelope() const noexcept { return envelope; }

    /** How many notes this voice silenced because something it computed was not a
        finite number (a fault elsewhere: the voice keeps the output finite). */
    int getNonFiniteCount() const noexcept            { return nonFiniteCount.load (std::memory_order_relaxed); }

private:
    double pitchRatio = 0.0;
    double sourceSamplePosition = 0.0;
    float lgain = 0.0f;
    float rgain = 0.0f;
    SampleEnvelope envelope;
    std::atomic<int> nonFiniteCount { 0 };

    /** Ends the note at once and counts it, when its values are not finite. */
    void silenceNonFiniteNote();

    JUCE_LEAK_DETECTOR (SamplerVoiceLog)
};

} // namespace juce
