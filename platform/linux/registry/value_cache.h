// The values that were read through one handle lately. They hold as long as the stamp of the key stands where
// it stood before they were read: so a get of a known value is one small read.
#pragma once

#include "platform/linux/registry/key_folder.h"
#include "platform/linux/registry/value_file.h"

#include <string>
#include <unordered_map>

namespace Platform::Registry {

class ValueCache {
public:
    struct Value {
        std::u16string name;
        std::uint32_t type = 0;
        std::string bytes;
        ValueLayout layout;
        std::size_t cost = 0; // bytes of memory, roughly
    };
    // Larger values are not kept.
    static constexpr std::uint32_t largestValue = 4096; // bytes

    // The value, if it is known as of this stamp. Good until the next call.
    const Value* Find(std::u16string_view name, const Stamp& stamp) noexcept;

    // Remembers what was read after the stamp was. Where memory is short it does not.
    void Keep(std::u16string_view name, const Stamp& stamp, std::uint32_t type, const void* bytes,
        std::uint32_t size, const ValueLayout& layout) noexcept;

    // A change through this handle: what held before it holds after it, but for the value itself.
    void Follow(const Stamp& before, const Stamp& after) noexcept;
    void Forget(std::u16string_view name) noexcept;

private:
    static constexpr std::size_t capacity = 4 << 20; // bytes, roughly

    void Clear() noexcept;

    // By the hash of the name. Of two names with one hash the later one stays.
    std::unordered_map<std::uint64_t, Value> values;
    std::size_t used = 0; // bytes
    std::uint64_t sequence = 0; // of the stamp
};

} // namespace Platform::Registry
