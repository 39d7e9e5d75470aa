#include "EditorTestHelpers.h"

#include <gtest/gtest.h>

using namespace EditorTestHelpers;

namespace
{
struct KnobRow
{
    const char* id;
    const char* caption;
    juce::Rectangle<int> knob;
    juce::Rectangle<int> captionBounds;
};

// The panel as drawn up: three rows, columns 75 pixels apart, each caption 8 pixels
// above its knob's top edge.
const KnobRow layout[] = {
    { "volume",   "Volume",       { 0, 31, 75, 75 },    { 0, 23, 75, 16 } },
    { "attack",   "Attack",       { 75, 31, 75, 75 },   { 75, 23, 75, 16 } },
    { "decay",    "Decay",        { 150, 31, 75, 75 },  { 150, 23, 75, 16 } },
    { "sustain",  "Sustain",      { 225, 31, 75, 75 },  { 225, 23, 75, 16 } },
    { "release",  "Release",      { 300, 31, 75, 75 },  { 300, 23, 75, 16 } },
    { "rndpitch", "Rnd. Pitch",   { 0, 131, 75, 75 },   { 0, 123, 75, 16 } },
    { "rnddecay", "Rnd. Other",   { 75, 131, 75, 75 },  { 75, 123, 75, 16 } },
    { "vel2vol",  "Vel > Volume", { 150, 131, 75, 75 }, { 150, 123, 75, 16 } },
    { "vel2offs", "Vel > Offset", { 225, 131, 75, 75 }, { 225, 123, 75, 16 } },
    { "vel2prob", "Vel > Proba",  { 300, 131, 75, 75 }, { 300, 123, 75, 16 } },
    { "pan",      "Pan",          { 0, 231, 75, 75 },   { 0, 223, 75, 16 } },
    { "curve",    "Decay Curve",  { 150, 231, 75, 75 }, { 150, 223, 75, 16 } },
    { "probabl",  "Probability",  { 300, 231, 75, 75 }, { 300, 223, 75, 16 } },
};

class EditorLayout : public ::testing::Test
{
protected:
    VantrelSampivoAudioProcessor processor;
    std::unique_ptr<juce::AudioProcessorEditor> editor { processor.createEditor() };
};
} // namespace

TEST_F (EditorLayout, FixedPanelSize)
{
    ASSERT_NE (dynamic_cast<SampivoEditor*> (editor.get()), nullptr);
    EXPECT_EQ (editor->getWidth(), 375);
    EXPECT_EQ (editor->getHeight(), 400);
    EXPECT_FALSE (editor->isResizable());
}

TEST_F (EditorLayout, EveryKnobAndCaptionInPlace)
{
    EXPECT_EQ (childrenOfType<ParameterSlider> (*editor).size(), 13u);
    EXPECT_EQ (childrenOfType<juce::Label> (*editor).size(), 14u);

    for (const auto& row : layout)
    {
        SCOPED_TRACE (row.id);
        const auto& knob = knobFor (processor, row.id);
        EXPECT_EQ (knob.getParentComponent(), editor.get());
        EXPECT_EQ (knob.getBounds(), row.knob);
        EXPECT_TRUE (knob.isVisible());
        EXPECT_EQ (knob.getSliderStyle(), juce::Slider::RotaryVerticalDrag);

        auto* caption = captionWithText (*editor, row.caption);
        ASSERT_NE (caption, nullptr);
        EXPECT_EQ (caption->getBounds(), row.captionBounds);
        EXPECT_EQ (caption->getJustificationType(), juce::Justification (juce::Justification::centred));
        EXPECT_TRUE (caption->isVisible());
    }
}

TEST_F (EditorLayout, MillisecondsToggleAndCaption)
{
    auto& toggle = millisecondsToggle (*editor);
    EXPECT_EQ (toggle.getBounds(), juce::Rectangle<int> (214, 190, 32, 32));
    EXPECT_TRUE (toggle.getButtonText().isEmpty());

    auto* caption = captionWithText (*editor, "Milliseconds");
    ASSERT_NE (caption, nullptr);
    EXPECT_EQ (caption->getBounds(), juce::Rectangle<int> (236, 198, 115, 16));
    EXPECT_EQ (caption->getJustificationType(), juce::Justification (juce::Justification::centredLeft));
}

TEST_F (EditorLayout, StripAlongTheBottomOverTheBackground)
{
    auto& strip = statusStrip (*editor);
    EXPECT_EQ (strip.getBounds(), juce::Rectangle<int> (0, 300, 375, 100));

    // The picture is the lowest child and covers the panel; the strip lies above it.
    const auto pictures = childrenOfType<juce::ImageComponent> (*editor);
    ASSERT_EQ (pictures.size(), 1u);
    EXPECT_EQ (editor->getIndexOfChildComponent (pictures.front()), 0);
    EXPECT_EQ (editor->getIndexOfChildComponent (&strip), 1);
    EXPECT_EQ (pictures.front()->getBounds(), editor->getLocalBounds());
    EXPECT_TRUE (pictures.front()->getImage().isValid());
    EXPECT_EQ (pictures.front()->getImage().getWidth(), 505);
    EXPECT_EQ (pictures.front()->getImage().getHeight(), 400);
}

TEST_F (EditorLayout, CaptionsUseTheLookAndFeelsLabelFont)
{
    auto* caption = captionWithText (*editor, "Volume");
    ASSERT_NE (caption, nullptr);

    // The editor installs its look and feel; its children draw with it.
    auto* lookAndFeel = dynamic_cast<VantrelLookAndFeel*> (&caption->getLookAndFeel());
    ASSERT_NE (lookAndFeel, nullptr);
    EXPECT_FLOAT_EQ (lookAndFeel->getLabelFont (*caption).getHeight(), 14.4f);
}

TEST_F (EditorLayout, CaptionsAreDrawnWithARealFace)
{
    // Where the preferred face is missing the platform's own face must still give glyphs:
    // the caption has to put light pixels on the panel.
    auto* caption = captionWithText (*editor, "Probability");
    ASSERT_NE (caption, nullptr);
    const auto image = editor->createComponentSnapshot (caption->getBounds(), true, 1.0f);
    const juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readOnly);
    auto lightPixels = 0;

    for (auto y = 0; y < image.getHeight(); ++y)
        for (auto x = 0; x < image.getWidth(); ++x)
            if (pixels.getPixelColour (x, y).getBrightness() > 0.8f)
                ++lightPixels;

    EXPECT_GT (lightPixels, 20);
}
