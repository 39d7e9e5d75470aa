#include "PluginBundle.h"

#include "SampivoBuildInfo.h"

namespace
{
std::unique_ptr<juce::AudioPluginFormat> formatFor (const juce::File& bundle)
{
    if (bundle.hasFileExtension ("lv2"))
        return std::make_unique<juce::LV2PluginFormat>();

    return std::make_unique<juce::VST3PluginFormat>();
}

/** Describes the bundle's plug-in with a format made by formatFor(). LV2 knows plug-ins
    by URI, not by file, and only those on the paths it has searched. */
bool describeWith (juce::AudioPluginFormat& format, const juce::File& bundle,
                   juce::PluginDescription& description, juce::String& error)
{
    if (! bundle.exists())
    {
        error = "no plug-in bundle at " + bundle.getFullPathName();
        return false;
    }

    auto identifier = bundle.getFullPathName();

    if (bundle.hasFileExtension ("lv2"))
    {
        format.searchPathsForPlugins (juce::FileSearchPath (bundle.getParentDirectory().getFullPathName()), false);
        identifier = sampivo::build::lv2Uri;
    }

    juce::OwnedArray<juce::PluginDescription> found;
    format.findAllTypesForFile (found, identifier);

    if (found.isEmpty())
    {
        error = "no " + format.getName() + " plug-in found in " + bundle.getFullPathName();
        return false;
    }

    description = *found.getFirst();
    return true;
}
} // namespace

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
    return describeWith (*formatFor (bundle), bundle, description, error);
}

std::unique_ptr<juce::AudioPluginInstance> PluginBundle::load (const juce::File& bundle, double sampleRate,
                                                               int blockSize, juce::String& error)
{
    // LV2's format finds only the plug-ins it has searched for: one format does both.
    const auto format = formatFor (bundle);
    juce::PluginDescription description;

    if (! describeWith (*format, bundle, description, error))
        return nullptr;

    auto instance = format->createInstanceFromDescription (description, sampleRate, blockSize, error);

    if (instance == nullptr && error.isEmpty())
        error = "the plug-in in " + bundle.getFullPathName() + " could not be created";

    return instance;
}
