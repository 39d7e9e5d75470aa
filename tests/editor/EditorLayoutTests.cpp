#include "EditorTestHelpers.h"

using namespace EditorTestHelpers;

namespace
{
struct KnobRow
{
    const char* id;
    const char* caption;
    juce::Rectangle<int> knob;
};

// The panel as drawn up: three rows, columns 75 pixels apart.
const KnobRow layout[] = {
    { "volume", "Volume", { 0, 31, 75, 75 } },          { "attack", "Attack", { 75, 31, 75, 75 } },
    { "decay", "Decay", { 150, 31, 75, 75 } },          { "sustain", "Sustain", { 225, 31, 75, 75 } },
    { "release", "Release", { 300, 31, 75, 75 } },      { "rndpitch", "Rnd. Pitch", { 0, 131, 75, 75 } },
    { "rnddecay", "Rnd. Other", { 75, 131, 75, 75 } },  { "vel2vol", "Vel > Volume", { 150, 131, 75, 75 } },
    { "vel2offs", "Vel > Offset", { 225, 131, 75, 75 } }, { "vel2prob", "Vel > Proba", { 300, 131, 75, 75 } },
    { "pan", "Pan", { 0, 231, 75, 75 } },               { "curve", "Decay Curve", { 150, 231, 75, 75 } },
    { "probabl", "Probability", { 300, 231, 75, 75 } },
};

using EditorLayout = EditorFixture;
} // namespace

TEST_F (EditorLayout, PanelStripAndBackground)
{
    ASSERT_NE (dynamic_cast<SampivoEditor*> (editor.get()), nullptr);
    EXPECT_EQ (editor->getLocalBounds(), juce::Rectangle<int> (0, 0, 375, 400));
    EXPECT_FALSE (editor->isResizable());

    auto& strip = onlyChild<WaveThumbnail> (*editor);
    EXPECT_EQ (strip.getBounds(), juce::Rectangle<int> (0, 300, 375, 100));

    // The 505 x 400 picture is the lowest child, squeezed to the panel; the strip lies above it.
    const auto pictures = childrenOfType<juce::ImageComponent> (*editor);
    ASSERT_EQ (pictures.size(), 1u);
    EXPECT_EQ (editor->getIndexOfChildComponent (pictures.front()), 0);
    EXPECT_EQ (editor->getIndexOfChildComponent (&strip), 1);
    EXPECT_EQ (pictures.front()->getBounds(), editor->getLocalBounds());
    EXPECT_EQ (pictures.front()->getImage().getBounds(), juce::Rectangle<int> (0, 0, 505, 400));
}

TEST_F (EditorLayout, EveryKnobCaptionAndTheToggleInPlace)
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

        // Each caption sits 8 pixels above its knob's top edge, 16 pixels high.
        auto* caption = captionWithText (*editor, row.caption);
        ASSERT_NE (caption, nullptr);
        EXPECT_EQ (caption->getBounds(), row.knob.withY (row.knob.getY() - 8).withHeight (16));
        EXPECT_EQ (caption->getJustificationType(), juce::Justification (juce::Justification::centred));
    }

    auto& toggle = onlyChild<juce::ToggleButton> (*editor);
    EXPECT_EQ (toggle.getBounds(), juce::Rectangle<int> (214, 190, 32, 32));
    EXPECT_TRUE (toggle.getButtonText().isEmpty());

    auto* caption = captionWithText (*editor, "Milliseconds");
    ASSERT_NE (caption, nullptr);
    EXPECT_EQ (caption->getBounds(), juce::Rectangle<int> (236, 198, 115, 16));
    EXPECT_EQ (caption->getJustificationType(), juce::Justification (juce::Justification::centredLeft));
}

TEST_F (EditorLayout, CaptionsAreDrawnWithTheLabelFontInARealFace)
{
    auto* caption = captionWithText (*editor, "Probability");
    ASSERT_NE (caption, nullptr);
    auto* lookAndFeel = dynamic_cast<VantrelLookAndFeel*> (&caption->getLookAndFeel());
    ASSERT_NE (lookAndFeel, nullptr);
    EXPECT_FLOAT_EQ (lookAndFeel->getLabelFont (*caption).getHeight(), 14.4f);

    // Where the preferred face is missing the platform's own face must still give glyphs.
    const auto image = editor->createComponentSnapshot (caption->getBounds(), true, 1.0f);
    EXPECT_GT (countPixels (image, [] (int, int, juce::Colour c) { return c.getBrightness() > 0.8f; }), 20);
}
