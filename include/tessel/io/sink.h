// Io::Sink: the writing end of a stream of bytes, and Io::FilteringSink, a sink over another one.
//
// A sink takes blocks of any size. One thread at a time uses a sink and all below it.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/object/face_ptr.h>

#include <cstdint>

namespace Io {

struct Sink : Face<> {
    static constexpr Iid iid = u"IID_Io::Sink"_iid;

    // A sink may share the bytes instead of copying them.
    virtual void Write(const Binary& data) = 0;
    // Pushes on everything that is held, and asks the sink below to do the same.
    virtual void Flush() = 0;
};

// Keeps the sink below alive.
struct FilteringSink : Face<Sink> {
    static constexpr Iid iid = u"IID_Io::FilteringSink"_iid;

    virtual FacePtr<Sink> GetSink() = 0;
    // Sizes in bytes of the blocks that are written below, from the next Write on; only a Flush writes a
    // shorter one. A minimum of 0 counts as 1, a maximum below the minimum as the minimum.
    virtual void SetBlockRange(std::uint32_t minimum, std::uint32_t maximum) = 0;
};

} // namespace Io
