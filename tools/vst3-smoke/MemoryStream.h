#pragma once

#include "ComObject.h"
#include "pluginterfaces/base/ibstream.h"

#include <vector>

// A growable in-memory IBStream for getState/setState. It also answers
// ISizeableStream, which JUCE uses to read a state in one go.
class MemoryStream final : public ComObject<Steinberg::IBStream>,
                           public Steinberg::ISizeableStream
{
public:
    MemoryStream() = default;
    explicit MemoryStream (std::vector<char> initialData);

    const std::vector<char>& getData() const noexcept { return data; }

    Steinberg::tresult PLUGIN_API queryInterface (const Steinberg::TUID queriedIid, void** obj) override;
    Steinberg::uint32 PLUGIN_API addRef() override { return ComObject::addRef(); }
    Steinberg::uint32 PLUGIN_API release() override { return ComObject::release(); }

    Steinberg::tresult PLUGIN_API read (void* buffer, Steinberg::int32 numBytes, Steinberg::int32* numBytesRead) override;
    Steinberg::tresult PLUGIN_API write (void* buffer, Steinberg::int32 numBytes, Steinberg::int32* numBytesWritten) override;
    Steinberg::tresult PLUGIN_API seek (Steinberg::int64 pos, Steinberg::int32 mode, Steinberg::int64* result) override;
    Steinberg::tresult PLUGIN_API tell (Steinberg::int64* pos) override;

    Steinberg::tresult PLUGIN_API getStreamSize (Steinberg::int64& size) override;
    Steinberg::tresult PLUGIN_API setStreamSize (Steinberg::int64 size) override;

private:
    std::vector<char> data;
    size_t position = 0;
};
