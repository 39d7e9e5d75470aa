#include "EditorTestHelpers.h"

namespace EditorTestHelpers
{
juce::AudioParameterFloatVantrel* parameterWithId (VantrelSampivoAudioProcessor& processor, const juce::String& id)
{
    for (auto* parameter : processor.getParameters())
        if (auto* withId = dynamic_cast<juce::AudioParameterFloatVantrel*> (parameter))
            if (withId->paramID == id)
                return withId;

    ADD_FAILURE() << "no float parameter " << id;
    return nullptr;
}

ParameterSlider& knobFor (VantrelSampivoAudioProcessor& processor, const juce::String& id)
{
    auto* parameter = parameterWithId (processor, id);
    // The knob registers itself with its parameter when it binds.
    auto* knob = parameter != nullptr ? parameter->getAttachedSlider() : nullptr;

    if (knob == nullptr)
        throw std::runtime_error ("no knob bound to " + id.toStdString());

    return *knob;
}

juce::Label* captionWithText (juce::Component& editor, const juce::String& text)
{
    for (auto* label : childrenOfType<juce::Label> (editor))
        if (label->getText() == text)
            return label;

    return nullptr;
}

WaveThumbnail& statusStrip (juce::Component& editor)
{
    const auto strips = childrenOfType<WaveThumbnail> (editor);

    if (strips.size() != 1)
        throw std::runtime_error ("the editor should hold exactly one status strip");

    return *strips.front();
}

juce::ToggleButton& millisecondsToggle (juce::Component& editor)
{
    const auto toggles = childrenOfType<juce::ToggleButton> (editor);

    if (toggles.size() != 1)
        throw std::runtime_error ("the editor should hold exactly one toggle");

    return *toggles.front();
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

float valueOf (const juce::AudioProcessorParameter& parameter)
{
    return parameter.getValue();
}

void setHostValue (juce::AudioProcessorParameter& parameter, float value)
{
    parameter.setValue (value);
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

juce::SamplerSoundLog* EditorFixture::firstSound()
{
    return dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (0).get());
}

juce::String EditorFixture::writeTone (const juce::String& name)
{
    const auto file = folder.file (name);
    EXPECT_TRUE (AudioFixtures::writeSine (file, 44100.0, 1, 0.1, 440.0));
    return file.getFullPathName();
}

ParameterSpy::ParameterSpy (juce::AudioProcessorParameter& parameterToWatch)
    : parameter (parameterToWatch)
{
    parameter.addListener (this);
}

ParameterSpy::~ParameterSpy()
{
    parameter.removeListener (this);
}
} // namespace EditorTestHelpers
