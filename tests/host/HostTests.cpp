// The built VST3 bundle loaded as a host loads it: only what the processor-level
// suites cannot see, that is what the bundle and JUCE's VST3 wrapper tell a host, and
// what the public plug-in validators check.
#include "common/PluginBundle.h"
#include "support/AudioFixtures.h"
#include "support/Instrument.h"

#define JUCE_VST3HEADERS_INCLUDE_HEADERS_ONLY 1
#include <juce_audio_processors/format_types/juce_VST3Headers.h>

#include <gtest/gtest.h>


namespace
{
/** Decodes the base64 text of one child of the state block that JUCE's VST3 host keeps
    (the component's or the controller's own state). */
juce::MemoryBlock stateOf (const juce::MemoryBlock& hostState, const char* childName)
{
    juce::MemoryBlock decoded;
    if (const auto xml = juce::AudioProcessor::getXmlFromBinary (hostState.getData(), (int) hostState.getSize()); xml != nullptr && xml->getChildByName (childName) != nullptr)
        decoded.fromBase64Encoding (xml->getChildByName (childName)->getAllSubText());
    return decoded;
}

/** The names a host reads from the component's program lists, as validators do. */
juce::StringArray programNames (juce::AudioPluginInstance& instance)
{
    struct Visitor : juce::ExtensionsVisitor
    {
        void visitVST3Client (const VST3Client& client) override
        {
            Steinberg::FUnknownPtr<Steinberg::Vst::IUnitInfo> units (client.getIComponentPtr());
            Steinberg::Vst::ProgramListInfo info {};

            for (Steinberg::int32 list = 0; units != nullptr && list < units->getProgramListCount(); ++list)
                for (Steinberg::int32 program = 0; units->getProgramListInfo (list, info) == Steinberg::kResultOk && program < info.programCount; ++program)
                {
                    Steinberg::Vst::String128 name {};
                    units->getProgramName (info.id, program, name);
                    names.add (juce::String (juce::CharPointer_UTF16 ((const juce::CharPointer_UTF16::CharType*) name)));
                }
        }

        juce::StringArray names;
    } visitor;

    instance.getExtensions (visitor);
    return visitor.names;
}
} // namespace

// What the public plug-in validators check on the built bundle.
TEST (Validator, EveryProgramIsNamedAndASaveAfterARestoreEqualsTheRestoredSave)
{
    juce::String error;
    auto instance = PluginBundle::load (PluginBundle::bundleFromEnvironment(), 48000.0, 512, error);
    ASSERT_NE (instance, nullptr) << error;

    const auto names = programNames (*instance);
    ASSERT_EQ (names.size(), 1);
    EXPECT_EQ (names[0], "Default");

    instance->prepareToPlay (48000.0, 512);

    juce::MemoryBlock first, second;
    instance->getStateInformation (first);
    instance->setStateInformation (first.getData(), (int) first.getSize());
    instance->getStateInformation (second);

    const auto component = stateOf (first, "IComponent");
    ASSERT_FALSE (Instrument::savedAttributes (component).empty());
    EXPECT_EQ (Instrument::savedAttributes (stateOf (second, "IComponent")), Instrument::savedAttributes (component));
    EXPECT_EQ (stateOf (second, "IEditController").toBase64Encoding(), stateOf (first, "IEditController").toBase64Encoding());
    instance->releaseResources();
}

#if SAMPIVO_TEST_LV2
// The LV2 bundle that the build puts beside the VST3, through JUCE's LV2 hosting.
TEST (HostLevel, TheLv2PlaysANoteFromARestoredStateAndSavesThatState)
{
    // An LV2 host loads the first copy of a URI on its path, and ~/.lv2 comes first.
    AudioFixtures::TempFolder home;
    setenv ("HOME", home.get().getFullPathName().toRawUTF8(), 1);
    ASSERT_TRUE (AudioFixtures::writeSine (home.file ("a.wav"), 48000.0, 1, 1.0, 440.0));
    Instrument local;
    ASSERT_EQ (local.load ({ home.file ("a.wav").getFullPathName() }), 1);
    juce::MemoryBlock saved, again;
    local.processor.getStateInformation (saved);

    juce::String error;
    const auto artefacts = PluginBundle::bundleFromEnvironment().getParentDirectory().getParentDirectory();
    auto plugin = PluginBundle::load (artefacts.getChildFile ("LV2/Vantrel Sampivo.lv2"), 48000.0, 512, error);
    ASSERT_NE (plugin, nullptr) << error;
    Instrument::prepare (*plugin, 48000.0, 512);

    // The host's state is Turtle text that holds the plug-in's own bytes as one string.
    const auto hostState = [&plugin] { juce::MemoryBlock b; plugin->getStateInformation (b); return b.toString(); };
    const auto ownBytes = [] (const juce::String& text)
    { return text.fromFirstOccurrenceOf (":StateString> \"", false, false).upToFirstOccurrenceOf ("\"", false, false); };
    const auto text = hostState();
    const auto restored = text.replace (ownBytes (text), saved.toBase64Encoding());
    plugin->setStateInformation (restored.toRawUTF8(), (int) restored.getNumBytesAsUTF8());
    Instrument::settle (*plugin);

    juce::AudioBuffer<float> output (2, 512);
    juce::MidiBuffer notes;
    notes.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    plugin->processBlock (output, notes);
    EXPECT_GT (output.getMagnitude (0, 512), 0.1f);

    again.fromBase64Encoding (ownBytes (hostState()));
    EXPECT_EQ (Instrument::savedAttributes (again), Instrument::savedAttributes (saved));
}
#endif
