// The built VST3 bundle loaded as a host loads it: only what the processor-level
// suites cannot see, that is what the bundle and JUCE's VST3 wrapper tell a host.
#include "common/PluginBundle.h"

#include <gtest/gtest.h>

TEST (HostLevel, TheBundleDescribesAStereoInstrumentWithFourteenParametersAndABypass)
{
    const auto bundle = PluginBundle::bundleFromEnvironment();
    juce::PluginDescription description;
    juce::String error;
    ASSERT_TRUE (PluginBundle::describe (bundle, description, error)) << error;
    EXPECT_EQ (description.pluginFormatName, "VST3");
    EXPECT_TRUE (description.fileOrIdentifier.endsWith ("Vantrel Sampivo.vst3"));
    EXPECT_EQ (description.name + " / " + description.manufacturerName + " / " + description.version + " / " + description.category,
               "Vantrel Sampivo / Vantrel / 1.0.0 / Instrument|Synth");
    EXPECT_TRUE (description.isInstrument);

    const auto plugin = PluginBundle::load (bundle, 44100.0, 256, error);
    ASSERT_NE (plugin, nullptr) << error;
    EXPECT_EQ (plugin->getBusCount (true), 0);
    EXPECT_EQ (plugin->getBus (false, 0)->getCurrentLayout(), juce::AudioChannelSet::stereo());

    // The wrapper passes names and value texts through and appends its bypass switch.
    const auto& parameters = plugin->getParameters();
    ASSERT_EQ (parameters.size(), 15);
    EXPECT_EQ (parameters[0]->getName (100) + " " + parameters[0]->getCurrentValueAsText(), "Volume +0.0 dB");
    EXPECT_EQ (parameters[3]->getName (100) + " " + parameters[3]->getCurrentValueAsText(), "Decay Time 2.51 ms");
    EXPECT_EQ (parameters[13]->getName (100) + " " + parameters[13]->getCurrentValueAsText(), "Milliseconds Off");
    EXPECT_EQ (parameters[14]->getName (100), "Bypass");
}
