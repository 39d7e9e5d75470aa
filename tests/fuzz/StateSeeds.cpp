#include "StateSeeds.h"

#include "processor/VantrelSampivoAudioProcessor.h"

std::vector<juce::MemoryBlock> StateSeeds::makeSeeds()
{
    std::vector<juce::MemoryBlock> seeds (6);
    VantrelSampivoAudioProcessor fresh, moved, windows;
    fresh.getStateInformation (seeds[0]);

    auto step = 0;
    for (auto* parameter : moved.getParameters())
        parameter->setValue (0.0625f * (float) ++step);

    moved.setStateProperty ("filenames", juce::String::fromUTF8 ("/samples/kick one.wav\n/samples/Gr\xc3\xbc\xc3\x9f" "e/snare.aiff\n"
                                                                "/samples/\"odd\nname\".flac"));
    moved.getStateInformation (seeds[1]);
    windows.setStateProperty ("extra", "1");
    windows.setStateProperty ("filenames", "C:\\Samples\\kick.wav\nC:\\Samples\\snare.wav");
    windows.getStateInformation (seeds[2]);

    const char* documents[] { "<SETTINGS volume=\"1.7\" pan=\"-3\" attack=\"abc\" msec=\"1\" extra=\"x\"/>",
                              "<settings volume=\"0.25\"><child a=\"1\">text</child></settings>", "<other volume=\"0.1\"/>" };
    for (auto i = 0; i < 3; ++i)
        juce::AudioProcessor::copyXmlToBinary (*juce::parseXML (juce::String (documents[i])), seeds[(size_t) i + 3]);

    return seeds;
}

int StateSeeds::writeSeeds (const juce::File& folder)
{
    folder.createDirectory();
    auto index = 0;

    for (const auto& seed : makeSeeds())
        folder.getChildFile ("seed-" + juce::String (index++).paddedLeft ('0', 2) + ".bin").replaceWithData (seed.getData(), seed.getSize());

    return index;
}
