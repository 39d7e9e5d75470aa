// Long runs with every thread busy at once, at every rate and at four block sizes: the
// processor directly, and the built bundle through JUCE's VST3 wrapper.
#include "reliability/ReliabilityRig.h"

#include "common/PluginBundle.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace ReliabilityRig;

namespace
{
constexpr auto secondsPerBlockSize = 3.0;

/** Restores the hosted instrument with another file list, as a host reopening a project
    does. JUCE's VST3 host keeps the component's state as base64 text of an "IComponent"
    element: the settings block, then whatever the wrapper appends, kept as it is. */
void restoreWithList (juce::AudioProcessor& instance, const juce::String& list)
{
    juce::MemoryBlock saved, component, rewritten, result;
    instance.getStateInformation (saved);
    auto head = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());
    auto* element = head != nullptr ? head->getChildByName ("IComponent") : nullptr;

    if (element == nullptr || ! component.fromBase64Encoding (element->getAllSubText()))
        throw std::runtime_error ("no component state");

    auto settings = juce::AudioProcessor::getXmlFromBinary (component.getData(), (int) component.getSize());
    const auto tail = std::min (component.getSize(), 9 + (size_t) juce::ByteOrder::littleEndianInt (juce::addBytesToPointer (component.getData(), 4)));
    settings->setAttribute ("filenames", list);
    juce::AudioProcessor::copyXmlToBinary (*settings, rewritten);
    rewritten.append (static_cast<const char*> (component.getData()) + tail, component.getSize() - tail);
    element->deleteAllTextElements();
    element->addTextElement (rewritten.toBase64Encoding());
    juce::AudioProcessor::copyXmlToBinary (*head, result);
    instance.setStateInformation (result.getData(), (int) result.getSize());
}

/** What a host does to the processor while it plays: automation, saves (which must be
    whole) and restores, restores of garbage, drops, editor pushes and program changes. */
Outcome hostAction (VantrelSampivoAudioProcessor& processor, const SamplePool& pool, juce::Random& random, juce::MemoryBlock& saved)
{
    juce::MemoryBlock junk ((size_t) random.nextInt (64));
    random.fillBitsRandomly (junk.getData(), junk.getSize());
    Outcome outcome { "automation", {} };

    switch (random.nextInt (10))
    {
        case 0:
            outcome.action = "save";
            processor.getStateInformation (saved);
            if (const auto xml = juce::AudioProcessor::getXmlFromBinary (saved.getData(), (int) saved.getSize());
                xml == nullptr || ! xml->hasAttribute ("msec") || ! xml->hasAttribute ("pluginversion"))
                outcome.fault = "a save written during playback is not whole";
            break;
        case 1: outcome.action = "restore"; processor.setStateInformation (saved.getData(), (int) saved.getSize()); break;
        case 2: outcome.action = "restore of garbage"; processor.setStateInformation (junk.getData(), (int) junk.getSize()); break;
        case 3: case 4: outcome.action = "drop"; Instrument::drop (processor, pool.randomList (random)); break;
        case 5: outcome.action = "editor push"; processor.controlsNeedUpdate = true; processor.updateSoundParameters(); break;
        case 6: outcome.action = "program change"; processor.setCurrentProgram (0); break;
        default: automateAtRandom (processor.getParameters(), random); break;
    }

    std::this_thread::yield();
    return outcome;
}

struct BlockSizeName
{
    std::string operator() (const testing::TestParamInfo<int>& info) const { return "Block" + std::to_string (info.param); }
};

class ProcessorStress : public testing::TestWithParam<int> {};
class HostStress : public testing::TestWithParam<int> {};
} // namespace

TEST_P (ProcessorStress, RendersSafelyWhileTheHostActsOnEveryThread)
{
    const auto blockSize = GetParam();
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    juce::MemoryBlock saved;

    EXPECT_EQ (stressAtEveryRate (blockSize, secondsPerBlockSize, stressSeed(),
                                  [&] (double rate, int channels) -> juce::AudioProcessor& { Instrument::prepare (processor, rate, blockSize, channels); return processor; },
                                  [&] (juce::Random& random) { return hostAction (processor, pool, random, saved); },
                                  [] (juce::Random&) { return "none"; }),
               juce::String());

    // Afterwards the instrument still works: a drop loads and a note sounds.
    Instrument::prepare (processor, 48000.0, 512);
    for (auto* parameter : processor.getParameters())
        parameter->setValueNotifyingHost (parameter->getDefaultValue());

    Instrument::drop (processor, pool.list (1));
    Instrument::settle (processor);
    EXPECT_GT (render (processor, 512, noteOns ({ 60 })).getMagnitude (0, 512), 0.01f);
}

TEST_P (HostStress, BundleRendersSafelyWhileAutomatedSavedRestoredAndEdited)
{
    const auto blockSize = GetParam();
    const SamplePool pool;
    std::unique_ptr<juce::AudioPluginInstance> instance;
    juce::Array<juce::AudioProcessorParameter*> parameters;
    juce::String error;
    const auto load = [&] (double rate, int block)
    {
        if ((instance = PluginBundle::load (PluginBundle::bundleFromEnvironment(), rate, block, error)) == nullptr)
            throw std::runtime_error (("the bundle did not load: " + error).toStdString());
    };

    // A fresh instance per rate, as when a project is reopened; automation from a
    // thread of its own, as a host's automation playback; restores with other file
    // lists and the editor on the message thread.
    EXPECT_EQ (stressAtEveryRate (blockSize, secondsPerBlockSize, stressSeed(),
                                  [&] (double rate, int) -> juce::AudioProcessor&
                                  {
                                      load (rate, blockSize);
                                      juce::Random random (blockSize);
                                      restoreWithList (*instance, pool.randomList (random));
                                      instance->prepareToPlay (rate, blockSize);
                                      parameters = instance->getParameters();
                                      parameters.removeFirstMatchingValue (instance->getBypassParameter());
                                      return *instance;
                                  },
                                  [&] (juce::Random& random)
                                  {
                                      automateAtRandom (parameters, random);
                                      std::this_thread::sleep_for (std::chrono::microseconds (200));
                                      return Outcome { "automation", {} };
                                  },
                                  [&] (juce::Random& random)
                                  {
                                      restoreWithList (*instance, pool.randomList (random));
                                      return "restore with another file list";
                                  }),
               juce::String());

    // A reopened project plays: the restored list's one file answers on key 60.
    load (44100.0, 512);
    restoreWithList (*instance, pool.list (1));
    instance->prepareToPlay (44100.0, 512);
    Instrument::settle (*instance);
    EXPECT_GT (render (*instance, 512, noteOns ({ 60 })).getMagnitude (0, 512), 0.01f);
    instance->releaseResources();
}

// A new set asked for every 50 ms for ten seconds while notes play: every block stays
// finite, the loader keeps up, and the last request is what plays in the end.
TEST (LoaderStress, ANewSetEveryFiftyMillisecondsWhileNotesPlay)
{
    const SamplePool pool;
    VantrelSampivoAudioProcessor processor;
    Instrument::prepare (processor, 48000.0, 256);
    juce::Random random (stressSeed()), lists (random.nextInt64());
    std::atomic<bool> faulty { false };

    LoopThread audio ([&]
    {
        faulty = faulty || checkBlock (render (processor, 256, noteOns ({ random.nextInt (128) }))).isNotEmpty();
        std::this_thread::sleep_for (std::chrono::microseconds (500));
    });

    for (auto request = 0; request < 200; ++request)
    {
        Instrument::drop (processor, pool.randomList (lists));
        std::this_thread::sleep_for (std::chrono::milliseconds (50));
    }

    Instrument::drop (processor, pool.list (3));
    processor.waitForSampleLoad();
    std::this_thread::sleep_for (std::chrono::milliseconds (50));
    audio.stop();

    EXPECT_FALSE (faulty.load());
    EXPECT_EQ (loadedSounds (processor).size(), 3u);
    EXPECT_EQ (processor.getNonFiniteCount(), 0);
}

INSTANTIATE_TEST_SUITE_P (, ProcessorStress, testing::Values (1, 17, 512, 4096), BlockSizeName());
INSTANTIATE_TEST_SUITE_P (, HostStress, testing::Values (1, 17, 512, 4096), BlockSizeName());
