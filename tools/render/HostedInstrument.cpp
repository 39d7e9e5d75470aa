#include "HostedInstrument.h"

#include "RenderFailure.h"
#include "common/PluginBundle.h"

namespace
{
// JUCE's VST3 hosting keeps a plug-in's state as this element, with the component's
// own block (the instrument's state) base64-encoded in the child "IComponent".
constexpr const char* hostStateName = "VST3PluginState";
constexpr const char* componentStateName = "IComponent";

/** The VST3 parameter number that JUCE's plug-in client gives a parameter ID: the
    ID's string hash with the top bit cleared. The host side reports it as the
    parameter's ID, so this is how an ID finds its hosted parameter. */
juce::String vst3ParameterNumberFor (const juce::String& id)
{
    const auto hash = static_cast<juce::uint32> (id.hashCode()) & 0x7fffffffu;
    return juce::String (hash);
}
} // namespace

HostedInstrument::HostedInstrument (const juce::File& bundleToLoad, double sampleRate, int blockSize)
    : bundle (bundleToLoad)
{
    juce::String error;
    plugin = PluginBundle::load (bundle, sampleRate, blockSize, error);

    if (plugin == nullptr)
        throw RenderFailure (ExitCode::pluginUnavailable,
                             error + "\nBuild and install it with scripts/run.sh, or name a bundle with --plugin PATH");

    plugin->enableAllBuses();
    const auto outputs = plugin->getTotalNumOutputChannels();

    if (outputs < 1 || outputs > 2)
        throw RenderFailure (ExitCode::pluginUnavailable,
                             bundle.getFullPathName() + " offers " + juce::String (outputs)
                                 + " output channels; the renderer needs a mono or stereo instrument");
}

HostedInstrument::~HostedInstrument() = default;

InstrumentState HostedInstrument::getState()
{
    juce::MemoryBlock hostState;
    plugin->getStateInformation (hostState);

    juce::MemoryBlock componentState;
    const auto wrapper = juce::AudioProcessor::getXmlFromBinary (hostState.getData(),
                                                                 static_cast<int> (hostState.getSize()));
    const auto* component = wrapper != nullptr ? wrapper->getChildByName (componentStateName) : nullptr;

    if (component == nullptr || ! componentState.fromBase64Encoding (component->getAllSubText()))
        throw RenderFailure (ExitCode::pluginUnavailable,
                             "the plug-in in " + bundle.getFullPathName() + " returned no state");

    return InstrumentState::fromBlock (componentState, "the state of " + bundle.getFileName());
}

void HostedInstrument::setState (const InstrumentState& state)
{
    // Only the component's state is given: the controller takes its parameter values
    // from the component, as it does when a host opens a project.
    juce::XmlElement wrapper (hostStateName);
    wrapper.createNewChildElement (componentStateName)->addTextElement (state.toBlock().toBase64Encoding());

    juce::MemoryBlock hostState;
    juce::AudioProcessor::copyXmlToBinary (wrapper, hostState);
    plugin->setStateInformation (hostState.getData(), static_cast<int> (hostState.getSize()));
}

juce::AudioProcessorParameter* HostedInstrument::findParameter (const juce::String& id) const
{
    if (id.isEmpty())
        return nullptr;

    const auto number = vst3ParameterNumberFor (id);

    for (auto* parameter : plugin->getParameters())
        if (auto* hosted = dynamic_cast<juce::HostedAudioProcessorParameter*> (parameter))
            if (hosted->getParameterID() == number)
                return parameter;

    return nullptr;
}

juce::StringArray HostedInstrument::getParameterIds()
{
    // The state document names every parameter by its ID; the other attributes
    // (file list, host name ...) have no parameter behind them.
    const auto state = getState();
    juce::StringArray ids;

    for (auto i = 0; i < state.getNumAttributes(); ++i)
        if (findParameter (state.getAttributeName (i)) != nullptr)
            ids.add (state.getAttributeName (i));

    return ids;
}

void HostedInstrument::setParameter (const juce::String& id, float normalisedValue)
{
    auto* parameter = findParameter (id);

    if (parameter == nullptr)
        throw RenderFailure (ExitCode::unknownParameter,
                             "the instrument has no parameter \"" + id + "\"; its IDs are: "
                                 + getParameterIds().joinIntoString (", "));

    parameter->setValue (normalisedValue);
}
