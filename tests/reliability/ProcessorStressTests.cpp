#include "reliability/ReliabilityRig.h"

#include "processor/VantrelSampivoAudioProcessor.h"
#include "sampler/SamplerSoundLog.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace ReliabilityRig;

namespace
{
constexpr auto secondsPerBlockSize = 3.0;

void setOutputLayout (juce::AudioProcessor& processor, const juce::AudioChannelSet& set)
{
    juce::AudioProcessor::BusesLayout layout;
    layout.outputBuses.add (set);
    ASSERT_TRUE (processor.setBusesLayout (layout));
}

/** What a host does to the instrument while it plays: automation, saves and restores
    (sometimes of garbage), drops, editor refreshes and program changes. */
void hostAction (VantrelSampivoAudioProcessor& processor, const SamplePool& pool, juce::Random& random,
                 juce::MemoryBlock& lastSaved)
{
    switch (random.nextInt (10))
    {
        case 0:
            processor.getStateInformation (lastSaved);
            break;

        case 1:
            if (lastSaved.getSize() > 0)
                processor.setStateInformation (lastSaved.getData(), (int) lastSaved.getSize());
            break;

        case 2:
        {
            // A restore of random bytes must change nothing and hurt nothing.
            juce::MemoryBlock junk ((size_t) random.nextInt (64));
            random.fillBitsRandomly (junk.getData(), junk.getSize());
            processor.setStateInformation (junk.getData(), (int) junk.getSize());
            break;
        }

        case 3:
        case 4:
            // The editor's drop: store the list, then ask the audio thread to load it.
            processor.setStateProperty ("filenames", pool.randomFileList (random));
            processor.reloadRequested = true;
            break;

        case 5:
            // The editor's knob movement and its timer push the values into the sounds.
            processor.controlsNeedUpdate = true;
            processor.controlCounter = 0;
            processor.updateSoundParameters();
            juce::ignoreUnused (processor.getNumLoadedSounds(), processor.getSampleLoadStatus(),
                                processor.isLoadingSamples.load(), processor.getStateProperty ("filenames"));
            break;

        case 6:
            if (random.nextInt (20) == 0)
                processor.setCurrentProgram (0);
            break;

        default:
            automateAtRandom (processor, random);
            break;
    }
}

void stressAtBlockSize (int blockSize)
{
    const SamplePool pool;
    ASSERT_FALSE (pool.files().empty());

    VantrelSampivoAudioProcessor processor;
    const auto bound = outputBound (1.0f);
    const auto& rates = stressSampleRates();
    const auto perRate = std::chrono::duration<double> (secondsPerBlockSize / (double) rates.size());

    juce::Random seeds (blockSize);
    long totalBlocks = 0, totalActions = 0, totalEditors = 0;

    for (size_t r = 0; r < rates.size(); ++r)
    {
        const auto rate = rates[r];
        const auto channels = r % 3 == 2 ? 1 : 2;
        setOutputLayout (processor, channels == 1 ? juce::AudioChannelSet::mono() : juce::AudioChannelSet::stereo());
        processor.setRateAndBufferSizeDetails (rate, blockSize);
        processor.prepareToPlay (rate, blockSize);

        FailureLog failures;

        juce::Random audioRandom (seeds.nextInt64());
        juce::AudioBuffer<float> buffer (channels, blockSize);

        LoopThread audio ([&]
        {
            auto midi = randomNotes (audioRandom, blockSize, 8);
            buffer.setSize (channels, blockSize, false, false, true);
            processor.processBlock (buffer, midi);

            const auto fault = checkBlock (buffer, bound);

            if (fault.isNotEmpty())
                failures.report ("rate " + juce::String (rate) + ", block " + juce::String (blockSize) + ": " + fault);
        });

        juce::Random hostRandom (seeds.nextInt64());
        juce::MemoryBlock lastSaved;
        LoopThread host ([&]
        {
            hostAction (processor, pool, hostRandom, lastSaved);
            std::this_thread::yield();
        });

        const auto deadline = std::chrono::steady_clock::now() + perRate;

        while (std::chrono::steady_clock::now() < deadline)
        {
            openAndCloseEditor (processor, 15);
            ++totalEditors;
        }

        host.stop();
        audio.stop();
        processor.releaseResources();

        EXPECT_FALSE (failures.any()) << failures.first();
        EXPECT_GT (audio.iterations(), 0);
        totalBlocks += audio.iterations();
        totalActions += host.iterations();
    }

    EXPECT_GT (totalActions, 0);
    EXPECT_GT (totalEditors, 0);
    std::cout << "block size " << blockSize << ": " << totalBlocks << " blocks, " << totalActions
              << " host actions, " << totalEditors << " editors opened" << std::endl;

    // Afterwards the instrument still works: a drop loads and a note sounds.
    processor.setRateAndBufferSizeDetails (48000.0, 512);
    setOutputLayout (processor, juce::AudioChannelSet::stereo());
    processor.prepareToPlay (48000.0, 512);
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (parameter->getDefaultValue());

    processor.setStateProperty ("filenames", pool.files().front().getFullPathName());
    processor.reloadRequested = true;

    juce::AudioBuffer<float> buffer (2, 512);
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    processor.processBlock (buffer, midi);

    EXPECT_EQ (processor.getNumLoadedSounds(), 1);
    EXPECT_GT (buffer.getMagnitude (0, 512), 0.01f);
    EXPECT_TRUE (checkBlock (buffer, bound).isEmpty());
}
} // namespace

TEST (ProcessorStress, BlocksOfOneSample)       { stressAtBlockSize (1); }
TEST (ProcessorStress, BlocksOfSeventeenSamples) { stressAtBlockSize (17); }
TEST (ProcessorStress, BlocksOf512Samples)      { stressAtBlockSize (512); }
TEST (ProcessorStress, BlocksOf4096Samples)     { stressAtBlockSize (4096); }
