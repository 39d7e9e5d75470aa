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

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

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

struct Harness
{
    Harness() { processor.getStateInformation (baseline); }

    void run (const uint8_t* data, int size)
    {
        // Every input starts from the same fresh state, so a crash replays on its own.
        processor.setStateInformation (baseline.getData(), (int) baseline.getSize());
        const auto valuesBefore = parameterValues (processor);
        const auto propertiesBefore = processor.getStatePropertiesSnapshot();
        processor.controlsNeedUpdate = false;
        processor.sampleCounter = 12345;
        processor.stateChanged = false;

        processor.setStateInformation (data, size);
        check (processor.controlsNeedUpdate && processor.sampleCounter == 0 && processor.stateChanged,
               "a restore sets the three restore flags");

        for (const auto value : parameterValues (processor))
            check (value >= 0.0f && value <= 1.0f, "parameters stay within 0 to 1");

        if (const auto xml = juce::AudioProcessorVantrel::parseStateBlock (data, size); xml == nullptr || ! xml->hasTagName ("settings"))
            check (parameterValues (processor) == valuesBefore && processor.getStatePropertiesSnapshot() == propertiesBefore,
                   "a rejected block leaves parameters and properties alone");

        juce::MemoryBlock first, second;
        processor.getStateInformation (first);
        const auto valuesSaved = parameterValues (processor);
        processor.setStateInformation (first.getData(), (int) first.getSize());

        for (size_t i = 0; i < valuesSaved.size(); ++i)
            check (std::abs (processor.getParameters()[(int) i]->getValue() - valuesSaved[i]) <= 0.00005f + 1.0e-6f,
                   "a saved value restores to within the four decimals it was written with");

        processor.getStateInformation (second);
        check (savedAttributes (first) == savedAttributes (second), "save, restore and save again is stable");
    }

    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock baseline;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    static Harness harness;
    harness.run (data, (int) std::min (size, (size_t) std::numeric_limits<int>::max()));
    return 0;
}
