#include "sampler/SampleSynthesiser.h"

SampleSynthesiser::SampleSynthesiser() = default;
SampleSynthesiser::~SampleSynthesiser() = default;

const juce::CriticalSection& SampleSynthesiser::getLock() const noexcept
{
    return lock;
}
