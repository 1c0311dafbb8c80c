// The object behind the handle of a file or folder.
#pragma once

#include "platform/linux/files/descriptor.h"
#include "platform/linux/handles/counted_object.h"

namespace Platform {

// What a handle may do stands in the handle. The position is the descriptor's own, so duplicates share it.
class OpenFile final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::File;

    OpenFile(Descriptor opened, bool onlyAttributes) noexcept
        : CountedObject(objectKind), descriptor(std::move(opened)), pathOnly(onlyAttributes)
    {
    }

    const Descriptor descriptor;
    const bool pathOnly; // opened with O_PATH: good for status and times alone
};

} // namespace Platform
