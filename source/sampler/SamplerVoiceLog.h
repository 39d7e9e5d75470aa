#pragma once

#include "sampler/SampleEnvelope.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SeededRandom.h"
#include "sampler/StretchMixer.h"

#include <atomic>

namespace juce
{

/** Plays one note of a SamplerSoundLog: pitch from the distance to the root note and the
    two sample rates, per-note random pitch, level and pan, a velocity-dependent start
    point and volume, a note probability, and its own envelope.

    Everything is computed at note start from the sound's settings. A block is rendered
    in stretches of at most 256 samples: the envelope's gains for the stretch first, then
    the linear interpolation of the sample, in a loop without branches in which no
    sample depends on the one before. The voice is freed only when its read position
    passes the end of the sample, or when the synthesiser stops it.
*/
class SamplerVoiceLog : public SynthesiserVoice
{
public:
    /** Draws its random amounts from the source, which must outlive the voice. */
    explicit SamplerVoiceLog (SeededRandom& randomSource);
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

    /** The most samples rendered in one stretch. */
    static constexpr int maxStretch = StretchMixer::maxLength;

private:
    /** Adds one stretch of the note to the output, gains[i] being the envelope's. */
    void mixStretch (float* left, float* right, const float* gains, int numSamples) const noexcept;

    /** The number of samples from the note's start until the read position passes
        the end of the sample, that sample included. */
    std::int64_t samplesUntilEnd() const noexcept;

    /** Ends the note at once and counts it, when its values are not finite. */
    void silenceNonFiniteNote();

    // Shared by every voice of the synthesiser: notes draw in the order they start.
    SeededRandom& random;

    double pitchRatio = 0.0;
    double sourceSamplePosition = 0.0;
    double startPosition = 0.0;
    std::int64_t samplesPlayed = 0, noteLength = 0;
    float lgain = 0.0f;
    float rgain = 0.0f;
    SampleEnvelope envelope;

    // The sound of the current note; the base class holds the reference that keeps it alive.
    const SamplerSoundLog* playingSound = nullptr;
    std::atomic<int> nonFiniteCount { 0 };

    JUCE_LEAK_DETECTOR (SamplerVoiceLog)
};

} // namespace juce
