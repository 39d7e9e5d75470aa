#include "sampler/RememberedFolders.h"

#include <juce_data_structures/juce_data_structures.h>

namespace
{
const juce::String foldersKey ("sampleSearchFolders");

std::unique_ptr<juce::PropertiesFile> openSettings()
{
    static juce::InterProcessLock lock ("VantrelSampivoSettings");

    // The user's settings folder: $XDG_CONFIG_HOME when it is set, as the XDG rules
    // have it (JUCE 7 looks only at ~/.config/user-dirs.dirs), else ~/.config on Linux
    // and %APPDATA% on Windows. (JUCE's PropertiesFile default on Linux would be a
    // folder in the home folder.)
    const auto xdg = juce::SystemStats::getEnvironmentVariable ("XDG_CONFIG_HOME", {});
    const auto folder = juce::File::isAbsolutePath (xdg) ? juce::File (xdg)
                                                         : juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory);
    const auto file = folder.getChildFile ("Vantrel").getChildFile ("Vantrel Sampivo.settings");
    juce::PropertiesFile::Options options;
    options.processLock = &lock;
    return std::make_unique<juce::PropertiesFile> (file, options);
}
} // namespace

juce::Array<juce::File> RememberedFolders::load()
{
    juce::StringArray paths;
    paths.addLines (openSettings()->getValue (foldersKey));

    juce::Array<juce::File> folders;
    for (const auto& path : paths)
        if (juce::File::isAbsolutePath (path))
            folders.add (juce::File (path));

    return folders;
}

void RememberedFolders::add (const juce::File& folder)
{
    const auto settings = openSettings();
    juce::StringArray paths;
    paths.addLines (settings->getValue (foldersKey));
    paths.removeString (folder.getFullPathName());
    paths.insert (0, folder.getFullPathName());
    paths.removeEmptyStrings();

    while (paths.size() > maxFolders)
        paths.remove (paths.size() - 1);

    settings->setValue (foldersKey, paths.joinIntoString ("\n"));
    settings->saveIfNeeded();
}
