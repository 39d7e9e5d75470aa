#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

/** Everything the command line asks for, parsed and checked as far as it can be
    without the plug-in (parameter IDs are checked once the instrument is loaded). */
struct RenderOptions
{
    /** One --set ID=VALUE: a parameter by its ID and its normalised value. */
    struct ParameterSetting
    {
        juce::String id;
        float value = 0.0f;
    };

    std::optional<juce::File> plugin;
    juce::Array<juce::File> samples;
    std::optional<juce::File> stateFile;
    juce::Array<juce::File> searchFolders;
    std::vector<ParameterSetting> settings;
    std::optional<juce::File> midiFile;
    double sampleRate = 48000.0;
    int blockSize = 512;
    double tailSeconds = 2.0;
    std::optional<juce::File> outputFile;
    int bitsPerSample = 24;
    std::optional<juce::File> pngFile;
    std::optional<juce::int64> seed;
    bool listParameters = false;
    bool showHelp = false;

    /** Reads the arguments (without the program name). Relative paths are taken from
        workingDirectory. Throws RenderFailure with badUsage or valueOutOfRange. */
    static RenderOptions parse (const juce::StringArray& arguments, const juce::File& workingDirectory);

    /** The help text printed by --help and after a usage error. */
    static juce::String usage();
};
