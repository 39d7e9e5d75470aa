#include "AudioFileFuzzTarget.h"

#include "sampler/SampleLoader.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SoundSettings.h"
#include "support/AudioFixtures.h"

#include <cmath>

std::vector<std::vector<uint8_t>> AudioFileFuzz::seeds()
{
    const AudioFixtures::TempFolder folder;
    const auto pluck = [] (int channel, int i) { return (channel == 0 ? 0.8f : -0.5f) * std::exp (-0.004f * (float) i) * std::sin (0.07f * (float) i); };

    AudioFixtures::writeAudioFile (folder.file ("seed.wav"), 44100.0, 2, 600, pluck, 32);
    AudioFixtures::writeAudioFile (folder.file ("seed.aiff"), 22050.0, 1, 400, pluck, 16);
    AudioFixtures::writeAudioFile (folder.file ("seed.flac"), 48000.0, 2, 500, pluck, 16);
    AudioFixtures::writeAudioFile (folder.file ("seed.ogg"), 44100.0, 1, 2000, pluck);
    AudioFixtures::writeSineMp3 (folder.file ("seed.mp3"), 44100.0, 0.05, 440.0);

    std::vector<std::vector<uint8_t>> files;
    for (const auto& file : folder.get().findChildFiles (juce::File::findFiles, false, "seed.*"))
        if (juce::MemoryBlock bytes; file.loadFileAsData (bytes))
            files.emplace_back (static_cast<const uint8_t*> (bytes.getData()), static_cast<const uint8_t*> (bytes.getData()) + bytes.getSize());

    return files;
}

AudioFileFuzz::Harness::Harness()
{
    formats.registerBasicFormats();
    processor.prepareToPlay (48000.0, block.getNumSamples());
    notes.addEvent (juce::MidiMessage::noteOn (1, SampleLoader::rootNoteForSample (0, 1), (juce::uint8) 100), 0);
    notes.addEvent (juce::MidiMessage::noteOn (1, 127, (juce::uint8) 127), 0);
    notes.addEvent (juce::MidiMessage::noteOff (1, 127), block.getNumSamples() / 2);
}

std::string AudioFileFuzz::Harness::loadAndPlay (const uint8_t* data, size_t size)
{
    for (auto i = 0; i < formats.getNumKnownFormats(); ++i)
    {
        std::unique_ptr<juce::AudioFormatReader> reader (formats.getKnownFormat (i)->createReaderFor (new juce::MemoryInputStream (data, size, false), true));

        if (reader == nullptr)
            continue;

        auto& samples = *new juce::SamplerSoundLog ("fuzz", *reader, SampleLoader::notesForSample (0, 1), SampleLoader::rootNoteForSample (0, 1));
        const juce::SynthesiserSound::Ptr sound (&samples);

        if (const auto* audio = samples.getAudioData())
        {
            if (audio->getNumChannels() > 2 || audio->getNumSamples() != samples.getLength() + juce::SamplerSoundLog::guardSamples
                || samples.getLength() > std::min (samples.getSourceSampleRate() * 10.0 + 1.0, (double) juce::SamplerSoundLog::maxSamplesPerChannel))
                return "a sound keeps at most two channels and ten seconds";

            for (auto c = 0; c < audio->getNumChannels(); ++c)
                for (auto s = 0; s < audio->getNumSamples(); ++s)
                    if (! std::isfinite (audio->getSample (c, s)))
                        return "a sound holds finite samples only";
        }

        processor.currentSoundSettings().applyTo (samples);
        processor.synth.clearSounds();
        processor.synth.addSound (sound);
        block.clear();
        processor.synth.renderNextBlock (block, notes, 0, block.getNumSamples());
        processor.synth.allNotesOff (0, false);
        processor.synth.clearSounds();

        for (auto c = 0; c < block.getNumChannels(); ++c)
            for (auto s = 0; s < block.getNumSamples(); ++s)
                if (! std::isfinite (block.getSample (c, s)))
                    return "a note on the sound gives a finite block";
    }

    return {};
}
