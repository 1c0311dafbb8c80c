#include "platform/linux/registry/value_cache.h"

#include <new>

namespace Platform::Registry {

namespace {

// With a guess at what the map and the allocator add.
std::size_t SizeOf(const ValueCache::Value& value)
{
    return 64 + sizeof value + value.name.size() * sizeof(char16_t) + value.bytes.size();
}

} // namespace

const ValueCache::Value* ValueCache::Find(std::u16string_view name, const Stamp& stamp) noexcept
{
    if (!stamp.IsSettled())
        return nullptr;
    if (stamp.sequence != sequence) {
        Clear();
        sequence = stamp.sequence;
    }
    const auto found = values.find(HashOfName(name));
    return found != values.end() && EqualNames(found->second.name, name) ? &found->second : nullptr;
}

void ValueCache::Keep(std::u16string_view name, const Stamp& stamp, std::uint32_t type, const void* bytes,
    std::uint32_t size) noexcept
try {
    if (!stamp.IsSettled() || stamp.sequence != sequence || size > largestValue)
        return;
    Value value{std::u16string(name), type, {static_cast<const char*>(bytes), size}};
    if (used + SizeOf(value) > capacity)
        Clear();
    const auto [place, isNew] = values.try_emplace(HashOfName(name));
    if (!isNew)
        used -= SizeOf(place->second);
    place->second = std::move(value);
    used += SizeOf(place->second);
} catch (const std::bad_alloc&) {
    return;
}

void ValueCache::Follow(const Stamp& before, const Stamp& after, std::u16string_view changed) noexcept
{
    if (!before.IsSettled() || before.sequence != sequence)
        Clear();
    sequence = after.sequence;
    const auto found = values.find(HashOfName(changed));
    if (found == values.end())
        return;
    used -= SizeOf(found->second);
    values.erase(found);
}

void ValueCache::Clear() noexcept
{
    values.clear();
    used = 0;
}

} // namespace Platform::Registry
