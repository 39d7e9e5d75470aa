// The fuzzing entry point for restoring saved state. Every input is handed to
// setStateInformation as a host would hand it back, and the processor must come out
// of it consistent:
//  - the three restore flags are set whatever the input was;
//  - every parameter stays within 0 to 1;
//  - an input that is not a settings block changes neither parameters nor properties;
//  - whatever was restored saves to a block that restores and saves again to the
//    same attributes, in the same order, with the same values.
// A broken property aborts, so libFuzzer (or the replay driver) reports it as a crash.

#include "processor/VantrelSampivoAudioProcessor.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <vector>

namespace
{
void check (bool condition, const char* what)
{
    if (! condition)
    {
        std::fprintf (stderr, "state fuzz check failed: %s\n", what);
        std::abort();
    }
}

std::vector<float> parameterValues (juce::AudioProcessor& processor)
{
    std::vector<float> values;

    for (auto* parameter : processor.getParameters())
        values.push_back (parameter->getValue());

    return values;
}

/** The attributes of a saved block, in document order, without the save time. */
std::vector<std::pair<juce::String, juce::String>> savedAttributes (const juce::MemoryBlock& block)
{
    const auto xml = juce::AudioProcessorVantrel::parseStateBlock (block.getData(), (int) block.getSize());
    check (xml != nullptr && xml->getTagName() == "settings", "a saved block reads back as a settings document");

    std::vector<std::pair<juce::String, juce::String>> attributes;

    for (auto i = 0; i < xml->getNumAttributes(); ++i)
        if (xml->getAttributeName (i) != "date_modified")
            attributes.emplace_back (xml->getAttributeName (i), xml->getAttributeValue (i));

    return attributes;
}

class StateFuzzHarness
{
public:
    StateFuzzHarness()
    {
        processor.getStateInformation (baseline);
    }

    void run (const uint8_t* data, size_t size)
    {
        // Every input starts from the same fresh state, so a crash replays on its own.
        processor.setStateInformation (baseline.getData(), (int) baseline.getSize());

        const auto valuesBefore = parameterValues (processor);
        const auto propertiesBefore = processor.getStatePropertiesSnapshot();
        primeFlags();

        const auto sizeInBytes = (int) std::min (size, (size_t) std::numeric_limits<int>::max());
        processor.setStateInformation (data, sizeInBytes);

        check (processor.controlsNeedUpdate.load(), "controlsNeedUpdate is set after a restore");
        check (processor.sampleCounter.load() == 0, "sampleCounter is 0 after a restore");
        check (processor.stateChanged.load(), "stateChanged is set after a restore");

        const auto values = parameterValues (processor);

        for (const auto value : values)
            check (value >= 0.0f && value <= 1.0f, "parameters stay within 0 to 1");

        const auto xml = juce::AudioProcessorVantrel::parseStateBlock (data, sizeInBytes);

        if (xml == nullptr || ! xml->hasTagName ("settings"))
        {
            check (values == valuesBefore, "a rejected block leaves the parameters alone");
            check (processor.getStatePropertiesSnapshot() == propertiesBefore,
                   "a rejected block leaves the properties alone");
        }

        juce::MemoryBlock first;
        processor.getStateInformation (first);
        const auto valuesSaved = parameterValues (processor);

        processor.setStateInformation (first.getData(), (int) first.getSize());

        for (size_t i = 0; i < valuesSaved.size(); ++i)
            check (std::abs (processor.getParameters()[(int) i]->getValue() - valuesSaved[i]) <= 0.00005f + 1.0e-6f,
                   "a saved value restores to within the four decimals it was written with");

        juce::MemoryBlock second;
        processor.getStateInformation (second);
        check (savedAttributes (first) == savedAttributes (second), "save, restore and save again is stable");
    }

private:
    void primeFlags()
    {
        processor.controlsNeedUpdate.store (false);
        processor.sampleCounter.store (12345);
        processor.stateChanged.store (false);
    }

    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock baseline;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    static StateFuzzHarness harness;
    harness.run (data, size);
    return 0;
}
