#include "sampler/SampleRelinker.h"

#include <map>

namespace
{
bool isMissing (const juce::String& entry)
{
    return entry.length() > 1 && ! juce::File::getCurrentWorkingDirectory().getChildFile (entry).existsAsFile();
}

/** The file name of an entry written with either kind of slash (a project saved on
    Windows names C:\Samples\kick.wav). */
juce::String nameOf (const juce::String& entry)
{
    return entry.fromLastOccurrenceOf ("/", false, false).fromLastOccurrenceOf ("\\", false, false).toLowerCase();
}
} // namespace

bool SampleRelinker::hasMissingEntries (const juce::StringArray& entries)
{
    for (const auto& entry : entries)
        if (isMissing (entry))
            return true;

    return false;
}

SampleRelinker::Result SampleRelinker::relink (const juce::StringArray& entries, const juce::Array<juce::File>& folders,
                                               int maxEntries)
{
    Result result { entries };
    std::map<juce::String, juce::File> best;   // lower-case name -> shortest path found

    for (const auto& entry : entries)
        if (isMissing (entry) && nameOf (entry).isNotEmpty())
            best.emplace (nameOf (entry), juce::File());

    auto searched = 0;

    for (const auto& folder : folders)
    {
        if (best.empty() || result.gaveUp || ! folder.isDirectory())
            continue;

        for (const auto& item : juce::RangedDirectoryIterator (folder, true, "*", juce::File::findFiles,
                                                                juce::File::FollowSymlinks::noCycles))
        {
            if (++searched > maxEntries)
            {
                result.gaveUp = true;
                break;
            }

            const auto& file = item.getFile();

            if (const auto match = best.find (file.getFileName().toLowerCase()); match != best.end())
                if (match->second == juce::File() || file.getFullPathName().length() < match->second.getFullPathName().length())
                    match->second = file;
        }
    }

    for (auto& entry : result.entries)
    {
        if (! isMissing (entry))
            continue;

        if (const auto match = best.find (nameOf (entry)); match != best.end() && match->second != juce::File())
        {
            entry = match->second.getFullPathName();
            ++result.found;
        }
        else
        {
            ++result.missing;
        }
    }

    return result;
}
