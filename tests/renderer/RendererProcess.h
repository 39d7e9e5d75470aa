#pragma once

#include <juce_core/juce_core.h>

/** Runs the built sampivo-render as a child process and captures what it prints on
    each stream, plus how it ended. */
class RendererProcess
{
public:
    struct Result
    {
        int exitCode = -1;       // the exit status when it exited normally
        bool exitedNormally = false; // false when it died from a signal (a crash)
        juce::String out;
        juce::String err;
    };

    /** $SAMPIVO_BINARY_DIR/tools/sampivo-render. */
    static juce::File binary();

    /** The freshly built bundle the suite runs against ($SAMPIVO_VST3_BUNDLE). */
    static juce::File bundle();

    /** Runs the renderer with the arguments; the captured streams go through files in
        scratchFolder. extraEnvironment entries are NAME=VALUE. */
    static Result run (const juce::StringArray& arguments, const juce::File& scratchFolder,
                       const juce::StringArray& extraEnvironment = {});
};
