#include "BundleFinder.h"

#include "common/PluginBundle.h"

juce::File BundleFinder::choose (const std::optional<juce::File>& fromCommandLine)
{
    if (fromCommandLine.has_value())
        return *fromCommandLine;

    if (const auto fromEnvironment = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_VST3_BUNDLE", {});
        fromEnvironment.isNotEmpty())
        return juce::File::getCurrentWorkingDirectory().getChildFile (fromEnvironment);

    const auto installed = PluginBundle::defaultBundle();

    if (installed.exists())
        return installed;

    return findBesideExecutable().value_or (installed);
}

std::optional<juce::File> BundleFinder::findBesideExecutable()
{
    // The program sits in <build>/tools/; the plug-in target puts its bundle in
    // <build>/VantrelSampivo_artefacts/<configuration>/VST3/.
    const auto buildTree = juce::File::getSpecialLocation (juce::File::currentExecutableFile)
                               .getParentDirectory()
                               .getParentDirectory();
    const auto artefacts = buildTree.getChildFile ("VantrelSampivo_artefacts");
    const auto bundleName = PluginBundle::defaultBundle().getFileName();

    for (const auto* configuration : { "Release", "RelWithDebInfo", "Debug", "MinSizeRel", "" })
    {
        const auto candidate = artefacts.getChildFile (configuration).getChildFile ("VST3").getChildFile (bundleName);

        if (candidate.isDirectory())
            return candidate;
    }

    return std::nullopt;
}
