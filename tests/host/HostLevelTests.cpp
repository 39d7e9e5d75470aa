#include "common/PluginBundle.h"
#include "SampivoBuildInfo.h"

#include <gtest/gtest.h>

namespace
{
struct ExpectedParameter
{
    const char* name;
    const char* defaultText;
};

// What a host shows for a fresh instance: names and default value texts, in index order.
const ExpectedParameter expectedParameters[] = {
    { "Volume",             "+0.0 dB" },   // 20 log10 (0.5^3 * 8) = 0
    { "Pan",                "  0 %" },
    { "Attack Time",        "0.01 ms" },   // 0.001 * 10^(5 * 0.15) = 0.0056
    { "Decay Time",         "2.51 ms" },   // 0.01 * 10^(4 * 0.6) = 2.512
    { "Sustain Level",      "0 %" },
    { "Release Time",       "0.40 ms" },   // 0.01 * 10^(4 * 0.4) = 0.398
    { "Decay Curve",        "Log" },
    { "Random Pitch",       "0 %" },
    { "Random Other",       "25 %" },
    { "Vel > Volume",       "0 %" },
    { "Vel > Sample Start", "35 %" },
    { "Vel > Probability",  "50 %" },
    { "Probability",        "100 %" },
    { "Milliseconds",       "Off" },
};

class HostLevel : public ::testing::Test
{
protected:
    void SetUp() override
    {
        bundle = PluginBundle::bundleFromEnvironment();
        juce::String error;
        ASSERT_TRUE (PluginBundle::describe (bundle, description, error)) << error;
        plugin = PluginBundle::load (bundle, 44100.0, 256, error);
        ASSERT_NE (plugin, nullptr) << error;
    }

    juce::File bundle;
    juce::PluginDescription description;
    std::unique_ptr<juce::AudioPluginInstance> plugin;
};
} // namespace

TEST_F (HostLevel, LoadsTheBuiltBundleNotTheLibrary)
{
    EXPECT_TRUE (bundle.getFullPathName().endsWith (".vst3"));
    EXPECT_EQ (description.pluginFormatName, "VST3");
    EXPECT_TRUE (description.fileOrIdentifier.endsWith ("Vantrel Sampivo.vst3"));
}

TEST_F (HostLevel, Identity)
{
    EXPECT_EQ (description.name, sampivo::build::productName);
    EXPECT_EQ (description.manufacturerName, "Vantrel");
    EXPECT_EQ (description.version, "1.0.0");
    EXPECT_EQ (description.category, "Instrument|Synth");
    EXPECT_TRUE (description.isInstrument);
    EXPECT_TRUE (plugin->acceptsMidi());
    EXPECT_FALSE (plugin->producesMidi());
}

TEST_F (HostLevel, OneStereoOutputNamedOutputAndNoInput)
{
    EXPECT_EQ (plugin->getBusCount (true), 0);
    ASSERT_EQ (plugin->getBusCount (false), 1);
    EXPECT_EQ (plugin->getBus (false, 0)->getName(), "Output");
    EXPECT_EQ (plugin->getBus (false, 0)->getCurrentLayout(), juce::AudioChannelSet::stereo());
}

TEST_F (HostLevel, FourteenParametersWithDefaultTexts)
{
    const auto& parameters = plugin->getParameters();

    // The VST3 wrapper appends its own bypass switch after the instrument's fourteen.
    ASSERT_GE (parameters.size(), 14);
    EXPECT_LE (parameters.size(), 15);

    for (auto i = 0; i < 14; ++i)
    {
        SCOPED_TRACE (expectedParameters[i].name);
        EXPECT_EQ (parameters[i]->getName (100), expectedParameters[i].name);
        EXPECT_EQ (parameters[i]->getCurrentValueAsText(), expectedParameters[i].defaultText);
        EXPECT_TRUE (parameters[i]->isAutomatable());
    }

    if (parameters.size() == 15)
    {
        EXPECT_EQ (parameters[14]->getName (100), "Bypass");
    }
}

TEST_F (HostLevel, ProcessesABlockOfSilence)
{
    plugin->prepareToPlay (44100.0, 256);

    juce::AudioBuffer<float> buffer (2, 256);
    buffer.clear();
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, 0.9f), 10);
    plugin->processBlock (buffer, midi);

    EXPECT_EQ (buffer.getMagnitude (0, 256), 0.0f) << "no samples are loaded, so a note is silent";
    plugin->releaseResources();
}
