#include <gtest/gtest.h>

#include <juce_events/juce_events.h>

#include <cstdlib>

// JUCE's message manager and its GUI singletons live for the whole test run, as they
// would in a host; suites that need a display run under Xvfb. The user's settings (the
// remembered sample folders) go to a folder of the run's own, never to the real ones.
int main (int argc, char** argv)
{
    testing::InitGoogleTest (&argc, argv);
    juce::ScopedJuceInitialiser_GUI juce;
    const auto settings = juce::File::createTempFile ("sampivo-settings");
    ::setenv ("XDG_CONFIG_HOME", settings.getFullPathName().toRawUTF8(), 1);
    const auto result = RUN_ALL_TESTS();
    settings.deleteRecursively();
    return result;
}
