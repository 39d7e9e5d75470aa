#pragma once

#include "pluginterfaces/base/funknown.h"

#include <atomic>

// Reference counting and interface lookup for the small host-side objects that the
// smoke loader hands to the plug-in. Interface is the single VST3 interface the
// object implements; FUnknown is answered as well.
template <typename Interface>
class ComObject : public Interface
{
public:
    virtual ~ComObject() = default;

    Steinberg::tresult PLUGIN_API queryInterface (const Steinberg::TUID queriedIid, void** obj) override
    {
        if (Steinberg::FUnknownPrivate::iidEqual (queriedIid, Interface::iid)
            || Steinberg::FUnknownPrivate::iidEqual (queriedIid, Steinberg::FUnknown::iid))
        {
            this->addRef();
            *obj = static_cast<Interface*> (this);
            return Steinberg::kResultOk;
        }

        *obj = nullptr;
        return Steinberg::kNoInterface;
    }

    Steinberg::uint32 PLUGIN_API addRef() override { return ++refCount; }

    Steinberg::uint32 PLUGIN_API release() override
    {
        const auto remaining = --refCount;

        if (remaining == 0)
            delete this;

        return remaining;
    }

private:
    std::atomic<Steinberg::uint32> refCount { 1 };
};
