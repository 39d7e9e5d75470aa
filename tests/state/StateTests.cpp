// The saved state: the exact bytes a save writes, what a restore takes, and every
// block it refuses.
#include "processor/HostEnvironment.h"
#include "processor/NumberText.h"
#include "processor/VantrelSampivoAudioProcessor.h"
#include "support/AudioFixtures.h"
#include "support/Instrument.h"
#include "support/RowName.h"

// The block layout is written here byte by byte, not with JUCE's writer, so that the
// tests check the layout rather than assume it.
namespace
{
std::string withLengthWord (std::string block, uint32_t lengthWord)
{
    for (auto i = 0; i < 4; ++i)
        block[(size_t) (4 + i)] = (char) (uint8_t) (lengthWord >> (8 * i));
    return block;
}

/** "VC2!", the length word (little-endian), the UTF-8 text and a zero byte. */
std::string wrap (const std::string& text) { return withLengthWord ("VC2!...." + text + '\0', (uint32_t) text.size()); }
std::string document (const std::string& element) { return wrap ("<?xml version=\"1.0\" encoding=\"UTF-8\"?> " + element); }

std::string save (juce::AudioProcessor& processor) { juce::MemoryBlock b; processor.getStateInformation (b); return { (const char*) b.getData(), b.getSize() }; }

auto attributesOf (const std::string& block) { return Instrument::savedAttributes ({ block.data(), block.size() }); }

void restore (juce::AudioProcessor& processor, const std::string& block) { processor.setStateInformation (block.data(), (int) block.size()); }

// volume: after the restore, below 0 when the block is refused; key: a property to
// check, with its value (nullptr: absent).
struct BlockRow { const char* name; std::string block; float volume; const char* key = nullptr; const char* value = nullptr; };
class Restore : public testing::TestWithParam<BlockRow> {};
const auto good = document ("<settings volume=\"0.1000\" filenames=\"/other.wav\"/>");
} // namespace

TEST_P (Restore, TakesWhatItCanReadAndRefusesTheRestWhole)
{
    const auto row = GetParam();
    VantrelSampivoAudioProcessor processor;
    for (auto* parameter : processor.getParameters())
        parameter->setValue (0.875f);

    processor.setStateProperty ("extra", "kept");
    const auto before = processor.getStatePropertiesSnapshot();
    restore (processor, row.block);
    const auto after = processor.getStatePropertiesSnapshot();

    // A refused block changes nothing. Otherwise the properties are replaced, and a
    // parameter without an attribute keeps its value; every value stays within 0..1.
    for (auto* parameter : processor.getParameters())
        EXPECT_TRUE (row.volume < 0.0f ? parameter->getValue() == 0.875f : parameter->getValue() <= 1.0f);

    EXPECT_EQ (after == before, row.volume < 0.0f);
    EXPECT_FLOAT_EQ (processor.volumeParam->get(), row.volume < 0.0f ? 0.875f : row.volume);
    EXPECT_FLOAT_EQ (processor.attackParam->get(), 0.875f);

    if (row.key != nullptr)
    {
        EXPECT_EQ (after.count (row.key) != 0 ? after.at (row.key).toStdString() : "<absent>", row.value != nullptr ? row.value : "<absent>");
    }
}

INSTANTIATE_TEST_SUITE_P (State, Restore, testing::Values (
    BlockRow { "TheGoodBlock", good, 0.1f, "filenames", "/other.wav" },
    BlockRow { "RootNameInCapitals", document ("<SETTINGS volume=\"0.2500\"/>"), 0.25f },
    BlockRow { "NoDeclaration", wrap ("<settings volume=\"0.3000\"/>"), 0.3f },
    BlockRow { "SpaceBeforeTheDeclaration", wrap ("\n  <?xml version=\"1.0\"?>\n<settings volume=\"0.4000\"/>"), 0.4f },
    BlockRow { "LengthWordBeyondTheBlock", withLengthWord (good, 0xffffffffu), 0.1f },
    BlockRow { "LengthWordOfTwoToThe31", withLengthWord (good, 0x7fffffffu), 0.1f },
    BlockRow { "NoFinalZeroByte", withLengthWord (good, 1000).substr (0, good.size() - 1), 0.1f, "filenames", "/other.wav" },
    BlockRow { "TextEndsAtAZeroByte", wrap (std::string ("<settings volume=\"0.3000\"/>") + '\0' + "<junk"), 0.3f },
    BlockRow { "OutOfRangeValuesClamped", document ("<settings volume=\"1.7\" msec=\"1.7\" pan=\"1e999\"/>"), 1.0f },
    // Exponents beyond an int: JUCE's own reader wraps this one round to 0.
    BlockRow { "ExponentBeyondAnInt", document ("<settings volume=\"1234567890123456789e2147483647\" pan=\"7E77777777777777777\"/>"), 1.0f },
    BlockRow { "ChildrenAndComments", document ("<!-- by hand --><settings volume=\"0.3000\"><n k=\"x\">hi</n><![CDATA[<<>>]]></settings>"), 0.3f },
    BlockRow { "EmptyAttributeKept", document ("<settings volume=\"0.5000\" empty=\"\"/>"), 0.5f, "empty", "" },
    BlockRow { "CharacterReferences", document ("<settings volume=\"0.5000\" a=\"&#x41;&#66;&#x10FFFF;&#10;&amp;\"/>"), 0.5f, "a", "AB\xf4\x8f\xbf\xbf\n&" },
    // A lone continuation byte, a lead byte alone, an overlong '/', a surrogate and 0xFF.
    BlockRow { "MalformedUtf8", document ("<settings volume=\"0.5000\" a=\"x\xbcy\xc3z\xc0\xaf\xed\xa0\x80\xff\"/>"), 0.5f, "a",
               "x\xef\xbf\xbdy\xef\xbf\xbdz\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd" },
    BlockRow { "Empty", "", -1 },
    BlockRow { "EightBytes", std::string ("VC2!\x05\0\0\0", 8), -1 },
    BlockRow { "WrongMagic", "VC2?" + good.substr (4), -1 },
    BlockRow { "ZeroLengthWord", withLengthWord (good, 0), -1 },
    BlockRow { "LengthWordCutsTheElement", withLengthWord (good, (uint32_t) good.size() - 12), -1 },
    BlockRow { "NotXml", wrap ("\xff\xfe<\x00s\x00"), -1 },
    BlockRow { "Unclosed", wrap ("<settings volume=\"0.1000\"><unclosed>"), -1 },
    BlockRow { "AttributeWithoutName", document ("<settings volume=\"0.1\" =\"x\"/>"), -1 },
    BlockRow { "AnotherRoot", document ("<settingsx volume=\"0.1000\"/>"), -1 },
    BlockRow { "SettingsInsideAnotherRoot", document ("<other><settings volume=\"0.1000\"/></other>"), -1 },
    BlockRow { "DeepNesting", document ("<settings volume=\"0.1000\">" + juce::String::repeatedString ("<a>", 200000).toStdString() + "</settings>"), -1 },
    // Read byte by byte, 0xBC would be '<' and open 200000 elements; as UTF-8 it is text.
    BlockRow { "DisguisedNesting", document ("<settings volume=\"0.1000\">" + [] { std::string text; for (auto i = 0; i < 200000; ++i) text += "\xbc" "a>"; return text; }() + "</settings>"), 0.1f },
    BlockRow { "DocumentType", document ("<!DOCTYPE settings [ <!ENTITY e \"x\"> ]> <settings volume=\"0.1000\" a=\"&e;\"/>"), -1 },
    BlockRow { "InstructionAndTextInsideAnElement", document ("<settings volume=\"0.1000\"><?pi?>text</settings>"), -1 },
    BlockRow { "LeadByteAtTheEnd", wrap ("<settings volume=\"0.1000\" a=\"x\xc3"), -1 },
    BlockRow { "InstructionInsideAnElement", document ("<settings volume=\"0.1000\"> <?pi x?> </settings>"), -1 },
    BlockRow { "InstructionBeforeTheRoot", document ("<?pi?><settings volume=\"0.1000\"/>"), -1 },
    BlockRow { "UnfinishedDeclaration", wrap ("  <?xml version=\"1.0\""), -1 },
    BlockRow { "ReferenceAtTheEnd", wrap ("<settings volume=\"0.1000\" a=\"&#x"), -1 },
    BlockRow { "ReferenceWithoutSemicolon", document ("<settings volume=\"0.1000\" a=\"&#x41\"/>"), -1 },
    BlockRow { "ReferenceBeyondUnicode", document ("<settings volume=\"0.1000\" a=\"&#x110000;\"/>"), -1 },
    BlockRow { "ReferenceTooLong", document ("<settings volume=\"0.1000\" a=\"&#99999999999;\"/>"), -1 },
    BlockRow { "ReferenceWithoutDigits", document ("<settings volume=\"0.1000\" a=\"&#;\"/>"), -1 }),
    RowName());

// Every text JUCE's reader reads without overflowing must read to the same value; the
// rest (exponents past an int) have values of their own, worked out by hand.
TEST (State, NumbersReadAsJuceReadsThemAndLongExponentsWithoutOverflow)
{
    for (const auto* text : { "0.5", "-0.25", " \t 0.75", "+1", "1e-3", "2.5E+2", "0.5000abc", "abc", "", "-", "nan", "-inf", "Infinity",
                              "-0", "-0.0", "-0.", "00", "0e5", "0e999", "-0e-999", ".5", "5.", "1e", "1e+", "12345678901234567890123",
                              "0.12345678901234567890123", "3.14159265358979323846264", "0.000000000000000000001", "1e308", "9e308",
                              "1.7976931348623157e308", "1e-307", "1e-308", "1e-310", "1e309", "100000000000000000000000e-10", "0x10", "1,5" })
    {
        const auto expected = juce::String (text).getDoubleValue();
        const auto read = NumberText::toDouble (text);
        EXPECT_TRUE (std::isnan (expected) ? std::isnan (read) : read == expected && std::signbit (read) == std::signbit (expected)) << text;
    }

    const auto infinity = std::numeric_limits<double>::infinity();
    for (const auto& [text, expected] : std::vector<std::pair<std::string, double>> {
             { "777777777777777E7777777777777777777", infinity }, { "1e2147483648", infinity }, { "-1e99999999999999999999", -infinity },
             { "1234567890123456789e2147483647", infinity }, { "1e-2147483649", 0.0 }, { "5e-99999999999999999999", 0.0 },
             { std::string (1100, '9'), infinity } })
        EXPECT_EQ (NumberText::toDouble (text), expected) << text;
}

TEST (State, AFreshProcessorSavesTheExactDocument)
{
    VantrelSampivoAudioProcessor processor;
    processor.setRateAndBufferSizeDetails (44100.99, 512);
    const auto saved = save (processor);
    const auto date = juce::String (saved.c_str() + 8).fromFirstOccurrenceOf ("date_modified=\"", false, false)
                                                       .upToFirstOccurrenceOf ("\"", false, false);

    // The save time, in UTC, within a few seconds of now.
    EXPECT_LT (std::abs ((juce::Time::getCurrentTime() - juce::Time::fromISO8601 (date)).inSeconds()), 10.0);

    const auto text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?> <settings volume=\"0.5000\" pan=\"0.5000\" attack=\"0.1500\""
                      " decay=\"0.6000\" sustain=\"0.0000\" release=\"0.4000\" curve=\"0.0000\" rndpitch=\"0.0000\""
                      " rnddecay=\"0.2500\" vel2vol=\"0.0000\" vel2offs=\"0.3500\" vel2prob=\"0.5000\" probabl=\"1.0000\""
                      " msec=\"0.0000\" date_modified=\"" + date + "\" daw=\""
                    + HostEnvironment::dawFromExecutablePath (juce::File::getSpecialLocation (juce::File::hostApplicationPath).getFullPathName())
                    + "\" plugin=\"Vantrel Sampivo\" pluginversion=\"238\" samplerate=\"44100\" username=\""
                    + juce::SystemStats::getLogonName() + "\"/>";
    EXPECT_EQ (saved, wrap (text.toStdString()));
}

// (The fuzz suite also saves, restores and saves again every block it restores.)
TEST (State, AnAwkwardFileListSurvivesAndRestoredParametersAreWrittenOnce)
{
    const auto files = juce::String::fromUTF8 ("/home/user/My Samples/kick drum.wav\n/home/\xc3\x9c" "ber/caf\xc3\xa9 \xe5\xa3\xb0.aiff\n"
                                               "/tmp/\"line\nfeed\" & <quotes>.flac");
    VantrelSampivoAudioProcessor source, processor;
    source.setStateProperty ("filenames", files);
    source.volumeParam->setValueNotifyingHost (0.25f);
    restore (processor, save (source));
    EXPECT_EQ (processor.getStateProperty ("filenames"), files);

    processor.volumeParam->setValueNotifyingHost (0.75f);
    const auto saved = attributesOf (save (processor));
    EXPECT_EQ (std::count_if (saved.begin(), saved.end(), [] (const auto& a) { return a.first == "volume"; }), 1);
    EXPECT_EQ (saved.front(), std::pair (juce::String ("volume"), juce::String ("0.7500")));
}

// Hosts save, restore and save again to see whether the user changed anything (undo,
// "modified" marks, preset matching): in every state of the instance the saves agree.
TEST (State, ASaveAfterARestoreEqualsTheRestoredSave)
{
    AudioFixtures::TempFolder folder;
    const auto sample = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeSine (sample, 48000.0, 1, 0.1, 440.0));

    const std::pair<const char*, std::function<void (VantrelSampivoAudioProcessor&)>> states[] {
        { "fresh", [] (auto&) {} },
        { "prepared", [] (auto& p) { p.prepareToPlay (48000.0, 512); } },
        { "painted", [] (auto& p)
          {
              std::unique_ptr<juce::AudioProcessorEditor> editor (p.createEditor());
              juce::Image image (juce::Image::ARGB, editor->getWidth(), editor->getHeight(), true);
              juce::Graphics g (image);
              editor->paintEntireComponent (g, false);
          } },
        { "loaded", [&] (auto& p) { Instrument::drop (p, sample.getFullPathName()); Instrument::settle (p); } },
        { "unknown", [] (auto& p) { restore (p, document ("<settings extra=\"1\" empty=\"\" filenames=\"\"/>")); } },
    };

    for (const auto& [name, reach] : states)
    {
        VantrelSampivoAudioProcessor processor;
        reach (processor);
        const auto first = save (processor);
        restore (processor, first);
        EXPECT_EQ (attributesOf (save (processor)), attributesOf (first)) << name;
    }
}

TEST (State, HostNameIsTheUpperHalfOfTheExecutablePathAndTimesAreUtc)
{
    const std::pair<const char*, const char*> paths[] {
        { "C:\\Program Files\\Host\\Bin\\host.exe", "Host/Bin/host.exe" }, { "C:/a/b/c/d/e/host.exe", "c/d/e/host.exe" },
        { "C:\\host.exe", "host.exe" }, { "host.exe", "" }, { "/usr/bin/host", "bin/host" }, { "C:\\\\Host\\\\host.exe", "Host//host.exe" },
        { "C:\\Host\\Bin\\", "Host/Bin" }, { "C:\\Programme\\M\xc3\xbcsik\\h\xc3\xb6st.exe", "M\xc3\xbcsik/h\xc3\xb6st.exe" },
    };

    for (const auto& [path, daw] : paths)
        EXPECT_EQ (HostEnvironment::dawFromExecutablePath (juce::String::fromUTF8 (path)), juce::String::fromUTF8 (daw)) << path;

    EXPECT_EQ (HostEnvironment::utcTimestamp ((std::time_t) 1000000000), "2001-09-09T01:46:40Z");
    EXPECT_EQ (HostEnvironment::utcTimestamp ((std::time_t) 951868799), "2000-02-29T23:59:59Z");
}
