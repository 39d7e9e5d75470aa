#include "editor/SampivoEditor.h"

#include "processor/VantrelSampivoAudioProcessor.h"
#include "SampivoBinaryData.h"

namespace
{
// Where each knob sits, row by row, with the caption shown above it. The index is the
// knob's place in the processor's parameter order.
struct KnobPlacement
{
    int knobIndex;
    int x, y;
    const char* caption;
};

constexpr KnobPlacement knobLayout[] = {
    { 0,  0,   31,  "Volume" },
    { 2,  75,  31,  "Attack" },
    { 3,  150, 31,  "Decay" },
    { 4,  225, 31,  "Sustain" },
    { 5,  300, 31,  "Release" },
    { 7,  0,   131, "Rnd. Pitch" },
    { 8,  75,  131, "Rnd. Other" },
    { 9,  150, 131, "Vel > Volume" },
    { 10, 225, 131, "Vel > Offset" },
    { 11, 300, 131, "Vel > Proba" },
    { 1,  0,   231, "Pan" },
    { 6,  150, 231, "Decay Curve" },
    { 12, 300, 231, "Probability" },
};

constexpr int knobSize = 75;
constexpr int captionHeight = 16;
// The caption's lower half overlaps the top of its knob.
constexpr int captionRaise = 8;

const juce::Rectangle<int> millisecondsToggleBounds (214, 190, 32, 32);
const juce::Rectangle<int> millisecondsCaptionBounds (236, 198, 115, 16);
} // namespace

SampivoEditor::SampivoEditor (VantrelSampivoAudioProcessor& p)
    : juce::AudioProcessorEditor (p), processor (p), waveThumbnail (p)
{
    const auto picture = juce::ImageCache::getFromMemory (SampivoBinaryData::background_jpg,
                                                          SampivoBinaryData::background_jpgSize);

    // The picture is wider than the panel and is squeezed to fit it.
    if (picture.isValid())
        background.setImage (picture, juce::RectanglePlacement::stretchToFit);

    addAndMakeVisible (background);
    addAndMakeVisible (waveThumbnail);

    const auto parameters = knobParameters();

    for (const auto& place : knobLayout)
    {
        auto& knob = knobs[(size_t) place.knobIndex];
        knob.setBounds (place.x, place.y, knobSize, knobSize);
        knob.bindToParameter (parameters[(size_t) place.knobIndex]);
        knob.addListener (this);
        addAndMakeVisible (knob);
    }

    millisecondsToggle.setBounds (millisecondsToggleBounds);
    millisecondsToggle.addListener (this);
    addAndMakeVisible (millisecondsToggle);

    for (size_t i = 0; i < std::size (knobLayout); ++i)
    {
        const auto& place = knobLayout[i];
        auto& caption = captions[i];
        caption.setText (place.caption, juce::dontSendNotification);
        caption.setBounds (place.x, place.y - captionRaise, knobSize, captionHeight);
        caption.setJustificationType (juce::Justification::centred);
        addAndMakeVisible (caption);
    }

    auto& millisecondsCaption = captions.back();
    millisecondsCaption.setText ("Milliseconds", juce::dontSendNotification);
    millisecondsCaption.setBounds (millisecondsCaptionBounds);
    millisecondsCaption.setJustificationType (juce::Justification::centredLeft);
    addAndMakeVisible (millisecondsCaption);

    setLookAndFeel (&lookAndFeel);
    startTimer (1000);
    setSize (panelWidth, panelHeight);

    // Show the parameters' values now rather than a second later.
    timerCallback();
}

SampivoEditor::~SampivoEditor()
{
    stopTimer();
    // No child may still point at the look and feel when the member goes.
    setLookAndFeel (nullptr);
}

std::array<juce::AudioParameterFloatVantrel*, SampivoEditor::numKnobs> SampivoEditor::knobParameters() const
{
    return { processor.volumeParam,      processor.panParam,         processor.attackParam,
             processor.decayParam,       processor.sustainParam,     processor.releaseParam,
             processor.curveParam,       processor.randomPitchParam, processor.randomOtherParam,
             processor.velToVolumeParam, processor.velToOffsetParam, processor.velToProbabilityParam,
             processor.probabilityParam };
}

//==============================================================================
void SampivoEditor::paint (juce::Graphics& g)
{
    // Shows only where the background picture is missing.
    g.fillAll (juce::Colour (0xff282828));
}

void SampivoEditor::resized()
{
    const auto width = (float) getWidth();
    const auto height = (float) getHeight();

    waveThumbnail.setBounds (juce::Rectangle<float> (0.0f, 0.75f * height, width, 0.25f * height).toNearestInt());
    background.setBounds (juce::Rectangle<float> (0.0f, 0.0f, width, height).toNearestInt());
}

//==============================================================================
void SampivoEditor::sliderValueChanged (juce::Slider* slider)
{
    auto* knob = dynamic_cast<ParameterSlider*> (slider);

    if (knob == nullptr || knob->getParameter() == nullptr)
        return;

    knob->getParameter()->setValueNotifyingHost ((float) knob->getValue());

    processor.controlsNeedUpdate.store (true, std::memory_order_relaxed);
    processor.controlCounter.store (0, std::memory_order_relaxed);
    processor.updateSoundParameters();
}

void SampivoEditor::sliderDragStarted (juce::Slider*) {}
void SampivoEditor::sliderDragEnded (juce::Slider*) {}

void SampivoEditor::buttonClicked (juce::Button* button)
{
    const auto on = button->getToggleState();

    // The sounds pick the new setting up at the next timer tick.
    if (button == &millisecondsToggle)
        processor.millisecondsParam->setValueNotifyingHost (on ? 1.0f : 0.0f);
}

void SampivoEditor::buttonStateChanged (juce::Button*) {}

void SampivoEditor::timerCallback()
{
    for (auto& knob : knobs)
        if (auto* parameter = knob.getParameter())
            knob.setValue ((double) VantrelSampivoAudioProcessor::normalisedValue (*parameter), juce::dontSendNotification);

    const auto milliseconds = VantrelSampivoAudioProcessor::normalisedValue (*processor.millisecondsParam);
    millisecondsToggle.setToggleState (milliseconds >= 0.5f, juce::dontSendNotification);

    processor.updateSoundParameters();
    repaint();
}
