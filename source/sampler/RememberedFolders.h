#pragma once

#include <juce_core/juce_core.h>

/** The folders a user chose to find missing samples in, kept in the user's settings
    file (shared by every instance and every project), newest first. Every load with
    missing files searches them, so a sample library moved once is found again in every
    project that used it.

    The file is Vantrel/Vantrel Sampivo.settings in the user's settings folder
    (~/.config, or $XDG_CONFIG_HOME, on Linux; %APPDATA% on Windows). Reading and writing take an inter-process lock:
    several hosts may run the instrument at once.
*/
class RememberedFolders
{
public:
    /** The most folders kept; the oldest is forgotten first. */
    static constexpr int maxFolders = 16;

    static juce::Array<juce::File> load();

    /** Puts the folder first (once). */
    static void add (const juce::File& folder);
};
