#include "PluginBundle.h"

#include "SampivoBuildInfo.h"

juce::File PluginBundle::defaultBundle()
{
    const auto name = juce::String (sampivo::build::productName) + ".vst3";
    return juce::File::getSpecialLocation (juce::File::userHomeDirectory).getChildFile (".vst3").getChildFile (name);
}

juce::File PluginBundle::bundleFromEnvironment()
{
    const auto fromEnvironment = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_VST3_BUNDLE", {});

    if (fromEnvironment.isNotEmpty())
        return juce::File (fromEnvironment);

    return defaultBundle();
}

bool PluginBundle::describe (const juce::File& bundle, juce::PluginDescription& description, juce::String& error)
{
    if (! bundle.exists())
    {
        error = "no plug-in bundle at " + bundle.getFullPathName();
        return false;
    }

    juce::VST3PluginFormat format;
    juce::OwnedArray<juce::PluginDescription> found;
    format.findAllTypesForFile (found, bundle.getFullPathName());

    if (found.isEmpty())
    {
        error = "no VST3 plug-in found in " + bundle.getFullPathName();
        return false;
    }

    description = *found.getFirst();
    return true;
}

std::unique_ptr<juce::AudioPluginInstance> PluginBundle::load (const juce::File& bundle, double sampleRate,
                                                               int blockSize, juce::String& error)
{
    juce::PluginDescription description;

    if (! describe (bundle, description, error))
        return nullptr;

    juce::VST3PluginFormat format;
    auto instance = format.createInstanceFromDescription (description, sampleRate, blockSize, error);

    if (instance == nullptr && error.isEmpty())
        error = "the plug-in in " + bundle.getFullPathName() + " could not be created";

    return instance;
}
