#include "PlugFrame.h"

Steinberg::tresult PLUGIN_API PlugFrame::resizeView (Steinberg::IPlugView* view, Steinberg::ViewRect* newSize)
{
    ++resizeRequests;

    if (view == nullptr || newSize == nullptr)
        return Steinberg::kInvalidArgument;

    lastRequest = *newSize;
    return view->onSize (newSize);
}
