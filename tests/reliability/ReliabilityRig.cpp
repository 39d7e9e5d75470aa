#include "reliability/ReliabilityRig.h"

#include <cmath>

namespace ReliabilityRig
{

float outputBound (float sourcePeak)
{
    // Full volume is a gain of 10^(18/20) * 10 = 79.43; velocity 1 with the largest
    // random level is 1.5, cubed by the gain law; one side gets at most sqrt (1.5).
    return (float) (128.0 * 79.4328 * 1.5 * 1.5 * 1.5 * std::sqrt (1.5) * (double) sourcePeak * 1.001);
}

juce::String checkBlock (const juce::AudioBuffer<float>& buffer, float bound)
{
    for (auto c = 0; c < buffer.getNumChannels(); ++c)
        for (auto i = 0; i < buffer.getNumSamples(); ++i)
            if (const auto sample = buffer.getSample (c, i); ! std::isfinite (sample) || std::abs (sample) > bound)
                return "sample " + juce::String (sample) + " at channel " + juce::String (c) + ", index " + juce::String (i);

    return {};
}

SamplePool::SamplePool()
{
    struct PoolFile { const char* name; double rate; int channels; };
    const PoolFile poolFiles[] { { "mono.wav", 44100.0, 1 },  { "stereo.wav", 96000.0, 2 },  { "stereo.aiff", 48000.0, 2 },
                                 { "mono.aif", 22050.0, 1 },  { "mono.flac", 44100.0, 1 }, { "stereo.flac", 192000.0, 2 } };

    for (const auto& file : poolFiles)
        if (AudioFixtures::writeSine (temp.file (file.name), file.rate, file.channels, 0.25, 330.0))
            pool.push_back (temp.file (file.name));

    if (AudioFixtures::writeSineMp3 (temp.file ("pool.mp3"), 44100.0, 0.3, 330.0))
        pool.push_back (temp.file ("pool.mp3"));
}

juce::String SamplePool::list (int count) const
{
    juce::StringArray paths;

    for (auto i = 0; i < count; ++i)
        paths.add (pool[(size_t) i % pool.size()].getFullPathName());

    return paths.joinIntoString ("\n");
}

juce::String SamplePool::randomList (juce::Random& random) const
{
    juce::StringArray paths;

    for (auto i = 1 + random.nextInt (6); i > 0; --i)
        paths.add (random.nextInt (8) == 0 ? temp.file ("not there.wav").getFullPathName()
                                           : pool[(size_t) random.nextInt ((int) pool.size())].getFullPathName());

    return paths.joinIntoString ("\n");
}

juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, const std::vector<int>& keys)
{
    juce::AudioBuffer<float> buffer (2, blockSize);
    juce::MidiBuffer midi;

    for (const auto key : keys)
        midi.addEvent (juce::MidiMessage::noteOn (1, key, (juce::uint8) 127), 0);

    buffer.clear();
    processor.processBlock (buffer, midi);
    return buffer;
}

std::map<juce::String, int> loadedSounds (VantrelSampivoAudioProcessor& processor)
{
    const juce::ScopedLock lock (processor.synth.getLock());
    std::map<juce::String, int> sounds;

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
            sounds[sound->getName()] = sound->getRootNote();

    return sounds;
}

} // namespace ReliabilityRig
