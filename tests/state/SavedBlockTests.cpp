#include "StateBlocks.h"

#include "processor/HostEnvironment.h"
#include "processor/VantrelSampivoAudioProcessor.h"

#include <cctype>

using namespace StateBlocks;

namespace
{
/** The value of one attribute in a saved text, found by its spelling rather than a parser. */
std::string attributeText (const std::string& text, const std::string& name)
{
    const auto opening = " " + name + "=\"";
    const auto start = text.find (opening);

    if (start == std::string::npos)
        return "<missing>";

    const auto valueStart = start + opening.size();
    const auto valueEnd = text.find ('"', valueStart);
    return valueEnd == std::string::npos ? "<missing>" : text.substr (valueStart, valueEnd - valueStart);
}

/** True when text has the shape of a UTC time such as 2025-03-14T09:26:53Z. */
bool looksLikeUtcTimestamp (const std::string& text)
{
    const std::string shape = "dddd-dd-ddTdd:dd:ddZ";

    if (text.size() != shape.size())
        return false;

    for (size_t i = 0; i < shape.size(); ++i)
        if (shape[i] == 'd' ? ! std::isdigit ((unsigned char) text[i]) : text[i] != shape[i])
            return false;

    return true;
}
} // namespace

TEST (SavedBlock, FreshProcessorSavesTheExactDocument)
{
    VantrelSampivoAudioProcessor processor;
    const auto saved = save (processor);
    const auto text = textOf (saved);

    // The machine-dependent values are checked on their own, then put into the
    // otherwise literal document.
    const auto date = attributeText (text, "date_modified");
    const auto daw = attributeText (text, "daw");
    const auto sampleRate = attributeText (text, "samplerate");
    const auto userName = attributeText (text, "username");

    ASSERT_TRUE (looksLikeUtcTimestamp (date)) << date;
    const auto savedAt = juce::Time::fromISO8601 (date);
    EXPECT_LT (std::abs ((juce::Time::getCurrentTime() - savedAt).inSeconds()), 10.0) << date;

    EXPECT_EQ (juce::String (daw), HostEnvironment::dawFromExecutablePath (
                                       juce::File::getSpecialLocation (juce::File::hostApplicationPath).getFullPathName()));
    EXPECT_TRUE (juce::File::getSpecialLocation (juce::File::hostApplicationPath).getFullPathName().endsWith ("/" + daw));
    EXPECT_EQ (sampleRate, "0");
    EXPECT_EQ (juce::String::fromUTF8 (userName.c_str()), juce::SystemStats::getLogonName());

    const std::string expectedText =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?> <settings volume=\"0.5000\" pan=\"0.5000\" attack=\"0.1500\""
        " decay=\"0.6000\" sustain=\"0.0000\" release=\"0.4000\" curve=\"0.0000\" rndpitch=\"0.0000\""
        " rnddecay=\"0.2500\" vel2vol=\"0.0000\" vel2offs=\"0.3500\" vel2prob=\"0.5000\" probabl=\"1.0000\""
        " msec=\"0.0000\" date_modified=\"" + date + "\" daw=\"" + daw + "\" plugin=\"Vantrel Sampivo\""
        " pluginversion=\"238\" samplerate=\"" + sampleRate + "\" username=\"" + userName + "\"/>";

    EXPECT_EQ (text, expectedText);

    // The wrapping, byte by byte: magic, length = total - 9, text, one zero byte.
    ASSERT_GE (saved.size(), 9u);
    EXPECT_EQ (saved[0], 'V');
    EXPECT_EQ (saved[1], 'C');
    EXPECT_EQ (saved[2], '2');
    EXPECT_EQ (saved[3], '!');
    const auto lengthWord = (uint32_t) saved[4] | ((uint32_t) saved[5] << 8) | ((uint32_t) saved[6] << 16)
                          | ((uint32_t) saved[7] << 24);
    EXPECT_EQ (lengthWord, saved.size() - 9);
    EXPECT_EQ (saved.back(), 0);
    EXPECT_EQ (saved, wrap (expectedText));
    EXPECT_EQ (text.find ('\n'), std::string::npos);
}

TEST (SavedBlock, SampleRateIsTruncatedNotRounded)
{
    VantrelSampivoAudioProcessor processor;
    processor.setRateAndBufferSizeDetails (44100.99, 512);
    EXPECT_EQ (attributeText (textOf (save (processor)), "samplerate"), "44100");
}

TEST (SavedBlock, SavingTwiceGivesTheSameAttributesInTheSameOrder)
{
    VantrelSampivoAudioProcessor processor;
    processor.setStateProperty ("filenames", "/a.wav\n/b.wav");
    processor.getParameters()[2]->setValue (0.3f);

    const auto first = save (processor);
    const auto second = save (processor);

    ASSERT_EQ (attributesOf (first).size(), 21u);
    expectSameAttributesApartFromDate (first, second);
}

TEST (SavedBlock, ParametersNeverAppearTwice)
{
    // A restored document puts the parameter attributes into the property map too;
    // the next save must still write each parameter once, from its own value.
    VantrelSampivoAudioProcessor processor;
    const auto block = wrapDocument ("<settings volume=\"0.2500\" zebra=\"z\"/>");
    processor.setStateInformation (block.data(), (int) block.size());
    processor.getParameters()[0]->setValue (0.75f);

    const auto attributes = attributesOf (save (processor));
    auto volumeCount = 0;

    for (const auto& [name, value] : attributes)
    {
        if (name == "volume")
        {
            ++volumeCount;
            EXPECT_EQ (value, "0.7500");
        }
    }

    EXPECT_EQ (volumeCount, 1);
    EXPECT_EQ (attributes.back().first, "zebra");
}
