// Writes the seed corpus for the state fuzzer: sampivo_state_fuzz_seeds <folder>

#include "StateSeeds.h"

#include <cstdio>

int main (int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf (stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }

    const auto folder = juce::File::getCurrentWorkingDirectory().getChildFile (argv[1]);
    const auto written = StateSeeds::writeSeeds (folder);
    std::printf ("wrote %d seeds to %s\n", written, folder.getFullPathName().toRawUTF8());
    return written > 0 ? 0 : 1;
}
