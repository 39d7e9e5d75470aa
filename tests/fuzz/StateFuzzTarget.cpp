// What a restore of any bytes must leave behind:
//  - the three restore flags set, whatever the input was;
//  - every parameter within 0 to 1;
//  - parameters and properties untouched by an input that is not a settings block;
//  - a save of it that restores and saves again to the same attributes, in the same
//    order, with the same values (each within the four decimals it was written with).
#include "StateFuzzTarget.h"

#include "support/Instrument.h"

#include <cmath>
#include <limits>

namespace
{
std::vector<float> parameterValues (juce::AudioProcessor& processor)
{
    std::vector<float> values;
    for (auto* parameter : processor.getParameters())
        values.push_back (parameter->getValue());
    return values;
}

std::vector<uint8_t> bytesOf (const juce::MemoryBlock& block)
{
    const auto* begin = static_cast<const uint8_t*> (block.getData());
    return { begin, begin + block.getSize() };
}
} // namespace

std::vector<std::vector<uint8_t>> StateFuzz::seeds()
{
    std::vector<std::vector<uint8_t>> blocks;
    juce::MemoryBlock block;
    VantrelSampivoAudioProcessor fresh, moved;
    fresh.getStateInformation (block);
    blocks.push_back (bytesOf (block));

    auto step = 0;
    for (auto* parameter : moved.getParameters())
        parameter->setValue (0.0625f * (float) ++step);
    moved.setStateProperty ("extra", "1");
    moved.setStateProperty ("filenames", juce::String::fromUTF8 ("/samples/kick one.wav\nC:\\Gr\xc3\xbc\xc3\x9f" "e\\snare.aiff\n/s/\"odd\nname\".flac"));
    moved.getStateInformation (block);
    blocks.push_back (bytesOf (block));

    for (const auto* document : { "<SETTINGS volume=\"1.7\" pan=\"-3\" attack=\"abc\" msec=\"1\" extra=\"x\"/>",
                                  "<settings volume=\"0.25\"><child a=\"1\">text</child></settings>", "<other volume=\"0.1\"/>",
                                  "<settings pan=\"777777777777777E7777777777777777777\" attack=\"-1e-2147483649\" decay=\" +.5e-1x\" seed=\"-9223372036854775808\"/>" })
    {
        juce::AudioProcessor::copyXmlToBinary (*juce::parseXML (juce::String (document)), block);
        blocks.push_back (bytesOf (block));
    }

    return blocks;
}

std::string StateFuzz::Harness::restoreAndCheck (const uint8_t* data, size_t size)
{
    const auto length = (int) std::min (size, (size_t) std::numeric_limits<int>::max());

    processor.setStateInformation (baseline.getData(), (int) baseline.getSize());
    const auto valuesBefore = parameterValues (processor);
    const auto propertiesBefore = processor.getStatePropertiesSnapshot();
    processor.controlsNeedUpdate = processor.stateChanged = false;
    processor.sampleCounter = 12345;

    processor.setStateInformation (data, length);
    if (! (processor.controlsNeedUpdate && processor.sampleCounter == 0 && processor.stateChanged))
        return "a restore sets the three restore flags";

    for (const auto value : parameterValues (processor))
        if (! (value >= 0.0f && value <= 1.0f))
            return "parameters stay within 0 to 1";

    if (const auto xml = juce::AudioProcessorVantrel::parseStateBlock (data, length); xml == nullptr || ! xml->hasTagName ("settings"))
        if (parameterValues (processor) != valuesBefore || processor.getStatePropertiesSnapshot() != propertiesBefore)
            return "a refused block leaves parameters and properties alone";

    juce::MemoryBlock first, second;
    processor.getStateInformation (first);
    const auto valuesSaved = parameterValues (processor);
    processor.setStateInformation (first.getData(), (int) first.getSize());

    for (size_t i = 0; i < valuesSaved.size(); ++i)
        if (std::abs (processor.getParameters()[(int) i]->getValue() - valuesSaved[i]) > 0.00005f + 1.0e-6f)
            return "a saved value restores to within the four decimals it was written with";

    processor.getStateInformation (second);
    if (Instrument::savedAttributes (first).empty() || Instrument::savedAttributes (first) != Instrument::savedAttributes (second))
        return "save, restore and save again is stable";

    return {};
}
