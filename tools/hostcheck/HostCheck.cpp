// sampivo-hostcheck: loads the VST3 bundle as a host would and prints what a host sees:
// identity, buses and every parameter with its default value text.
#include "common/PluginBundle.h"

#include <iostream>

int main (int argc, char** argv)
{
    juce::ScopedJuceInitialiser_GUI juce;

    const auto bundle = argc > 1 ? juce::File::getCurrentWorkingDirectory().getChildFile (argv[1])
                                 : PluginBundle::defaultBundle();

    juce::PluginDescription description;
    juce::String error;

    if (! PluginBundle::describe (bundle, description, error))
    {
        std::cerr << "sampivo-hostcheck: " << error << std::endl;
        return 1;
    }

    auto plugin = PluginBundle::load (bundle, 48000.0, 512, error);

    if (plugin == nullptr)
    {
        std::cerr << "sampivo-hostcheck: " << error << std::endl;
        return 1;
    }

    std::cout << "Bundle:     " << bundle.getFullPathName() << "\n"
              << "Name:       " << description.name << "\n"
              << "Vendor:     " << description.manufacturerName << "\n"
              << "Version:    " << description.version << "\n"
              << "Category:   " << description.category << "\n"
              << "Instrument: " << (description.isInstrument ? "yes" : "no") << "\n"
              << "MIDI input: " << (plugin->acceptsMidi() ? "yes" : "no") << "\n";

    for (auto i = 0; i < plugin->getBusCount (false); ++i)
        if (auto* bus = plugin->getBus (false, i))
            std::cout << "Output bus: \"" << bus->getName() << "\" "
                      << bus->getCurrentLayout().getDescription() << "\n";

    std::cout << "Parameters: " << plugin->getParameters().size() << "\n";

    for (auto* parameter : plugin->getParameters())
    {
        std::cout << "  " << juce::String (parameter->getParameterIndex()).paddedLeft (' ', 2) << "  "
                  << parameter->getName (64).paddedRight (' ', 20)
                  << parameter->getCurrentValueAsText() << "\n";
    }

    return 0;
}
