#pragma once

#include <juce_core/juce_core.h>

#include <stdexcept>

/** Why the renderer stopped; the value is the process's exit status, so scripts
    and tests can tell the causes apart. */
enum class ExitCode
{
    success = 0,
    badUsage = 1,           // unknown option, missing or malformed value
    pluginUnavailable = 2,  // no bundle at the path, or it holds no loadable plug-in
    unreadableInput = 3,    // MIDI file, sample or state file that can't be read
    unknownParameter = 4,   // --set names an ID the instrument doesn't have
    valueOutOfRange = 5,    // --set value that isn't a number from 0 to 1
    outputFailed = 6,       // the WAV or PNG file can't be written
    internalError = 70      // anything unexpected; reported instead of crashing
};

/** Thrown by any step of a render that can't go on: carries the text for stderr and
    the exit status. main() catches it, so a bad input never ends in a crash. */
class RenderFailure : public std::runtime_error
{
public:
    RenderFailure (ExitCode codeToUse, const juce::String& message)
        : std::runtime_error (message.toStdString()), code (codeToUse)
    {
    }

    ExitCode getCode() const noexcept { return code; }

private:
    ExitCode code;
};
