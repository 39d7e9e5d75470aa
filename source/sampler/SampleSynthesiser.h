#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The instrument's juce::Synthesiser, with its lock made available so that code which
    walks the sound list (the parameter push, the status strip's count) can hold the
    list still while the loader replaces it on another thread.

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
