#pragma once

#include <juce_core/juce_core.h>

#include <ctime>

/** The descriptive facts about the host and the machine that a saved state records. */
class HostEnvironment
{
public:
    /** The tail of the host executable's path that names the host: backslashes become
        slashes, the path is split at '/', and with n components the last
        n - max (1, min (n / 2, n - 1)) are joined again. So
        "C:\Program Files\Host\Bin\host.exe" gives "Host/Bin/host.exe", "C:\host.exe"
        gives "host.exe", and a path without separators gives "". */
    static juce::String dawFromExecutablePath (const juce::String& executablePath);

    /** The full path of the process's executable (the host, when loaded as a plug-in). */
    static juce::String hostExecutablePath();

    /** The operating-system logon name, or "" where there is none. */
    static juce::String userName();

    /** The current time in UTC as "%FT%TZ", e.g. 2025-03-14T09:26:53Z. */
    static juce::String utcTimestamp();

    /** Formats a time in UTC as "%FT%TZ". */
    static juce::String utcTimestamp (std::time_t time);
};
