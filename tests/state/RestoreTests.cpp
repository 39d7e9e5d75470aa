#include "StateBlocks.h"

#include "processor/VantrelSampivoAudioProcessor.h"

#include <algorithm>
#include <map>

using namespace StateBlocks;

namespace
{
float valueOf (VantrelSampivoAudioProcessor& processor, const juce::String& id)
{
    for (auto* parameter : processor.getParameters())
        if (auto* withID = dynamic_cast<juce::AudioProcessorParameterWithID*> (parameter))
            if (withID->paramID == id)
                return withID->getValue();

    ADD_FAILURE() << "no parameter " << id;
    return -1.0f;
}

std::vector<float> allValues (VantrelSampivoAudioProcessor& processor)
{
    std::vector<float> values;

    for (auto* parameter : processor.getParameters())
        values.push_back (parameter->getValue());

    return values;
}

/** A processor moved away from its defaults, so that a restore would be visible. */
class RejectedBlocks : public testing::Test
{
protected:
    void SetUp() override
    {
        for (auto* parameter : processor.getParameters())
            parameter->setValue (0.875f);

        processor.setStateProperty ("filenames", "/keep/me.wav");
        processor.setStateProperty ("extra", "kept");

        valuesBefore = allValues (processor);
        propertiesBefore = processor.getStatePropertiesSnapshot();
    }

    void expectNothingRestored (const Bytes& block)
    {
        restoreAndCheckFlags (processor, block);
        EXPECT_EQ (allValues (processor), valuesBefore);
        EXPECT_EQ (processor.getStatePropertiesSnapshot(), propertiesBefore);
    }

    VantrelSampivoAudioProcessor processor;
    std::vector<float> valuesBefore;
    std::map<juce::String, juce::String> propertiesBefore;

    // A block that would restore if its wrapping were right.
    const Bytes good = wrapDocument ("<settings volume=\"0.1000\" filenames=\"/other.wav\"/>");
};
} // namespace

//==============================================================================
TEST (StateRoundTrip, EveryParameterAndAnAwkwardFileListComeBack)
{
    const auto fileList = juce::String::fromUTF8 ("/home/user/My Samples/kick drum.wav\n"
                                                  "/home/user/\xc3\x9c" "ber Kl\xc3\xa4nge/caf\xc3\xa9 \xe5\xa3\xb0.aiff\n"
                                                  "/tmp/\"line\nfeed\" in quotes.flac");

    VantrelSampivoAudioProcessor source;
    std::vector<float> written;
    auto step = 0;

    for (auto* parameter : source.getParameters())
    {
        // Sixteenths print exactly with four decimals; none is a parameter's default.
        parameter->setValue (parameter == source.millisecondsParam ? 1.0f : 0.0625f * (float) ++step);
        ASSERT_NE (parameter->getValue(), parameter->getDefaultValue());
        written.push_back (parameter->getValue());
    }

    source.setStateProperty ("filenames", fileList);
    const auto block = save (source);

    VantrelSampivoAudioProcessor destination;
    restoreAndCheckFlags (destination, block);

    const auto restored = allValues (destination);
    ASSERT_EQ (restored.size(), written.size());

    for (size_t i = 0; i < written.size(); ++i)
        EXPECT_NEAR (restored[i], written[i], 0.00005f) << "parameter " << i;

    EXPECT_EQ (destination.getStateProperty ("filenames"), fileList);

    // The list still splits into the three paths the loader expects.
    juce::StringArray paths;
    paths.addTokens (destination.getStateProperty ("filenames"), "\n", "\"");
    ASSERT_EQ (paths.size(), 3);
    EXPECT_TRUE (paths[1].contains (juce::String::fromUTF8 ("caf\xc3\xa9 \xe5\xa3\xb0")));
    EXPECT_EQ (paths[2], "/tmp/\"line\nfeed\" in quotes.flac");

    // And the restored processor saves the same document again.
    expectSameAttributesApartFromDate (block, save (destination));
}

//==============================================================================
TEST (StateRestore, RootNameIsComparedWithoutCase)
{
    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, wrapDocument ("<SETTINGS volume=\"0.2500\" filenames=\"/x.wav\"/>"));
    EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.25f);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "/x.wav");
}

TEST (StateRestore, OutOfRangeAndUnreadableValuesAreClamped)
{
    VantrelSampivoAudioProcessor processor;
    processor.getParameters()[2]->setValue (0.5f); // attack, so that "abc" visibly becomes 0

    restoreAndCheckFlags (processor, wrapDocument ("<settings volume=\"1.7\" pan=\"-3\" attack=\"abc\""
                                                   " decay=\"1e999\" release=\"-0\"/>"));
    EXPECT_EQ (valueOf (processor, "volume"), 1.0f);
    EXPECT_EQ (valueOf (processor, "pan"), 0.0f);
    EXPECT_EQ (valueOf (processor, "attack"), 0.0f);
    EXPECT_EQ (valueOf (processor, "decay"), 1.0f);
    EXPECT_EQ (valueOf (processor, "release"), 0.0f);
}

TEST (StateRestore, ParametersWithoutAttributeKeepTheirValues)
{
    VantrelSampivoAudioProcessor processor;
    processor.getParameters()[1]->setValue (0.9f);
    restoreAndCheckFlags (processor, wrapDocument ("<settings volume=\"0.3000\"/>"));
    EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.3f);
    EXPECT_FLOAT_EQ (valueOf (processor, "pan"), 0.9f);
}

TEST (StateRestore, UnknownAttributeIsKeptAndWrittenInKeyOrder)
{
    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, wrapDocument ("<settings zz=\"last\" extra=\"1\" volume=\"0.5000\" empty=\"\"/>"));
    EXPECT_EQ (processor.getStatePropertiesSnapshot().count ("empty"), 1u);

    const auto attributes = attributesOf (save (processor));
    std::vector<juce::String> propertyNames;

    for (size_t i = 14; i < attributes.size(); ++i)
        propertyNames.push_back (attributes[i].first);

    const std::vector<juce::String> expected { "date_modified", "daw", "empty", "extra", "plugin", "pluginversion",
                                               "samplerate", "username", "zz" };
    EXPECT_EQ (propertyNames, expected);
    EXPECT_EQ (attributes[16].second, "");
    EXPECT_EQ (attributes[17].second, "1");
    EXPECT_EQ (attributes.back().second, "last");
}

TEST (StateRestore, DocumentWithoutFileListClearsItAndTheNextSaveWritesItEmpty)
{
    VantrelSampivoAudioProcessor processor;
    processor.setStateProperty ("filenames", "/a.wav\n/b.wav");
    restoreAndCheckFlags (processor, wrapDocument ("<settings volume=\"0.5000\" plugin=\"Vantrel Sampivo\"/>"));
    EXPECT_EQ (processor.getStatePropertiesSnapshot().count ("filenames"), 0u);

    // The forced reload reads the (now missing) list, which enters it empty.
    processor.reloadSamples (true);
    EXPECT_EQ (processor.getNumLoadedSounds(), 0);

    const auto attributes = attributesOf (save (processor));
    const auto found = std::find_if (attributes.begin(), attributes.end(),
                                     [] (const auto& attribute) { return attribute.first == "filenames"; });
    ASSERT_NE (found, attributes.end());
    EXPECT_EQ (found->second, "");
    EXPECT_NE (textOf (save (processor)).find (" filenames=\"\" "), std::string::npos);
}

TEST (StateRestore, LengthWordBeyondTheBlockIsCutToTheBlock)
{
    for (const uint32_t lengthWord : { 1000u, 0x7fffffffu, 0xffffffffu })
    {
        SCOPED_TRACE (lengthWord);
        auto block = wrapDocument ("<settings volume=\"0.2000\"/>");

        for (auto i = 0; i < 4; ++i)
            block[(size_t) (4 + i)] = (uint8_t) (lengthWord >> (8 * i));

        VantrelSampivoAudioProcessor processor;
        restoreAndCheckFlags (processor, block);
        EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.2f);

        // Without the final zero the text runs to the very end of the block.
        block.pop_back();
        processor.getParameters()[0]->setValue (0.9f);
        restoreAndCheckFlags (processor, block);
        EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.2f);
    }
}

TEST (StateRestore, LengthWordShorterThanTheTextCutsTheText)
{
    // The text ends inside the element, so it no longer parses.
    auto block = wrapDocument ("<settings volume=\"0.2000\"/>");
    block[4] = (uint8_t) (block.size() - 9 - 3);
    block[5] = block[6] = block[7] = 0;

    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, block);
    EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.5f);
}

//==============================================================================
TEST_F (RejectedBlocks, BlocksOfZeroToEightBytes)
{
    for (size_t size = 0; size <= 8; ++size)
    {
        SCOPED_TRACE (size);
        expectNothingRestored (Bytes (good.begin(), good.begin() + (std::ptrdiff_t) size));
    }

    restoreAndCheckFlags (processor, nullptr, 0);
    restoreAndCheckFlags (processor, good.data(), -1);
    EXPECT_EQ (allValues (processor), valuesBefore);
}

TEST_F (RejectedBlocks, WrongMagic)
{
    for (size_t i = 0; i < 4; ++i)
    {
        auto block = good;
        block[i] ^= 0x20;
        expectNothingRestored (block);
    }
}

TEST_F (RejectedBlocks, LengthWordOfZero)
{
    auto block = good;
    block[4] = block[5] = block[6] = block[7] = 0;
    expectNothingRestored (block);
}

TEST_F (RejectedBlocks, TextThatIsNotXml)
{
    expectNothingRestored (wrap ("this is not XML at all"));
    expectNothingRestored (wrap (""));
    expectNothingRestored (wrap ("<settings volume=\"0.1000\"><unclosed>"));
    expectNothingRestored (wrap ("\xff\xfe<\x00s\x00"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1\" =\"x\"/>"));
}

TEST_F (RejectedBlocks, RootOfAnotherName)
{
    expectNothingRestored (wrapDocument ("<setting volume=\"0.1000\"/>"));
    expectNothingRestored (wrapDocument ("<settingsx volume=\"0.1000\"/>"));
    expectNothingRestored (wrapDocument ("<other><settings volume=\"0.1000\"/></other>"));
}

TEST_F (RejectedBlocks, TheGoodBlockItselfRestores)
{
    // The control case: the same processor and block with the wrapping intact.
    restoreAndCheckFlags (processor, good);
    EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.1f);
    EXPECT_EQ (processor.getStatePropertiesSnapshot().count ("extra"), 0u);
    EXPECT_EQ (processor.getStateProperty ("filenames"), "/other.wav");
}

TEST (StateRestore, NoReloadIsStartedByARestore)
{
    VantrelSampivoAudioProcessor processor;
    processor.reloadRequested.store (false);
    const auto block = wrapDocument ("<settings filenames=\"/no/such/file.wav\"/>");
    restoreAndCheckFlags (processor, block);
    EXPECT_FALSE (processor.reloadRequested.load());
    EXPECT_FALSE (processor.isLoadingSamples.load());
    EXPECT_EQ (processor.getNumLoadedSounds(), 0);
}

TEST_F (RejectedBlocks, DocumentsThatWouldDriveTheReaderDeep)
{
    // Each of these once overflowed the stack inside the XML reader.
    std::string nested;

    for (auto i = 0; i < 200000; ++i)
        nested += "<a>";

    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\">" + nested + "</settings>"));

    // Document types declare entities, which the reader expands; settings never have one.
    expectNothingRestored (wrapDocument ("<!DOCTYPE settings [ <!ENTITY e \"x\"> ]> <settings volume=\"0.1000\" a=\"&e;\"/>"));
}

TEST_F (RejectedBlocks, ProcessingInstructionsAfterTheDeclaration)
{
    // The first of these once kept the XML reader looping for ever.
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\"><?pi?>text</settings>"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\"> <?pi x?> </settings>"));
    expectNothingRestored (wrapDocument ("<?pi?><settings volume=\"0.1000\"/>"));
    expectNothingRestored (wrap ("  <?xml version=\"1.0\""));
}

TEST (StateRestore, TheDeclarationMayBeMissingOrPrecededBySpace)
{
    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, wrap ("<settings volume=\"0.3000\"/>"));
    EXPECT_FLOAT_EQ (processor.getParameters()[0]->getValue(), 0.3f);

    restoreAndCheckFlags (processor, wrap ("\n  <?xml version=\"1.0\"?>\n<settings volume=\"0.4000\"/>"));
    EXPECT_FLOAT_EQ (processor.getParameters()[0]->getValue(), 0.4f);
}

TEST_F (RejectedBlocks, MalformedCharacterReferences)
{
    // The reader would step past the end of the text after the first of these.
    expectNothingRestored (wrap ("<settings volume=\"0.1000\" a=\"&#x"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\" a=\"&#x41\"/>"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\" a=\"&#x123456789;\"/>"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\" a=\"&#xFFFFFFFF;\"/>"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\" a=\"&#99999999999;\"/>"));
    expectNothingRestored (wrapDocument ("<settings volume=\"0.1000\" a=\"&#;\"/>"));
}

TEST (StateRestore, WellFormedCharacterReferencesAreRead)
{
    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, wrapDocument ("<settings a=\"&#x41;&#66;&#x10FFFF;&#1114111;&#10;&amp;&lt;\"/>"));
    EXPECT_EQ (processor.getStateProperty ("a"),
               juce::String::fromUTF8 ("AB\xf4\x8f\xbf\xbf\xf4\x8f\xbf\xbf\n&<"));
}

TEST (StateRestore, MalformedUtf8IsReadAsReplacementCharacters)
{
    VantrelSampivoAudioProcessor processor;

    // A lone continuation byte, a lead byte without its continuation, an overlong
    // '/', an encoded surrogate and a lead byte that UTF-8 never uses.
    restoreAndCheckFlags (processor, wrapDocument ("<settings volume=\"0.1000\" a=\"x\xbcy\xc3z\xc0\xaf\xed\xa0\x80\xff\"/>"));
    EXPECT_FLOAT_EQ (processor.getParameters()[0]->getValue(), 0.1f);

    const auto replacement = juce::String::fromUTF8 ("\xef\xbf\xbd");
    EXPECT_EQ (processor.getStateProperty ("a"), "x" + replacement + "y" + replacement + "z"
                                                  + replacement + replacement + replacement + replacement
                                                  + replacement + replacement);
    EXPECT_TRUE (juce::CharPointer_UTF8::isValidString (processor.getStateProperty ("a").toRawUTF8(), -1));

    // JUCE's own decoding would read 0xBC as '<': here it can't open elements.
    std::string disguised;

    for (auto i = 0; i < 200000; ++i)
        disguised += "\xbc" "a>";

    restoreAndCheckFlags (processor, wrapDocument ("<settings volume=\"0.2000\">" + disguised + "</settings>"));
    EXPECT_FLOAT_EQ (processor.getParameters()[0]->getValue(), 0.2f);

    // Text ends at the first zero byte, wherever the length word says it ends.
    restoreAndCheckFlags (processor, wrap (std::string ("<settings volume=\"0.3000\"/>") + '\0' + "<junk"));
    EXPECT_FLOAT_EQ (processor.getParameters()[0]->getValue(), 0.3f);
}

TEST (StateRestore, ChildElementsAndCommentsDoNotStopARestore)
{
    VantrelSampivoAudioProcessor processor;
    restoreAndCheckFlags (processor, wrapDocument ("<!-- saved by hand --><settings volume=\"0.3000\">"
                                                   "<note kind=\"x\">hello</note><![CDATA[<<>>]]></settings>"));
    EXPECT_FLOAT_EQ (valueOf (processor, "volume"), 0.3f);
}
