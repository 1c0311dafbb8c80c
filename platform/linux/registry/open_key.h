// The object behind a key's handle, and the way from a handle to it.
#pragma once

#include "platform/linux/handles/handle_table.h"
#include "platform/linux/registry/key_folder.h"
#include "platform/linux/registry/listing.h"
#include "platform/linux/registry/value_cache.h"

#include <mutex>
#include <new>

namespace Platform::Registry {

class OpenKey final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Key;

    explicit OpenKey(KeyFolder opened) noexcept : CountedObject(objectKind), folder(std::move(opened)) { }

    // Guards all below, but for finding subkeys, which needs nothing that changes. A call takes it once,
    // before the lock of any change.
    std::mutex guard;
    KeyFolder folder;
    ValueCache cache;
    Listing values{Listing::Kind::Values};
    Listing subkeys{Listing::Kind::Subkeys};
};

// Whether the root that a handle may stand for is made when its hive was never written.
enum class MissingHive { Fails, IsMade };

// The key of the handle, which has to have these rights; the roots have all. ERROR_FILE_NOT_FOUND if the
// handle is a root's and there is no hive.
Code FindKey(Handle handle, std::uint32_t access, MissingHive missing, ObjectRef<OpenKey>& key) noexcept;

// Calls work() and turns its lack of memory into a code.
template <class Work>
Code WithoutThrowing(Work work) noexcept
try {
    return work();
} catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
}

} // namespace Platform::Registry
