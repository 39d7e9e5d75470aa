#pragma once

#include <juce_core/juce_core.h>

#include <optional>

/** Decides which VST3 bundle the renderer plays through. */
class BundleFinder
{
public:
    /** In this order: the bundle named on the command line; the one in the environment
        variable SAMPIVO_VST3_BUNDLE; the installed one in ~/.vst3; the one built in the
        same build tree as this program. When none exists, the installed path, so that
        the error message names the place where it is expected. */
    static juce::File choose (const std::optional<juce::File>& fromCommandLine);

private:
    static std::optional<juce::File> findBesideExecutable();
};
