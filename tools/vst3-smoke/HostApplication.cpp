#include "HostApplication.h"

#include <algorithm>
#include <iterator>

Steinberg::tresult PLUGIN_API HostApplication::getName (Steinberg::Vst::String128 name)
{
    static constexpr char hostName[] = "Sampivo VST3 smoke loader";
    const auto length = std::min (std::size (hostName), size_t { 128 });

    for (size_t i = 0; i < length; ++i)
        name[i] = static_cast<Steinberg::Vst::TChar> (hostName[i]);

    name[length - 1] = 0;
    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API HostApplication::createInstance (Steinberg::TUID, Steinberg::TUID, void** obj)
{
    *obj = nullptr;
    return Steinberg::kResultFalse;
}
