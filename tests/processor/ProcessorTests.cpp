// The processor as the host sees it.
#include "support/Instrument.h"

#include <gtest/gtest.h>

TEST (Processor, FourteenParametersInHostOrderWithTheirDefaultsAndTheBuses)
{
    const std::tuple<const char*, const char*, float> table[] {
        { "volume", "Volume", 0.5f },         { "pan", "Pan", 0.5f },                 { "attack", "Attack Time", 0.15f },
        { "decay", "Decay Time", 0.6f },      { "sustain", "Sustain Level", 0.0f },   { "release", "Release Time", 0.4f },
        { "curve", "Decay Curve", 0.0f },     { "rndpitch", "Random Pitch", 0.0f },   { "rnddecay", "Random Other", 0.25f },
        { "vel2vol", "Vel > Volume", 0.0f },  { "vel2offs", "Vel > Sample Start", 0.35f }, { "vel2prob", "Vel > Probability", 0.5f },
        { "probabl", "Probability", 1.0f },   { "msec", "Milliseconds", 0.0f },
    };

    VantrelSampivoAudioProcessor processor;
    ASSERT_EQ (processor.getParameters().size(), 14);

    for (auto i = 0; i < 14; ++i)
    {
        const auto& [id, name, defaultValue] = table[i];
        auto* parameter = dynamic_cast<juce::AudioProcessorParameterWithID*> (processor.getParameters()[i]);
        EXPECT_EQ (parameter->paramID + " " + parameter->getName (100), juce::String (id) + " " + name);
        EXPECT_FLOAT_EQ (parameter->getValue(), defaultValue) << id;
        EXPECT_FLOAT_EQ (parameter->getDefaultValue(), defaultValue) << id;
    }

    juce::AudioProcessor::BusesLayout layout;
    layout.outputBuses.add (juce::AudioChannelSet::create5point1());
    EXPECT_FALSE (processor.checkBusesLayoutSupported (layout));
    layout.outputBuses.getReference (0) = juce::AudioChannelSet::mono();
    EXPECT_TRUE (processor.checkBusesLayoutSupported (layout));
}
