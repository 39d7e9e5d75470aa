#pragma once

#include "ComObject.h"
#include "pluginterfaces/vst/ivsthostapplication.h"

// The host context given to the component and the controller at initialise. The
// loader offers no host-side objects (messages, attribute lists): JUCE's component
// and controller find each other through their connection points directly.
class HostApplication final : public ComObject<Steinberg::Vst::IHostApplication>
{
public:
    Steinberg::tresult PLUGIN_API getName (Steinberg::Vst::String128 name) override;
    Steinberg::tresult PLUGIN_API createInstance (Steinberg::TUID cid, Steinberg::TUID requestedIid,
                                                  void** obj) override;
};
