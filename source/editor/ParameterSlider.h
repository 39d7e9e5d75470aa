#pragma once

#include "editor/ValueChangeListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace juce
{
class AudioParameterFloatVantrel;
}

/** A rotary knob that shows one of the instrument's float parameters.

    The knob takes its range, step, default and value text from the parameter but
    never writes it: the editor listens to the knob and writes each movement to the
    parameter, and copies the parameter's value back once a second.
*/
class ParameterSlider : public juce::Slider
{
public:
    ParameterSlider();
    ~ParameterSlider() override;

    /** Ties the knob to its parameter. Called once, after the knob has its bounds. */
    void bindToParameter (juce::AudioParameterFloatVantrel* parameterToShow);

    /** The bound parameter, or null before binding. */
    juce::AudioParameterFloatVantrel* getParameter() const noexcept { return parameter; }

    const ValueChangeListener& getValueChangeListener() const noexcept { return valueChangeListener; }

    /** Pixels of vertical travel for the whole range, and the same with Alt held. */
    static constexpr int normalDragDistance = 250;
    static constexpr int fineDragDistance = 2500;

private:
    void setRangeFromParameter();

    juce::AudioParameterFloatVantrel* parameter = nullptr;
    ValueChangeListener valueChangeListener;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ParameterSlider)
};
