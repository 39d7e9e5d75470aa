#pragma once

#include "ComObject.h"
#include "pluginterfaces/gui/iplugview.h"

// The host side of the editor window: it accepts whatever size the view asks for
// and remembers the last request so that the loader can report it.
class PlugFrame final : public ComObject<Steinberg::IPlugFrame>
{
public:
    Steinberg::tresult PLUGIN_API resizeView (Steinberg::IPlugView* view, Steinberg::ViewRect* newSize) override;

    int resizeRequests = 0;
    Steinberg::ViewRect lastRequest {};
};
