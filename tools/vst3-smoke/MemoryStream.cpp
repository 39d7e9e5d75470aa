#include "MemoryStream.h"

#include <algorithm>
#include <cstring>

MemoryStream::MemoryStream (std::vector<char> initialData) : data (std::move (initialData)) {}

Steinberg::tresult PLUGIN_API MemoryStream::queryInterface (const Steinberg::TUID queriedIid, void** obj)
{
    if (Steinberg::FUnknownPrivate::iidEqual (queriedIid, Steinberg::ISizeableStream::iid))
    {
        addRef();
        *obj = static_cast<Steinberg::ISizeableStream*> (this);
        return Steinberg::kResultOk;
    }

    return ComObject::queryInterface (queriedIid, obj);
}

Steinberg::tresult PLUGIN_API MemoryStream::read (void* buffer, Steinberg::int32 numBytes, Steinberg::int32* numBytesRead)
{
    const auto available = data.size() - std::min (position, data.size());
    const auto count = std::min (available, static_cast<size_t> (std::max (numBytes, Steinberg::int32 { 0 })));

    if (count > 0)
        std::memcpy (buffer, data.data() + position, count);

    position += count;

    if (numBytesRead != nullptr)
        *numBytesRead = static_cast<Steinberg::int32> (count);

    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API MemoryStream::write (void* buffer, Steinberg::int32 numBytes, Steinberg::int32* numBytesWritten)
{
    if (numBytes < 0)
        return Steinberg::kInvalidArgument;

    const auto count = static_cast<size_t> (numBytes);

    if (position + count > data.size())
        data.resize (position + count);

    std::memcpy (data.data() + position, buffer, count);
    position += count;

    if (numBytesWritten != nullptr)
        *numBytesWritten = numBytes;

    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API MemoryStream::seek (Steinberg::int64 pos, Steinberg::int32 mode, Steinberg::int64* result)
{
    Steinberg::int64 base = 0;

    if (mode == kIBSeekCur)
        base = static_cast<Steinberg::int64> (position);
    else if (mode == kIBSeekEnd)
        base = static_cast<Steinberg::int64> (data.size());
    else if (mode != kIBSeekSet)
        return Steinberg::kInvalidArgument;

    const auto target = base + pos;

    if (target < 0)
        return Steinberg::kInvalidArgument;

    position = static_cast<size_t> (target);

    if (result != nullptr)
        *result = target;

    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API MemoryStream::tell (Steinberg::int64* pos)
{
    if (pos == nullptr)
        return Steinberg::kInvalidArgument;

    *pos = static_cast<Steinberg::int64> (position);
    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API MemoryStream::getStreamSize (Steinberg::int64& size)
{
    size = static_cast<Steinberg::int64> (data.size());
    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API MemoryStream::setStreamSize (Steinberg::int64 size)
{
    if (size < 0)
        return Steinberg::kInvalidArgument;

    data.resize (static_cast<size_t> (size));
    return Steinberg::kResultOk;
}
