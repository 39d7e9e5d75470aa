#pragma once

#include <juce_core/juce_core.h>

/** Finds sample files that moved. For every entry of a file list that names no file,
    it looks through folders (and their subfolders) for a file of the same name, case
    apart, and takes the one with the shortest path; entries it can't find stay as
    they are, so the list keeps its order and every file its keys.

    A search reads directories, so it runs on the loader thread (or in a tool), never on
    the message or audio thread. It gives up after a bounded number of directory
    entries, so that a folder chosen by mistake (a whole disk) can't keep it busy.
*/
class SampleRelinker
{
public:
    struct Result
    {
        juce::StringArray entries;  ///< the list with what was found put in
        int found = 0;              ///< entries replaced
        int missing = 0;            ///< entries that still name no file
        bool gaveUp = false;        ///< the search stopped at the entry limit
    };

    /** The most directory entries one search looks at. */
    static constexpr int maxEntriesSearched = 200000;

    /** Entries of one character or none are places kept in the layout, never searched. */
    static Result relink (const juce::StringArray& entries, const juce::Array<juce::File>& folders,
                          int maxEntries = maxEntriesSearched);

    /** True if some entry names no file (entries of one character or none aside). */
    static bool hasMissingEntries (const juce::StringArray& entries);
};
