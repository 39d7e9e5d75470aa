#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The instrument's juce::Synthesiser. The loader hands it a new sound list in one
    swap under its lock, and the block path holds that lock from its parameter push to
    the end of its render, so a block's notes start on sounds that the push reached.

    Voice stealing is JUCE's rule, but on storage reserved in advance: the base class
    empties its candidate list with Array::clear(), which frees it, so every stolen note
    would allocate on the audio thread.
*/
class SampleSynthesiser : public juce::Synthesiser
{
public:
    SampleSynthesiser();
    ~SampleSynthesiser() override;

    /** The lock that renderNextBlock, addSound and clearSounds take. */
    const juce::CriticalSection& getLock() const noexcept;

    /** Exchanges the sound list with another, under the lock and without allocating:
        the audio thread waits for no more than this swap. */
    void swapSounds (juce::ReferenceCountedArray<juce::SynthesiserSound>& other);

    /** The sound list, for a caller that holds the lock. */
    const juce::ReferenceCountedArray<juce::SynthesiserSound>& getSoundsWhileLocked() const noexcept { return sounds; }

protected:
    /** Renders only the voices that play a note: with a few notes sounding out of 128
        voices, calling every idle voice costs as much as the notes themselves. */
    void renderVoices (juce::AudioBuffer<float>& outputAudio, int startSample, int numSamples) override;
    using juce::Synthesiser::renderVoices;

    juce::SynthesiserVoice* findVoiceToSteal (juce::SynthesiserSound* soundToPlay, int midiChannel,
                                              int midiNoteNumber) const override;

private:
    /** Voices the candidate list holds without growing; more voices grow it once. */
    static constexpr int reservedVoices = 256;

    // Used only inside noteOn, which runs under the synthesiser's lock.
    mutable juce::Array<juce::SynthesiserVoice*> stealCandidates;
};
