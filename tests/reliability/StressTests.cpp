#include "reliability/ReliabilityRig.h"

#include "common/PluginBundle.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace ReliabilityRig;

namespace
{
constexpr auto secondsPerBlockSize = 3.0;

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

    const auto* bytes = static_cast<const char*> (componentState.getData());
    const auto textLength = (size_t) juce::ByteOrder::littleEndianInt (bytes + 4);
    const auto tailStart = std::min (componentState.getSize(), 8 + textLength + 1);

    settings->setAttribute ("filenames", fileList);
    juce::MemoryBlock rewritten;
    juce::AudioProcessor::copyXmlToBinary (*settings, rewritten);
    rewritten.append (bytes + tailStart, componentState.getSize() - tailStart);
    component->deleteAllTextElements();
    component->addTextElement (rewritten.toBase64Encoding());

    juce::MemoryBlock result;
    juce::AudioProcessor::copyXmlToBinary (*head, result);
    return result;
}

/** Replaces the hosted instrument's file list through a save and a restore, as a host
    reopening a project does. */
void restoreWithList (juce::AudioProcessor& instance, const juce::String& list)
{
    juce::MemoryBlock saved;
    instance.getStateInformation (saved);
    const auto restored = withFileList (saved, list);
    instance.setStateInformation (restored.getData(), (int) restored.getSize());
}

std::unique_ptr<juce::AudioPluginInstance> loadInstance (double rate, int blockSize)
{
    juce::String error;
    auto instance = PluginBundle::load (PluginBundle::bundleFromEnvironment(), rate, blockSize, error);
    EXPECT_NE (instance, nullptr) << error;
    return instance;
}

/** What a host does to the processor while it plays: automation, saves and restores
    (sometimes of garbage), drops, editor refreshes and program changes. */
void hostAction (VantrelSampivoAudioProcessor& processor, const SamplePool& pool, juce::Random& random,
                 juce::MemoryBlock& lastSaved)
{
    switch (random.nextInt (10))
    {
        case 0: processor.getStateInformation (lastSaved); break;
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
        case 4: drop (processor, pool.randomFileList (random)); break;

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

        default: automateAtRandom (processor.getParameters(), random); break;
    }

    std::this_thread::yield();
}

class ProcessorStress : public testing::TestWithParam<int> {};
class HostStress : public testing::TestWithParam<int> {};
} // namespace

TEST_P (ProcessorStress, RendersSafelyWhileTheHostActsOnEveryThread)
{
    const auto blockSize = GetParam();
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock lastSaved;
    FailureLog failures;

    const auto counts = stressAtEveryRate (
        blockSize, secondsPerBlockSize,
        [&] (double rate, int channels) -> juce::AudioProcessor&
        {
            prepare (processor, rate, blockSize, channels);
            return processor;
        },
        [&] (juce::Random& random) { hostAction (processor, pool, random, lastSaved); }, [] (juce::Random&) {}, failures);

    EXPECT_FALSE (failures.any()) << failures.first();
    EXPECT_GT (counts.sideActions, 0);
    EXPECT_GT (counts.messageActions, 0);
    std::cout << "block size " << blockSize << ": " << counts.blocks << " blocks, " << counts.sideActions
              << " host actions, " << counts.messageActions << " editors opened" << std::endl;

    // Afterwards the instrument still works: a drop loads and a note sounds.
    prepare (processor, 48000.0, 512);
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (parameter->getDefaultValue());

    drop (processor, pool.list (1));
    const auto buffer = render (processor, 512, noteOns ({ 60 }));
    EXPECT_EQ (processor.getNumLoadedSounds(), 1);
    EXPECT_GT (buffer.getMagnitude (0, 512), 0.01f);
    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());
}

TEST_P (HostStress, BundleRendersSafelyWhileAutomatedSavedRestoredAndEdited)
{
    const auto blockSize = GetParam();
    const SamplePool pool;
    std::unique_ptr<juce::AudioPluginInstance> instance;
    juce::Array<juce::AudioProcessorParameter*> parameters;
    FailureLog failures;

    // Each rate gets a fresh instance, as when a project is reopened: the restored list
    // is loaded by prepareToPlay and again by the first block. Automation comes from a
    // thread of its own, as a host's automation playback does; saving, restoring (with
    // other file lists) and the editor belong to the message thread.
    const auto counts = stressAtEveryRate (
        blockSize, secondsPerBlockSize,
        [&] (double rate, int) -> juce::AudioProcessor&
        {
            instance = loadInstance (rate, blockSize);

            if (instance == nullptr)
                throw std::runtime_error ("the bundle did not load");

            juce::Random random (blockSize);
            restoreWithList (*instance, pool.randomFileList (random));
            instance->setRateAndBufferSizeDetails (rate, blockSize);
            instance->prepareToPlay (rate, blockSize);

            // The instrument's own fourteen parameters; VST3 adds a bypass of its own.
            parameters = instance->getParameters();
            parameters.removeFirstMatchingValue (instance->getBypassParameter());
            EXPECT_EQ (parameters.size(), 14);
            return *instance;
        },
        [&] (juce::Random& random)
        {
            automateAtRandom (parameters, random);
            std::this_thread::sleep_for (std::chrono::microseconds (200));
        },
        [&] (juce::Random& random) { restoreWithList (*instance, pool.randomFileList (random)); }, failures);

    EXPECT_FALSE (failures.any()) << failures.first();
    EXPECT_GT (counts.sideActions, 0);
    EXPECT_GT (counts.messageActions, 0);
    std::cout << "block size " << blockSize << ": " << counts.blocks << " blocks, " << counts.sideActions
              << " automation passes, " << counts.messageActions << " restores and editors" << std::endl;

    // A reopened project plays: the restored list's one file answers on every key.
    instance = loadInstance (44100.0, 512);
    ASSERT_NE (instance, nullptr);
    restoreWithList (*instance, pool.list (1));
    instance->prepareToPlay (44100.0, 512);
    const auto buffer = render (*instance, 512, noteOns ({ 60 }));
    EXPECT_GT (buffer.getMagnitude (0, 512), 0.01f);
    EXPECT_EQ (checkBlock (buffer, outputBound (1.0f)), juce::String());
    instance->releaseResources();
}

// Empty instantiation names keep the tests' names as "ProcessorStress.<test>/<n>".
INSTANTIATE_TEST_SUITE_P (, ProcessorStress, testing::Values (1, 17, 512, 4096));
INSTANTIATE_TEST_SUITE_P (, HostStress, testing::Values (1, 17, 512, 4096));
