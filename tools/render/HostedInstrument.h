#pragma once

#include "InstrumentState.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <memory>

/** The instrument loaded from its VST3 bundle through JUCE's VST3 hosting, exactly as
    a DAW loads it, with the few host-side operations the renderer needs: reading and
    writing the plug-in's own state, and finding parameters by their IDs. */
class HostedInstrument
{
public:
    /** Loads the bundle. Throws RenderFailure (pluginUnavailable) when the bundle is
        missing, holds no plug-in or doesn't offer a mono or stereo output. */
    HostedInstrument (const juce::File& bundle, double sampleRate, int blockSize);
    ~HostedInstrument();

    juce::AudioPluginInstance& getPlugin() noexcept { return *plugin; }
    const juce::File& getBundle() const noexcept    { return bundle; }

    /** The plug-in's current state document. */
    InstrumentState getState();

    /** Hands a state document to the plug-in, as a host restoring a project does. */
    void setState (const InstrumentState& state);

    /** The parameter with the instrument's ID (e.g. "volume"), or nullptr. */
    juce::AudioProcessorParameter* findParameter (const juce::String& id) const;

    /** The instrument's parameter IDs in the host's order, as its state names them. */
    juce::StringArray getParameterIds();

    /** Sets a parameter by ID to a normalised value, notifying the plug-in like host
        automation does; it reaches the audio path at the next block. Throws
        RenderFailure (unknownParameter) for an ID the instrument doesn't have. */
    void setParameter (const juce::String& id, float normalisedValue);

private:
    juce::File bundle;
    std::unique_ptr<juce::AudioPluginInstance> plugin;
};
