#include "support/Instrument.h"

#include <gtest/gtest.h>

Instrument::Instrument (double rate, int block, int outputChannels)
    : blockSize (block), channels (outputChannels)
{
    prepare (processor, rate, blockSize, channels);
}

void Instrument::prepare (juce::AudioProcessor& target, double rate, int block, int outputChannels)
{
    juce::AudioProcessor::BusesLayout layout;
    layout.outputBuses.add (juce::AudioChannelSet::canonicalChannelSet (outputChannels));
    target.setBusesLayout (layout);
    target.setRateAndBufferSizeDetails (rate, block);
    target.prepareToPlay (rate, block);
}

void Instrument::set (const juce::String& id, float normalisedValue)
{
    for (auto* parameter : processor.getParameters())
        if (dynamic_cast<juce::AudioProcessorParameterWithID*> (parameter)->paramID == id)
            return parameter->setValueNotifyingHost (normalisedValue);

    ADD_FAILURE() << "no parameter " << id;
}

Instrument& Instrument::steady()
{
    for (const auto& [id, value] : { std::pair { "volume", 0.5f }, { "pan", 0.5f }, { "attack", 0.0f }, { "decay", 0.5f },
                                     { "sustain", 1.0f }, { "release", 0.2f }, { "curve", 0.0f }, { "rndpitch", 0.0f },
                                     { "rnddecay", 0.0f }, { "vel2vol", 0.0f }, { "vel2offs", 0.0f }, { "vel2prob", 0.0f },
                                     { "probabl", 1.0f }, { "msec", 0.0f } })
        set (id, value);

    return *this;
}

void Instrument::drop (VantrelSampivoAudioProcessor& target, const juce::String& list)
{
    target.setStateProperty ("filenames", list);
    target.requestSampleLoad (true);
}

void Instrument::settle (juce::AudioProcessor& target)
{
    // Offline, a block waits for the loads asked for before it; one silent block then
    // serves for the instrument here and for a hosted bundle alike.
    const auto wasOffline = target.isNonRealtime();
    target.setNonRealtime (true);
    juce::AudioBuffer<float> block (target.getTotalNumOutputChannels(), target.getBlockSize());
    juce::MidiBuffer none;
    block.clear();
    target.processBlock (block, none);
    target.setNonRealtime (wasOffline);
}

int Instrument::load (const juce::StringArray& paths)
{
    drop (processor, paths.joinIntoString ("\n"));
    settle (processor);
    return processor.getNumLoadedSounds();
}

juce::AudioBuffer<float> Instrument::play (int numSamples, const std::vector<Note>& notes)
{
    juce::AudioBuffer<float> output (channels, numSamples);

    for (auto start = 0; start < numSamples; start += blockSize)
    {
        const auto length = std::min (blockSize, numSamples - start);
        juce::AudioBuffer<float> block (channels, length);
        juce::MidiBuffer midi;

        for (const auto& note : notes)
            if (note.sample >= start && note.sample < start + length)
                midi.addEvent (note.message, note.sample - start);

        processor.processBlock (block, midi);

        for (auto channel = 0; channel < channels; ++channel)
            output.copyFrom (channel, start, block, channel, 0, length);
    }

    return output;
}

juce::SamplerVoiceLog* Instrument::strike (float velocity)
{
    processor.updateSoundParameters();
    processor.synth.noteOn (1, 60, velocity);
    const auto voices = activeVoices();
    processor.synth.allNotesOff (0, false);
    return voices.empty() ? nullptr : voices.front();
}

std::vector<juce::SamplerSoundLog*> Instrument::sounds()
{
    std::vector<juce::SamplerSoundLog*> result;

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        result.push_back (dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()));

    return result;
}

std::vector<juce::SamplerVoiceLog*> Instrument::activeVoices()
{
    std::vector<juce::SamplerVoiceLog*> result;

    for (auto i = 0; i < processor.synth.getNumVoices(); ++i)
        if (processor.synth.getVoice (i)->isVoiceActive())
            result.push_back (dynamic_cast<juce::SamplerVoiceLog*> (processor.synth.getVoice (i)));

    return result;
}

Instrument::Note Instrument::on (int sample, int key, int velocity)
{
    return { sample, juce::MidiMessage::noteOn (1, key, (juce::uint8) velocity) };
}

std::vector<std::pair<juce::String, juce::String>> Instrument::savedAttributes (const juce::MemoryBlock& block)
{
    std::vector<std::pair<juce::String, juce::String>> attributes;
    if (const auto xml = juce::AudioProcessor::getXmlFromBinary (block.getData(), (int) block.getSize()))
        for (auto i = 0; i < xml->getNumAttributes(); ++i)
            if (xml->getAttributeName (i) != "date_modified")
                attributes.emplace_back (xml->getAttributeName (i), xml->getAttributeValue (i));
    return attributes;
}
