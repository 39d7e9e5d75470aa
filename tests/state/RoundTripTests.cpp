#include "state/StateBlocks.h"

#include "editor/SampivoEditor.h"
#include "processor/VantrelSampivoAudioProcessor.h"
#include "support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <functional>

using namespace StateBlocks;

namespace
{
/** The block with its save time replaced by the one in reference (both are the same
    width), so that two saves compare byte for byte. */
Bytes withDateOf (const Bytes& reference, Bytes block)
{
    const std::string key = "date_modified=\"";
    const auto text = textOf (reference), other = textOf (block);
    const auto at = text.find (key), otherAt = other.find (key);

    if (at == std::string::npos || otherAt == std::string::npos)
        return block;

    const auto length = text.find ('"', at + key.size()) - (at + key.size());
    std::copy_n (reference.begin() + (long) (8 + at + key.size()), length,
                 block.begin() + (long) (8 + otherAt + key.size()));
    return block;
}

struct InstanceState
{
    const char* name;
    std::function<void (VantrelSampivoAudioProcessor&, const juce::File& sample)> reach;
};
} // namespace

// Hosts save, restore and save again to see whether the user changed anything (for undo,
// "modified" marks and preset matching): the two saves must not differ.
TEST (StateRoundTrip, ASaveAfterARestoreEqualsTheRestoredSaveInEveryState)
{
    AudioFixtures::TempFolder folder;
    const auto sample = folder.file ("a.wav");
    ASSERT_TRUE (AudioFixtures::writeConstant (sample, 48000.0, 1, 4800, 0.5f));

    const auto prepare = [] (VantrelSampivoAudioProcessor& processor, const juce::File&)
    {
        processor.setRateAndBufferSizeDetails (48000.0, 512);
        processor.prepareToPlay (48000.0, 512);
    };

    const InstanceState states[] = {
        { "fresh", [] (auto&, const auto&) {} },
        { "prepared", prepare },
        { "editor painted",
          [] (auto& processor, const auto&)
          {
              std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditorIfNeeded());
              juce::Image image (juce::Image::ARGB, editor->getWidth(), editor->getHeight(), true);
              juce::Graphics g (image);
              editor->paintEntireComponent (g, false);
              processor.editorBeingDeleted (editor.get());
          } },
        { "files loaded",
          [&] (auto& processor, const auto& file)
          {
              prepare (processor, file);
              processor.setStateProperty ("filenames", file.getFullPathName());
              processor.setCurrentProgram (0);
          } },
        { "unknown and empty attributes",
          [] (auto& processor, const auto&)
          {
              const auto block = wrapDocument ("<settings extra=\"1\" empty=\"\" filenames=\"\" volume=\"0.2500\"/>");
              processor.setStateInformation (block.data(), (int) block.size());
          } },
    };

    for (const auto& state : states)
    {
        SCOPED_TRACE (state.name);
        VantrelSampivoAudioProcessor processor;
        state.reach (processor, sample);

        const auto first = save (processor);
        processor.setStateInformation (first.data(), (int) first.size());
        EXPECT_EQ (textOf (withDateOf (first, save (processor))), textOf (first));
    }
}

TEST (StateRoundTrip, AFreshInstanceSavesNoFileList)
{
    VantrelSampivoAudioProcessor processor;
    EXPECT_EQ (textOf (save (processor)).find ("filenames"), std::string::npos);
}
