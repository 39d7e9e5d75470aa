#include <gtest/gtest.h>

#include <juce_events/juce_events.h>

// JUCE's message manager and its GUI singletons live for the whole test run, as they
// would in a host; suites that need a display run under Xvfb.
int main (int argc, char** argv)
{
    testing::InitGoogleTest (&argc, argv);
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
