#include "sampler/SampleSynthesiser.h"

#include <algorithm>

SampleSynthesiser::SampleSynthesiser()
{
    stealCandidates.ensureStorageAllocated (reservedVoices);
}

SampleSynthesiser::~SampleSynthesiser() = default;

const juce::CriticalSection& SampleSynthesiser::getLock() const noexcept
{
    return lock;
}

void SampleSynthesiser::swapSounds (juce::ReferenceCountedArray<juce::SynthesiserSound>& other)
{
    const juce::ScopedLock sl (lock);
    sounds.swapWith (other);
}

void SampleSynthesiser::renderVoices (juce::AudioBuffer<float>& outputAudio, int startSample, int numSamples)
{
    for (auto* voice : voices)
        if (voice->getCurrentlyPlayingNote() >= 0)
            voice->renderNextBlock (outputAudio, startSample, numSamples);
}

juce::SynthesiserVoice* SampleSynthesiser::findVoiceToSteal (juce::SynthesiserSound* soundToPlay, int,
                                                             int midiNoteNumber) const
{
    // The same choice as juce::Synthesiser's: protect the lowest and the highest held
    // note, and take the oldest voice that plays the same note, else the oldest released
    // one, else the oldest without a key down, else the oldest unprotected one.
    juce::SynthesiserVoice* low = nullptr;
    juce::SynthesiserVoice* top = nullptr;

    stealCandidates.clearQuick();
    stealCandidates.ensureStorageAllocated (voices.size());

    for (auto* voice : voices)
    {
        if (! voice->canPlaySound (soundToPlay))
            continue;

        stealCandidates.add (voice);

        if (! voice->isPlayingButReleased())
        {
            const auto note = voice->getCurrentlyPlayingNote();

            if (low == nullptr || note < low->getCurrentlyPlayingNote())
                low = voice;

            if (top == nullptr || note > top->getCurrentlyPlayingNote())
                top = voice;
        }
    }

    // Start times are unique, so sorting once gives the order the base class reaches by
    // sorting after every insertion.
    std::sort (stealCandidates.begin(), stealCandidates.end(),
               [] (const juce::SynthesiserVoice* a, const juce::SynthesiserVoice* b) { return a->wasStartedBefore (*b); });

    if (top == low)
        top = nullptr;

    for (auto* voice : stealCandidates)
        if (voice->getCurrentlyPlayingNote() == midiNoteNumber)
            return voice;

    for (auto* voice : stealCandidates)
        if (voice != low && voice != top && voice->isPlayingButReleased())
            return voice;

    for (auto* voice : stealCandidates)
        if (voice != low && voice != top && ! voice->isKeyDown())
            return voice;

    for (auto* voice : stealCandidates)
        if (voice != low && voice != top)
            return voice;

    return top != nullptr ? top : low;
}
