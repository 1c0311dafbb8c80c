// Io::Source: the reading end of a stream of bytes, and Io::FilteringSource, a source over another one.
//
// Blocks are as large as the source happens to have them; whoever needs other sizes puts a buffering source
// on top. One thread at a time uses a source and all below it.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/object/face_ptr.h>

#include <cstdint>

namespace Io {

struct Source : Face<> {
    static constexpr Iid iid = u"IID_Io::Source"_iid;

    // True when no further Read will deliver bytes. May look below; never moves the position.
    virtual bool IsAtEnd() = 0;
    // The next block; empty at the end and only there. Its bytes may be shared with others.
    virtual Binary Read() = 0;
};

// Keeps the source below alive, and may have read it ahead of its own reader.
struct FilteringSource : Face<Source> {
    static constexpr Iid iid = u"IID_Io::FilteringSource"_iid;

    virtual FacePtr<Source> GetSource() = 0;
    // Block sizes in bytes, from the next Read on; only the last block of a stream may be shorter. A minimum
    // of 0 counts as 1, a maximum below the minimum as the minimum.
    virtual void SetBlockRange(std::uint32_t minimum, std::uint32_t maximum) = 0;
};

} // namespace Io
