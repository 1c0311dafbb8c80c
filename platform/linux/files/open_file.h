// The object behind the handle of a file or folder.
#pragma once

#include "platform/linux/files/descriptor.h"
#include "platform/linux/handles/counted_object.h"

#include <mutex>

namespace Platform {

// What a handle may do stands in the handle. The position is kept here and not in the descriptor: moving it
// is no system call, and duplicates share it all the same.
class OpenFile final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::File;

    OpenFile(Descriptor opened, bool onlyAttributes) noexcept
        : CountedObject(objectKind), descriptor(std::move(opened)), pathOnly(onlyAttributes)
    {
    }

    const Descriptor descriptor;
    const bool pathOnly; // opened with O_PATH: good for status and times alone

    // Guards `position`, and is held during a transfer, so that two threads move on one after the other.
    // Nothing is taken under it.
    std::mutex lock;
    std::int64_t position = 0;
};

} // namespace Platform
