#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** For as long as a lease is held, JUCE's default look and feel is one that chooses the
    face VantrelLookAndFeel names.

    JUCE finds the typeface of every font through the default look and feel, not through
    the look and feel of the component that draws, so the face reaches the texts only
    this way. Several editors, of one instance or of several, may be open at once: the
    first lease installs one shared look and feel, and the last one to go puts back the
    default that was there before. Message thread only.
*/
class DefaultLookAndFeelLease
{
public:
    DefaultLookAndFeelLease();
    ~DefaultLookAndFeelLease();

private:
    JUCE_DECLARE_NON_COPYABLE (DefaultLookAndFeelLease)
};
