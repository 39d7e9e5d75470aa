#include "editor/DefaultLookAndFeelLease.h"

#include "editor/VantrelLookAndFeel.h"

#include <memory>

namespace
{
/** What every lease of the process shares. */
struct SharedDefault
{
    int leases = 0;
    std::unique_ptr<juce::LookAndFeel_V4> lookAndFeel;
    juce::WeakReference<juce::LookAndFeel> previous;
};

SharedDefault& shared()
{
    static SharedDefault instance;
    return instance;
}

void makeDefault (juce::LookAndFeel* lookAndFeel)
{
    juce::LookAndFeel::setDefaultLookAndFeel (lookAndFeel);

    // Typefaces found through the old default stay cached under the generic sans-serif
    // name, and new fonts would be given them; emptied, the cache asks the new default.
    juce::Typeface::clearTypefaceCache();
}
} // namespace

DefaultLookAndFeelLease::DefaultLookAndFeelLease()
{
    JUCE_ASSERT_MESSAGE_THREAD
    auto& state = shared();

    if (state.leases++ > 0)
        return;

    // Only the face is the instrument's; the drawing stays JUCE's own, so that windows
    // around the editor (the standalone application's) are not restyled.
    state.previous = &juce::LookAndFeel::getDefaultLookAndFeel();
    state.lookAndFeel = std::make_unique<juce::LookAndFeel_V4>();

    if (const auto face = VantrelLookAndFeel::getFaceName(); face.isNotEmpty())
        state.lookAndFeel->setDefaultSansSerifTypefaceName (face);

    makeDefault (state.lookAndFeel.get());
}

DefaultLookAndFeelLease::~DefaultLookAndFeelLease()
{
    JUCE_ASSERT_MESSAGE_THREAD
    auto& state = shared();

    if (--state.leases > 0)
        return;

    // A default that something else installed in the meantime is left alone. A previous
    // default that has gone since is a null reference, which gives JUCE's own back.
    if (&juce::LookAndFeel::getDefaultLookAndFeel() == state.lookAndFeel.get())
        makeDefault (state.previous.get());

    state.previous = nullptr;
    state.lookAndFeel.reset();
}
