#include "StateSeeds.h"

#include "processor/VantrelSampivoAudioProcessor.h"

namespace
{
juce::MemoryBlock saveState (VantrelSampivoAudioProcessor& processor)
{
    juce::MemoryBlock block;
    processor.getStateInformation (block);
    return block;
}

juce::MemoryBlock wrapText (const juce::String& text)
{
    juce::MemoryBlock block;

    if (auto xml = juce::parseXML (text))
        juce::AudioProcessor::copyXmlToBinary (*xml, block);

    return block;
}
} // namespace

std::vector<juce::MemoryBlock> StateSeeds::makeSeeds()
{
    std::vector<juce::MemoryBlock> seeds;

    {
        VantrelSampivoAudioProcessor processor;
        seeds.push_back (saveState (processor));

        auto step = 0;

        for (auto* parameter : processor.getParameters())
            parameter->setValue (0.0625f * (float) ++step);

        processor.setStateProperty ("filenames", juce::String::fromUTF8 ("/samples/kick one.wav\n"
                                                                         "/samples/Gr\xc3\xbc\xc3\x9f\x65/snare.aiff\n"
                                                                         "/samples/\"odd\nname\".flac"));
        seeds.push_back (saveState (processor));
    }

    {
        VantrelSampivoAudioProcessor processor;
        processor.setStateProperty ("extra", "1");
        processor.setStateProperty ("filenames", "C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
        seeds.push_back (saveState (processor));
    }

    seeds.push_back (wrapText ("<SETTINGS volume=\"1.7\" pan=\"-3\" attack=\"abc\" msec=\"1\" extra=\"x\"/>"));
    seeds.push_back (wrapText ("<settings volume=\"0.25\"><child a=\"1\">text</child></settings>"));
    seeds.push_back (wrapText ("<other volume=\"0.1\"/>"));

    return seeds;
}

int StateSeeds::writeSeeds (const juce::File& folder)
{
    folder.createDirectory();

    const auto seeds = makeSeeds();
    auto index = 0;

    for (const auto& seed : seeds)
        folder.getChildFile ("seed-" + juce::String (index++).paddedLeft ('0', 2) + ".bin").replaceWithData (seed.getData(), seed.getSize());

    return index;
}
