#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** Makes the instrument's look and feel JUCE's default one for as long as a lease is held.

    JUCE finds the typeface of every font through the default look and feel, not through
    the look and feel of the component that draws, so the face VantrelLookAndFeel names
    reaches the texts only this way. Several editors, of one instance or of several, may
    be open at once: the first lease installs one shared look and feel, and the last one
    to go puts back the default that was there before. Message thread only.
*/
class DefaultLookAndFeelLease
{
public:
    DefaultLookAndFeelLease();
    ~DefaultLookAndFeelLease();

private:
    JUCE_DECLARE_NON_COPYABLE (DefaultLookAndFeelLease)
};
