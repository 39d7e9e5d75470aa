#include "processor/AudioProcessorVantrel.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
// A minimal effect on the maker's base that records what the per-sample path hands it.
class RecordingProcessor : public juce::AudioProcessorVantrel
{
public:
    explicit RecordingProcessor (const juce::AudioChannelSet& input = juce::AudioChannelSet::stereo())
        : juce::AudioProcessorVantrel (BusesProperties()
                                           .withInput ("In", input, true)
                                           .withOutput ("Out", juce::AudioChannelSet::stereo(), true))
    {
    }

    const juce::String getName() const override             { return "Recording"; }
    double getTailLengthSeconds() const override            { return 0.0; }
    bool acceptsMidi() const override                       { return false; }
    bool producesMidi() const override                      { return false; }
    juce::AudioProcessorEditor* createEditor() override     { return nullptr; }
    bool hasEditor() const override                         { return false; }

    void updateControls() override
    {
        controlUpdates.push_back (sampleCounter.load());
    }

    std::pair<float, float> processStereoSample (float left, float right) override
    {
        ++samplesSeen;
        lastInput = { left, right };
        return { left, right };
    }

    void blockStarting (juce::AudioBuffer<float>&, int numSamples) override
    {
        blockSizes.push_back (numSamples);
    }

    std::vector<int> controlUpdates;
    std::vector<int> blockSizes;
    int samplesSeen = 0;
    std::pair<float, float> lastInput;
};

std::pair<float, float> clampThroughBase (RecordingProcessor& processor, float left, float right)
{
    juce::AudioBuffer<float> buffer (2, 1);
    buffer.setSample (0, 0, left);
    buffer.setSample (1, 0, right);
    juce::MidiBuffer midi;
    processor.processBlock (buffer, midi);
    return { buffer.getSample (0, 0), buffer.getSample (1, 0) };
}
} // namespace

TEST (BaseProcessing, ClampsAreAsymmetric)
{
    RecordingProcessor processor;
    processor.prepareToPlay (48000.0, 64);

    EXPECT_EQ (clampThroughBase (processor, 25.0f, 0.5f), std::make_pair (20.0f, 0.5f));
    EXPECT_EQ (clampThroughBase (processor, -25.0f, 0.5f), std::make_pair (-25.0f, 0.5f));
    EXPECT_EQ (clampThroughBase (processor, 0.5f, -25.0f), std::make_pair (0.5f, -20.0f));
    EXPECT_EQ (clampThroughBase (processor, -31.0f, 21.0f), std::make_pair (-30.0f, 20.0f));
}

TEST (BaseProcessing, MonoInputFeedsBothSides)
{
    RecordingProcessor processor (juce::AudioChannelSet::mono());
    processor.prepareToPlay (48000.0, 64);

    juce::AudioBuffer<float> buffer (2, 1);
    buffer.setSample (0, 0, -28.0f);
    buffer.setSample (1, 0, 3.0f);
    juce::MidiBuffer midi;
    processor.processBlock (buffer, midi);

    // Channel 1 is an output only: cleared, then fed from the clamped left input.
    EXPECT_EQ (processor.lastInput, std::make_pair (-28.0f, -28.0f));
    EXPECT_EQ (buffer.getSample (1, 0), -28.0f);
}

TEST (BaseProcessing, ControlUpdatesAfterPrepareThenEvery65536Samples)
{
    RecordingProcessor processor;
    processor.prepareToPlay (48000.0, 4096);

    juce::AudioBuffer<float> buffer (2, 4096);
    juce::MidiBuffer midi;

    for (auto block = 0; block < 48; ++block) // 196,608 samples
    {
        buffer.clear();
        processor.processBlock (buffer, midi);
    }

    // The flag fires on the first sample; the 16-bit counter wraps to 0 at 65,536.
    EXPECT_EQ (processor.controlUpdates, (std::vector<int> { 1, 65536, 131072, 196608 }));
    EXPECT_EQ (processor.samplesSeen, 196608);

    // A new prepare forces an update at once and restarts the sample count.
    processor.prepareToPlay (48000.0, 4096);
    EXPECT_EQ (processor.sampleCounter.load(), 0);
    processor.controlUpdates.clear();
    processor.processBlock (buffer, midi);
    EXPECT_EQ (processor.controlUpdates, (std::vector<int> { 1 }));
}

TEST (BaseProcessing, OversamplingByTwoKeepsTheBlockLength)
{
    RecordingProcessor processor;
    processor.prepareToPlay (48000.0, 512);
    processor.oversamplingFactor = 2;

    juce::AudioBuffer<float> buffer (2, 512);

    for (auto i = 0; i < 512; ++i)
    {
        buffer.setSample (0, i, 0.25f);
        buffer.setSample (1, i, -0.25f);
    }

    juce::MidiBuffer midi;
    processor.processBlock (buffer, midi);

    EXPECT_EQ (processor.blockSizes, (std::vector<int> { 1024 }));
    EXPECT_EQ (processor.samplesSeen, 1024);
    EXPECT_EQ (buffer.getNumSamples(), 512);
    EXPECT_EQ (buffer.getNumChannels(), 2);

    // The identity effect through up- and down-sampling settles back near the input.
    for (auto block = 0; block < 8; ++block)
    {
        for (auto i = 0; i < 512; ++i)
        {
            buffer.setSample (0, i, 0.25f);
            buffer.setSample (1, i, -0.25f);
        }

        processor.processBlock (buffer, midi);
    }

    EXPECT_NEAR (buffer.getSample (0, 511), 0.25f, 0.01f);
    EXPECT_NEAR (buffer.getSample (1, 511), -0.25f, 0.01f);
}

TEST (BaseProcessing, PropertyMapInsertsOnRead)
{
    RecordingProcessor processor;
    EXPECT_TRUE (processor.getStatePropertiesSnapshot().empty());
    EXPECT_EQ (processor.getStateProperty ("missing"), "");
    EXPECT_EQ (processor.getStatePropertiesSnapshot().count ("missing"), 1u);

    processor.setStateProperty ("key", "one");
    processor.setStateProperty ("key", "two");
    EXPECT_EQ (processor.getStateProperty ("key"), "two");
}

TEST (BaseProcessing, ProgramLayerCreatesItsDefaultLazily)
{
    RecordingProcessor processor;
    EXPECT_TRUE (processor.programs.empty());
    EXPECT_EQ (processor.getNumPrograms(), 1);
    ASSERT_EQ (processor.programs.size(), 1u);
    EXPECT_EQ (processor.getProgramName (0), "Default");
    EXPECT_EQ (processor.getCurrentProgram(), 0);

    processor.stateChanged = false;
    processor.setCurrentProgram (3);
    EXPECT_EQ (processor.getCurrentProgram(), 3);
    EXPECT_TRUE (processor.stateChanged.load());
}
