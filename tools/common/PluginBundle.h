#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

#include <memory>

/** Loads a plug-in bundle the way a host does, through JUCE's hosting of its format:
    LV2 for a ".lv2" bundle, VST3 for any other. An LV2 host takes the first bundle of
    a URI on its search path, and JUCE's searches ~/.lv2 before the bundle's folder: a
    copy installed there is the one loaded. */
class PluginBundle
{
public:
    /** The bundle the build produced, or the installed one in ~/.vst3. */
    static juce::File defaultBundle();

    /** The bundle the tests were built with (SAMPIVO_VST3_BUNDLE), else defaultBundle(). */
    static juce::File bundleFromEnvironment();

    /** Scans the bundle and describes the first plug-in in it; false with an error text
        when the bundle is missing or holds no plug-in. */
    static bool describe (const juce::File& bundle, juce::PluginDescription& description, juce::String& error);

    /** Creates an instance of the bundle's plug-in, or nullptr with an error text. */
    static std::unique_ptr<juce::AudioPluginInstance> load (const juce::File& bundle, double sampleRate,
                                                            int blockSize, juce::String& error);
};
