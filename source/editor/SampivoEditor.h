#pragma once

#include "editor/DefaultLookAndFeelLease.h"
#include "editor/ParameterSlider.h"
#include "editor/VantrelLookAndFeel.h"
#include "editor/WaveThumbnail.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <array>

class VantrelSampivoAudioProcessor;

/** The instrument's window: a fixed 375 x 400 panel with thirteen knobs, the
    milliseconds toggle, their captions and the status strip that takes file drops.

    Knobs are bound by hand rather than through parameter attachments: a knob movement
    goes to its parameter at once (the host is told), and a once-a-second timer copies
    every parameter back onto its knob, which is how host automation shows up.
*/
class SampivoEditor : public juce::AudioProcessorEditor,
                      public juce::Slider::Listener,
                      public juce::Button::Listener,
                      public juce::Timer
{
public:
    explicit SampivoEditor (VantrelSampivoAudioProcessor& processor);
    ~SampivoEditor() override;

    void paint (juce::Graphics& g) override;
    void resized() override;

    void sliderValueChanged (juce::Slider* slider) override;
    void sliderDragStarted (juce::Slider* slider) override;
    void sliderDragEnded (juce::Slider* slider) override;

    void buttonClicked (juce::Button* button) override;
    void buttonStateChanged (juce::Button* button) override;

    void timerCallback() override;

    static constexpr int panelWidth = 375;
    static constexpr int panelHeight = 400;
    static constexpr int numKnobs = 13;

private:
    /** The thirteen continuous parameters in the processor's order, as the knobs are. */
    std::array<juce::AudioParameterFloatVantrel*, numKnobs> knobParameters() const;

    // First: the captions' fonts must find their typeface through the instrument's
    // default look and feel, and the children are gone before the old one returns.
    DefaultLookAndFeelLease defaultLookAndFeelLease;

    // One knob per continuous parameter, in the processor's parameter order.
    std::array<ParameterSlider, numKnobs> knobs;
    juce::ToggleButton millisecondsToggle;
    // One caption per knob in the order they are laid out, then "Milliseconds".
    std::array<juce::Label, numKnobs + 1> captions;

    VantrelSampivoAudioProcessor& processor;
    VantrelLookAndFeel lookAndFeel;
    WaveThumbnail waveThumbnail;
    juce::ImageComponent background { juce::String() };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SampivoEditor)
};
