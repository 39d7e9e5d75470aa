#include "StateBlocks.h"

using namespace StateBlocks;

namespace
{
/** The smallest concrete processor on the base: one parameter, and a restore that
    records every block it is handed before restoring it. */
class ProgramTestProcessor : public juce::AudioProcessorVantrel
{
public:
    ProgramTestProcessor()
        : juce::AudioProcessorVantrel (BusesProperties().withOutput ("Output", juce::AudioChannelSet::stereo(), true))
    {
        level = new juce::AudioParameterFloat (juce::ParameterID { "level", 1 }, "Level", 0.0f, 1.0f, 0.5f);
        addParameter (level);
    }

    const juce::String getName() const override        { return "Program test"; }
    double getTailLengthSeconds() const override        { return 0.0; }
    bool acceptsMidi() const override                   { return false; }
    bool producesMidi() const override                  { return false; }
    juce::AudioProcessorEditor* createEditor() override { return nullptr; }
    bool hasEditor() const override                     { return false; }

    void updateControls() override {}
    std::pair<float, float> processStereoSample (float left, float right) override { return { left, right }; }

    void setStateInformation (const void* data, int sizeInBytes) override
    {
        const auto* bytes = static_cast<const uint8_t*> (data);
        restoredBlocks.emplace_back (bytes, bytes + sizeInBytes);
        juce::AudioProcessorVantrel::setStateInformation (data, sizeInBytes);
    }

    void selectProgram (int index, bool controlsPending)
    {
        controlsNeedUpdate.store (controlsPending);
        stateChanged.store (false);
        setCurrentProgram (index);
        EXPECT_TRUE (stateChanged.load());
        EXPECT_EQ (getCurrentProgram(), index);
    }

    juce::AudioParameterFloat* level = nullptr;
    std::vector<Bytes> restoredBlocks;
};

class ProgramLayer : public testing::Test
{
protected:
    void SetUp() override
    {
        processor.programs.push_back ({ "Quiet", "level=\"0.2500\" colour=\"blue\"" });
        processor.programs.push_back ({ "Loud", "level=\"0.7500\" colour=\"red\"" });
    }

    ProgramTestProcessor processor;
};
} // namespace

TEST_F (ProgramLayer, AppliesTheProgramTextAsASettingsDocument)
{
    EXPECT_EQ (processor.getNumPrograms(), 2);
    EXPECT_EQ (processor.getProgramName (1), "Loud");

    processor.selectProgram (1, false);
    ASSERT_EQ (processor.restoredBlocks.size(), 1u);

    // The program text wrapped exactly as a saved document.
    EXPECT_EQ (processor.restoredBlocks[0],
               wrapDocument ("<settings level=\"0.7500\" colour=\"red\"/>"));
    EXPECT_FLOAT_EQ (processor.level->get(), 0.75f);
    EXPECT_EQ (processor.getStateProperty ("colour"), "red");

    // The restore asked for a control update again, and sets the other two flags.
    EXPECT_TRUE (processor.controlsNeedUpdate.load());
    EXPECT_EQ (processor.sampleCounter.load(), 0);
}

TEST_F (ProgramLayer, NothingIsAppliedWhileControlsAwaitAnUpdate)
{
    processor.selectProgram (1, true);
    EXPECT_TRUE (processor.restoredBlocks.empty());
    EXPECT_FLOAT_EQ (processor.level->get(), 0.5f);

    // Once the controls are up to date the same index applies.
    processor.selectProgram (1, false);
    EXPECT_EQ (processor.restoredBlocks.size(), 1u);
}

TEST_F (ProgramLayer, TheLastAppliedIndexIsNotAppliedAgain)
{
    processor.selectProgram (0, false);
    EXPECT_FLOAT_EQ (processor.level->get(), 0.25f);

    processor.level->setValueNotifyingHost (0.9f);
    processor.selectProgram (0, false);
    EXPECT_EQ (processor.restoredBlocks.size(), 1u);
    EXPECT_FLOAT_EQ (processor.level->get(), 0.9f);

    processor.selectProgram (1, false);
    processor.selectProgram (0, false);
    ASSERT_EQ (processor.restoredBlocks.size(), 3u);
    EXPECT_FLOAT_EQ (processor.level->get(), 0.25f);
    EXPECT_EQ (processor.getStateProperty ("colour"), "blue");
}

TEST_F (ProgramLayer, IndicesOutsideTheListAreRecordedButNotApplied)
{
    processor.selectProgram (7, false);
    processor.selectProgram (-1, false);
    EXPECT_TRUE (processor.restoredBlocks.empty());
}

TEST (ProgramLayerDefault, ASingleDefaultProgramIsNeverApplied)
{
    ProgramTestProcessor processor;
    EXPECT_EQ (processor.getNumPrograms(), 1);
    EXPECT_EQ (processor.getProgramName (0), "Default");

    processor.selectProgram (0, false);
    processor.selectProgram (1, false);
    EXPECT_TRUE (processor.restoredBlocks.empty());
}
