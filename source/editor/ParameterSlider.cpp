#include "editor/ParameterSlider.h"

#include "processor/AudioParameterFloatVantrel.h"

ParameterSlider::ParameterSlider()
{
    setSliderStyle (juce::Slider::RotaryVerticalDrag);
}

ParameterSlider::~ParameterSlider()
{
    if (parameter == nullptr)
        return;

    parameter->removeListener (&valueChangeListener);

    // The parameter outlives the knob; it must not keep pointing at it.
    if (parameter->getAttachedSlider() == this)
        parameter->setAttachedSlider (nullptr);
}

void ParameterSlider::bindToParameter (juce::AudioParameterFloatVantrel* parameterToShow)
{
    parameter = parameterToShow;
    parameter->setAttachedSlider (this);

    setSliderStyle (juce::Slider::RotaryVerticalDrag);

    // The text box shows exactly what the host shows for the parameter.
    textFromValueFunction = [owner = parameter] (double value)
    {
        return owner->getDisplayText ((float) value);
    };

    setRangeFromParameter();

    setTextBoxStyle (juce::Slider::TextBoxBelow, true, 100, 20);
    setColour (juce::Slider::textBoxOutlineColourId, juce::Colour (0x00000000));
    setColour (juce::Slider::textBoxTextColourId, juce::Colour (0xff909090));

    // Stored for completeness; with velocity mode off and no key to swap modes, every
    // drag maps distance to value directly.
    setVelocityModeParameters (0.05, 1, 0.1, false, juce::ModifierKeys::ctrlAltCommandModifiers);
    setVelocityBasedMode (false);

    // Alt held when the drag starts makes the whole drag ten times finer.
    onDragStart = [this]
    {
        const auto fine = juce::ModifierKeys::getCurrentModifiers().isAltDown();
        setMouseDragSensitivity (fine ? fineDragDistance : normalDragDistance);
    };

    setDoubleClickReturnValue (true, (double) parameter->getStoredDefault(), juce::ModifierKeys::ctrlModifier);

    parameter->addListener (&valueChangeListener);
}

void ParameterSlider::setRangeFromParameter()
{
    const auto choices = parameter->getNumberOfChoices();

    if (parameter->getDisplayKind() == juce::AudioParameterFloatVantrel::choiceList && choices > 1)
    {
        // A choice parameter may count more choices than it has names; the knob stops
        // only at the positions that name one.
        const auto step = 1.0 / (double) (choices - 1);
        const auto lastNamed = (int) parameter->getChoiceNames().size() - 1;
        setRange (0.0, (double) juce::jmax (1, lastNamed) / (double) (choices - 1), step);
        return;
    }

    setRange (0.0, 1.0, choices > 1 ? 1.0 / (double) (choices - 1) : 0.0);
}
