#pragma once

#include <juce_core/juce_core.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/** What the libFuzzer entry points share: a broken rule aborts, which libFuzzer reports
    as a crash, and an empty corpus folder named on the command line starts with the
    target's seeds. */
namespace FuzzerEntry
{
inline int check (const std::string& brokenRule)
{
    if (! brokenRule.empty())
    {
        std::fprintf (stderr, "fuzz check failed: %s\n", brokenRule.c_str());
        std::abort();
    }

    return 0;
}

inline int seedEmptyFolders (int argc, char** argv, const std::vector<std::vector<uint8_t>>& seeds)
{
    for (auto i = 1; i < argc; ++i)
        if (const auto folder = juce::File::getCurrentWorkingDirectory().getChildFile (argv[i]);
            argv[i][0] != '-' && folder.isDirectory() && folder.getNumberOfChildFiles (juce::File::findFiles) == 0)
            for (const auto& seed : seeds)
                folder.getNonexistentChildFile ("seed", ".bin").replaceWithData (seed.data(), seed.size());

    return 0;
}
} // namespace FuzzerEntry
