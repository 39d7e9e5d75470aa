#include "EditorTestHelpers.h"

namespace EditorTestHelpers
{
ParameterSlider& knobFor (VantrelSampivoAudioProcessor& processor, const juce::String& id)
{
    for (auto* parameter : processor.getParameters())
        if (auto* withId = dynamic_cast<juce::AudioParameterFloatVantrel*> (parameter))
            if (withId->paramID == id && withId->getAttachedSlider() != nullptr)
                return *withId->getAttachedSlider();

    throw std::runtime_error ("no knob bound to " + id.toStdString());
}

juce::Label* captionWithText (juce::Component& editor, const juce::String& text)
{
    for (auto* label : childrenOfType<juce::Label> (editor))
        if (label->getText() == text)
            return label;

    return nullptr;
}

juce::MouseEvent mouseEventOn (juce::Component& component, juce::Point<float> position,
                               juce::ModifierKeys modifiers, juce::Point<float> mouseDownPosition, int clicks)
{
    const auto now = juce::Time::getCurrentTime();
    return juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), position, modifiers,
                             juce::MouseInputSource::defaultPressure, 0.0f, 0.0f, 0.0f, 0.0f,
                             &component, &component, now, mouseDownPosition, now, clicks,
                             position != mouseDownPosition);
}

void loadSamples (VantrelSampivoAudioProcessor& processor, const juce::StringArray& paths)
{
    processor.setStateProperty ("filenames", paths.joinIntoString ("\n"));
    processor.reloadSamples (true);
}

int countPixels (const juce::Image& image, const std::function<bool (int x, int y, juce::Colour)>& test)
{
    const juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readOnly);
    auto count = 0;

    for (auto y = 0; y < image.getHeight(); ++y)
        for (auto x = 0; x < image.getWidth(); ++x)
            count += test (x, y, pixels.getPixelColour (x, y)) ? 1 : 0;

    return count;
}

juce::String EditorFixture::writeTone (const juce::String& name)
{
    const auto file = folder.file (name);
    EXPECT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.1, 440.0));
    return file.getFullPathName();
}
} // namespace EditorTestHelpers
