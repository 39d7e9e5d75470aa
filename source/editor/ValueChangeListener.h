#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

#include <atomic>

/** Notes that a parameter has changed since the knob was bound.

    The flag starts out true and is only ever set: the editor refreshes every knob once
    a second whatever the flag says, so nothing needs to clear it. The host may change
    the parameter from its audio thread, hence the atomic.
*/
class ValueChangeListener : public juce::AudioProcessorParameter::Listener
{
public:
    ValueChangeListener() = default;

    void parameterValueChanged (int parameterIndex, float newValue) override;
    void parameterGestureChanged (int parameterIndex, bool gestureIsStarting) override;

    bool hasChanged() const noexcept;

private:
    std::atomic<bool> changed { true };

    JUCE_DECLARE_NON_COPYABLE (ValueChangeListener)
};
