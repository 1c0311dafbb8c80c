#include "io/memory/buffering_sink.h"

#include "io/room.h"

#include <algorithm>
#include <utility>

namespace Io::Memory {

// What is pending goes out first where the limits have been lowered since; if a write below throws, all of it
// is pending again.
void BufferingSinkImpl::Write(const Binary& data)
{
    if (pending.GetSize() < range.minimum)
        return WriteBehindPending(data);
    Binary joined = Emit(pending);
    Join(joined, data);
    pending = Emit(joined);
}

// Adds to the pending block itself, so that byte after byte costs no copy of those before.
void BufferingSinkImpl::WriteBehindPending(const Binary& data)
{
    const std::uint32_t held = pending.GetSize();
    Binary joined = std::exchange(pending, Binary());
    try {
        Join(joined, data);
        pending = Emit(joined);
    } catch (...) {
        if (held == 0)
            throw;
        if (joined.GetSize() != held)
            joined.SetSize(held, true);
        pending = std::move(joined);
        throw;
    }
}

// Adds the bytes of a block, or shares it where there are none yet.
void BufferingSinkImpl::Join(Binary& joined, const Binary& data) const
{
    if (joined.IsEmpty())
        joined = data;
    else
        Append(joined, data.GetData(), data.GetSize(), range.GetExpectedSize());
}

// Passes on as much as fits the limits, and gives the rest.
Binary BufferingSinkImpl::Emit(const Binary& data)
{
    const std::uint32_t size = data.GetSize();
    if (size >= range.minimum && size <= range.maximum) {
        sink->Write(data);
        return {};
    }
    std::uint32_t done = 0;
    while (size - done >= range.minimum) {
        const std::uint32_t count = std::min(size - done, range.maximum);
        sink->Write(CopyOf(data.GetData() + done, count));
        done += count;
    }
    return done == 0 ? data : CopyOf(data.GetData() + done, size - done);
}

void BufferingSinkImpl::Flush()
{
    if (const Binary rest = Emit(pending); !rest.IsEmpty())
        sink->Write(rest);
    pending = Binary();
    sink->Flush();
}

void BufferingSinkImpl::SetBlockRange(std::uint32_t minimum, std::uint32_t maximum)
{
    range.Set(minimum, maximum);
}

} // namespace Io::Memory
