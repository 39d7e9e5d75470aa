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

TEST (Processor, TheLastNoteEventOfABlockDecidesWhetherANoteIsHeldAndItsSamplesAreCounted)
{
    Instrument instrument;
    // Each row: a block's events and length, then the flag and the count after it.
    const struct { std::vector<juce::MidiMessage> events; int samples; bool held; int count; } blocks[] {
        { { juce::MidiMessage::noteOn (1, 60, 0.5f) }, 512, true, 512 },
        { { juce::MidiMessage::controllerEvent (1, 7, 100), juce::MidiMessage::pitchWheel (1, 9000) }, 512, true, 1024 },
        { { juce::MidiMessage::noteOff (1, 60), juce::MidiMessage::noteOn (2, 40, 0.1f) }, 100, true, 1124 },
        { { juce::MidiMessage::noteOn (2, 40, 0.1f), juce::MidiMessage::noteOn (1, 60, (juce::uint8) 0) }, 512, false, 0 },
        { {}, 512, false, 0 },
    };

    for (const auto& block : blocks)
    {
        juce::MidiBuffer midi;
        for (const auto& event : block.events)
            midi.addEvent (event, midi.getNumEvents() * 10);

        juce::AudioBuffer<float> buffer (2, block.samples);
        buffer.clear();
        buffer.setSample (0, 0, 0.75f);   // whatever the host left there: the block clears it
        instrument.processor.processBlock (buffer, midi);
        EXPECT_EQ (buffer.getMagnitude (0, block.samples), 0.0f);
        EXPECT_EQ (instrument.processor.noteHeld.load(), block.held);
        EXPECT_EQ (instrument.processor.noteHeldSamples.load(), block.count);
    }
}
