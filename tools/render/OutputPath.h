#pragma once

#include <juce_core/juce_core.h>

/** Checks that a file can be written where the user asked, before any time is spent
    rendering into it. */
class OutputPath
{
public:
    /** Throws RenderFailure (outputFailed) when the path is a folder or its folder
        doesn't exist. */
    static void checkWritable (const juce::File& file);
};
