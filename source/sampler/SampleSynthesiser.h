#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The instrument's juce::Synthesiser, with its lock made available so that code which
    walks the sound list (the parameter push, the status strip's count) can hold the
    list still while the loader replaces it on another thread. */
class SampleSynthesiser : public juce::Synthesiser
{
public:
    SampleSynthesiser();
    ~SampleSynthesiser() override;

    /** The lock that renderNextBlock, addSound and clearSounds take. */
    const juce::CriticalSection& getLock() const noexcept;
};
