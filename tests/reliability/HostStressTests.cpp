#include "reliability/ReliabilityRig.h"

#include "common/PluginBundle.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace ReliabilityRig;

namespace
{
constexpr auto secondsPerBlockSize = 3.0;

/** The parameters' names in the host's index order (VST3 hands the host numeric IDs). */
const juce::StringArray parameterNames { "Volume", "Pan", "Attack Time", "Decay Time", "Sustain Level",
                                         "Release Time", "Decay Curve", "Random Pitch", "Random Other",
                                         "Vel > Volume", "Vel > Sample Start", "Vel > Probability",
                                         "Probability", "Milliseconds" };

/** A saved state of the hosted instrument with the given file list in place of its own,
    built from a state the host saved, so that only the list differs. JUCE's VST3 host
    keeps the component's state as base64 text of an "IComponent" element; inside it is
    the instrument's own settings document, followed by whatever the VST3 wrapper
    appends, which is kept as it is. */
juce::MemoryBlock withFileList (const juce::MemoryBlock& saved, const juce::String& fileList)
{
    auto head = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());
    auto* component = head != nullptr ? head->getChildByName ("IComponent") : nullptr;
    juce::MemoryBlock componentState;

    if (component == nullptr || ! componentState.fromBase64Encoding (component->getAllSubText())
        || componentState.getSize() < 9)
        return saved;

    auto settings = juce::AudioProcessor::getXmlFromBinary (componentState.getData(), (int) componentState.getSize());

    if (settings == nullptr)
        return saved;

    const auto textLength = (size_t) juce::ByteOrder::littleEndianInt (static_cast<const char*> (componentState.getData()) + 4);
    const auto tailStart = std::min (componentState.getSize(), 8 + textLength + 1);

    settings->setAttribute ("filenames", fileList);
    juce::MemoryBlock rewritten;
    juce::AudioProcessor::copyXmlToBinary (*settings, rewritten);
    rewritten.append (static_cast<const char*> (componentState.getData()) + tailStart, componentState.getSize() - tailStart);

    component->deleteAllTextElements();
    component->addTextElement (rewritten.toBase64Encoding());

    juce::MemoryBlock result;
    juce::AudioProcessor::copyXmlToBinary (*head, result);
    return result;
}

/** The instrument's own fourteen parameters; VST3 adds a bypass of its own. */
juce::Array<juce::AudioProcessorParameter*> instrumentParameters (juce::AudioPluginInstance& instance)
{
    juce::Array<juce::AudioProcessorParameter*> found;

    for (auto* parameter : instance.getParameters())
        if (parameterNames.contains (parameter->getName (64)))
            found.add (parameter);

    return found;
}

std::unique_ptr<juce::AudioPluginInstance> loadInstance (double rate, int blockSize)
{
    juce::String error;
    auto instance = PluginBundle::load (PluginBundle::bundleFromEnvironment(), rate, blockSize, error);
    EXPECT_NE (instance, nullptr) << error;
    return instance;
}

void stressHostedAtBlockSize (int blockSize)
{
    const SamplePool pool;
    ASSERT_FALSE (pool.files().empty());

    const auto bound = outputBound (1.0f);
    const auto& rates = stressSampleRates();
    const auto perRate = std::chrono::duration<double> (secondsPerBlockSize / (double) rates.size());

    juce::Random seeds (blockSize * 7 + 1);
    long totalBlocks = 0, totalAutomations = 0, totalEditors = 0, totalRestores = 0;

    // Each rate gets a fresh instance, as when a project is reopened: the restored list
    // is loaded by prepareToPlay and again by the first block.
    for (const auto rate : rates)
    {
        auto instance = loadInstance (rate, blockSize);
        ASSERT_NE (instance, nullptr);

        juce::MemoryBlock fresh;
        instance->getStateInformation (fresh);
        const auto initialList = pool.randomFileList (seeds);
        const auto opening = withFileList (fresh, initialList);
        instance->setStateInformation (opening.getData(), (int) opening.getSize());

        instance->setRateAndBufferSizeDetails (rate, blockSize);
        instance->prepareToPlay (rate, blockSize);

        const auto channels = std::max (1, instance->getTotalNumOutputChannels());
        FailureLog failures;

        juce::Random audioRandom (seeds.nextInt64());
        juce::AudioBuffer<float> buffer (channels, blockSize);

        LoopThread audio ([&]
        {
            auto midi = randomNotes (audioRandom, blockSize, 8);
            buffer.clear();
            instance->processBlock (buffer, midi);

            const auto fault = checkBlock (buffer, bound);

            if (fault.isNotEmpty())
                failures.report ("rate " + juce::String (rate) + ", block " + juce::String (blockSize) + ": " + fault);
        });

        // Automation comes from a thread of its own, as a host's automation playback does.
        const auto parameters = instrumentParameters (*instance);
        EXPECT_EQ (parameters.size(), 14);

        juce::Random automationRandom (seeds.nextInt64());
        LoopThread automation ([&]
        {
            for (auto* parameter : parameters)
            {
                const auto pick = automationRandom.nextInt (6);
                parameter->setValueNotifyingHost (pick == 0 ? 0.0f : pick == 1 ? 1.0f : automationRandom.nextFloat());
            }

            std::this_thread::sleep_for (std::chrono::microseconds (200));
        });

        // Saving, restoring (with other file lists) and the editor belong to the message
        // thread in a VST3 host.
        const auto deadline = std::chrono::steady_clock::now() + perRate;
        juce::Random messageRandom (seeds.nextInt64());

        while (std::chrono::steady_clock::now() < deadline)
        {
            juce::MemoryBlock saved;
            instance->getStateInformation (saved);
            const auto restored = withFileList (saved, pool.randomFileList (messageRandom));
            instance->setStateInformation (restored.getData(), (int) restored.getSize());
            ++totalRestores;

            openAndCloseEditor (*instance, 10);
            ++totalEditors;
        }

        automation.stop();
        audio.stop();
        instance->releaseResources();

        EXPECT_FALSE (failures.any()) << failures.first();
        EXPECT_GT (audio.iterations(), 0);
        totalBlocks += audio.iterations();
        totalAutomations += automation.iterations();
    }

    EXPECT_GT (totalAutomations, 0);
    EXPECT_GT (totalRestores, 0);
    std::cout << "block size " << blockSize << ": " << totalBlocks << " blocks, " << totalAutomations
              << " automation passes, " << totalRestores << " restores, " << totalEditors << " editors opened"
              << std::endl;
}
} // namespace

TEST (HostStress, BundleRendersSafelyWithBlocksOfOneSample)        { stressHostedAtBlockSize (1); }
TEST (HostStress, BundleRendersSafelyWithBlocksOfSeventeenSamples)  { stressHostedAtBlockSize (17); }
TEST (HostStress, BundleRendersSafelyWithBlocksOf512Samples)       { stressHostedAtBlockSize (512); }
TEST (HostStress, BundleRendersSafelyWithBlocksOf4096Samples)      { stressHostedAtBlockSize (4096); }

TEST (HostStress, BundlePlaysTheRestoredListAfterTheStress)
{
    const SamplePool pool;
    auto instance = loadInstance (44100.0, 512);
    ASSERT_NE (instance, nullptr);

    juce::MemoryBlock fresh;
    instance->getStateInformation (fresh);
    const auto opening = withFileList (fresh, pool.files().front().getFullPathName());
    instance->setStateInformation (opening.getData(), (int) opening.getSize());
    instance->prepareToPlay (44100.0, 512);

    juce::AudioBuffer<float> buffer (2, 512);
    juce::MidiBuffer midi;
    midi.addEvent (juce::MidiMessage::noteOn (1, 60, (juce::uint8) 127), 0);
    instance->processBlock (buffer, midi);

    // The opening list's one file answers on every key; the note is audible and sane.
    EXPECT_GT (buffer.getMagnitude (0, 512), 0.01f);
    EXPECT_TRUE (checkBlock (buffer, outputBound (1.0f)).isEmpty());
    instance->releaseResources();
}
