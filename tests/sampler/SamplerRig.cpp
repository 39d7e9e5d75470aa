#include "SamplerRig.h"

#include <gtest/gtest.h>

SamplerRig::SamplerRig (double rate, int block, bool monoOutput)
    : hostRate (rate), blockSize (block), numOutputs (monoOutput ? 1 : 2)
{
    if (monoOutput)
    {
        juce::AudioProcessor::BusesLayout layout;
        layout.outputBuses.add (juce::AudioChannelSet::mono());
        processor.setBusesLayout (layout);
    }

    processor.setRateAndBufferSizeDetails (hostRate, blockSize);
    processor.prepareToPlay (hostRate, blockSize);
}

SamplerRig::SamplerRig (const juce::StringArray& paths, const Settings& settings, double rate, bool monoOutput)
    : SamplerRig (rate, 512, monoOutput)
{
    makeDeterministic();

    for (const auto& [id, value] : settings)
        set (id, value);

    load (paths);
    processor.updateSoundParameters();
}

void SamplerRig::set (const juce::String& id, float normalisedValue)
{
    for (auto* parameter : processor.getParameters())
    {
        if (auto* withId = dynamic_cast<juce::AudioProcessorParameterWithID*> (parameter))
        {
            if (withId->getParameterID() == id)
            {
                parameter->setValueNotifyingHost (normalisedValue);
                return;
            }
        }
    }

    ADD_FAILURE() << "no parameter " << id;
}

void SamplerRig::makeDeterministic()
{
    set ("volume", 0.5f);
    set ("pan", 0.5f);
    set ("attack", 0.0f);
    set ("decay", 0.5f);
    set ("sustain", 1.0f);
    set ("release", 0.2f);
    set ("curve", 0.0f);
    set ("rndpitch", 0.0f);
    set ("rnddecay", 0.0f);
    set ("vel2vol", 0.0f);
    set ("vel2offs", 0.0f);
    set ("vel2prob", 0.0f);
    set ("probabl", 1.0f);
    set ("msec", 0.0f);
}

void SamplerRig::load (const juce::StringArray& paths)
{
    processor.setStateProperty ("filenames", paths.joinIntoString ("\n"));
    processor.reloadSamples (true);
    processor.reloadRequested = false;
}

juce::AudioBuffer<float> SamplerRig::render (int numSamples, const std::vector<Note>& notes)
{
    juce::AudioBuffer<float> output (numOutputs, numSamples);
    output.clear();

    for (auto start = 0; start < numSamples; start += blockSize)
    {
        const auto length = std::min (blockSize, numSamples - start);
        juce::AudioBuffer<float> block (numOutputs, length);
        block.clear();

        juce::MidiBuffer midi;

        for (const auto& note : notes)
            if (note.sample >= start && note.sample < start + length)
                midi.addEvent (note.message, note.sample - start);

        processor.processBlock (block, midi);

        for (auto channel = 0; channel < numOutputs; ++channel)
            output.copyFrom (channel, start, block, channel, 0, length);
    }

    return output;
}

void SamplerRig::silence()
{
    processor.synth.allNotesOff (0, false);
}

std::vector<juce::SamplerSoundLog*> SamplerRig::sounds()
{
    std::vector<juce::SamplerSoundLog*> result;

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
            result.push_back (sound);

    return result;
}

std::vector<juce::SamplerVoiceLog*> SamplerRig::activeVoices()
{
    std::vector<juce::SamplerVoiceLog*> result;

    for (auto i = 0; i < processor.synth.getNumVoices(); ++i)
        if (auto* voice = dynamic_cast<juce::SamplerVoiceLog*> (processor.synth.getVoice (i)))
            if (voice->isVoiceActive())
                result.push_back (voice);

    return result;
}

juce::SamplerVoiceLog* SamplerRig::strike (float velocity)
{
    processor.synth.noteOn (1, 60, velocity);
    const auto voices = activeVoices();
    EXPECT_LE (voices.size(), 1u);
    silence();
    return voices.empty() ? nullptr : voices[0];
}

SamplerRig::Note SamplerRig::noteOn (int sample, int note, int velocity)
{
    return { sample, juce::MidiMessage::noteOn (1, note, (juce::uint8) velocity) };
}

SamplerRig::Note SamplerRig::noteOff (int sample, int note)
{
    return { sample, juce::MidiMessage::noteOff (1, note) };
}

double SamplerRig::expectedLevel (double volume, double g)
{
    // Volume is a cubic taper onto +18 dB (7.943... is 10^(18/20)), times ten.
    const auto gain = volume * volume * volume * std::pow (10.0, 18.0 / 20.0) * 10.0;
    return gain * g * g * g;
}
