// sampivo-render: plays a MIDI file (or a built-in phrase) through the Vantrel Sampivo
// VST3 bundle, as a DAW would, and writes the result as WAV, optionally with a picture.
#include "RenderFailure.h"
#include "RenderJob.h"
#include "RenderOptions.h"

#include <juce_events/juce_events.h>

#include <exception>
#include <iostream>

int main (int argc, char** argv)
{
    juce::StringArray arguments;

    for (auto i = 1; i < argc; ++i)
        arguments.add (juce::String::fromUTF8 (argv[i]));

    try
    {
        const auto options = RenderOptions::parse (arguments, juce::File::getCurrentWorkingDirectory());

        if (options.showHelp)
        {
            std::cout << RenderOptions::usage();
            return static_cast<int> (ExitCode::success);
        }

        // The VST3 host needs JUCE's message thread; this thread becomes it.
        juce::ScopedJuceInitialiser_GUI juceRuntime;
        RenderJob (options, std::cout).run();
        return static_cast<int> (ExitCode::success);
    }
    catch (const RenderFailure& failure)
    {
        std::cout << std::flush;
        std::cerr << "sampivo-render: " << failure.what() << std::endl;
        return static_cast<int> (failure.getCode());
    }
    catch (const std::exception& unexpected)
    {
        std::cerr << "sampivo-render: unexpected error: " << unexpected.what() << std::endl;
        return static_cast<int> (ExitCode::internalError);
    }
}
