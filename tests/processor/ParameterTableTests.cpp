#include "processor/VantrelSampivoAudioProcessor.h"

#include <gtest/gtest.h>

namespace
{
struct Row
{
    const char* id;
    const char* name;
    float defaultValue;
};

// The host's view of the instrument: index order, IDs, names and normalised defaults.
const Row expectedTable[] = {
    { "volume",   "Volume",             0.5f },
    { "pan",      "Pan",                0.5f },
    { "attack",   "Attack Time",        0.15f },
    { "decay",    "Decay Time",         0.6f },
    { "sustain",  "Sustain Level",      0.0f },
    { "release",  "Release Time",       0.4f },
    { "curve",    "Decay Curve",        0.0f },
    { "rndpitch", "Random Pitch",       0.0f },
    { "rnddecay", "Random Other",       0.25f },
    { "vel2vol",  "Vel > Volume",       0.0f },
    { "vel2offs", "Vel > Sample Start", 0.35f },
    { "vel2prob", "Vel > Probability",  0.5f },
    { "probabl",  "Probability",        1.0f },
    { "msec",     "Milliseconds",       0.0f },
};
} // namespace

TEST (ParameterTable, FourteenParametersInHostOrder)
{
    VantrelSampivoAudioProcessor processor;
    const auto& parameters = processor.getParameters();
    ASSERT_EQ (parameters.size(), 14);

    for (auto i = 0; i < parameters.size(); ++i)
    {
        SCOPED_TRACE (expectedTable[i].id);
        auto* withID = dynamic_cast<juce::AudioProcessorParameterWithID*> (parameters[i]);
        ASSERT_NE (withID, nullptr);
        EXPECT_EQ (withID->paramID, juce::String (expectedTable[i].id));
        EXPECT_EQ (withID->getName (100), juce::String (expectedTable[i].name));
        EXPECT_FLOAT_EQ (withID->getValue(), expectedTable[i].defaultValue);
        EXPECT_FLOAT_EQ (withID->getDefaultValue(), expectedTable[i].defaultValue);
        EXPECT_EQ (withID->getParameterIndex(), i);
    }

    EXPECT_NE (dynamic_cast<juce::AudioParameterBool*> (parameters[13]), nullptr);
}
