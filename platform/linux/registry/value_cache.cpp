#include "platform/linux/registry/value_cache.h"

#include <new>

namespace Platform::Registry {

namespace {

constexpr std::size_t costOfEntry = 64; // what the map and the allocator add, as a guess in bytes

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
    std::uint32_t size, const ValueLayout& layout) noexcept
try {
    if (!stamp.IsSettled() || stamp.sequence != sequence)
        return;
    if (size > largestValue)
        return Forget(name);
    if (used > capacity)
        Clear();
    Value& value = values.try_emplace(HashOfName(name)).first->second;
    used -= value.cost;
    value.cost = 0;
    value.name = name;
    value.type = type;
    value.bytes.assign(static_cast<const char*>(bytes), size);
    value.layout = layout;
    value.cost = sizeof value + costOfEntry + name.size() * sizeof(char16_t) + size;
    used += value.cost;
} catch (const std::bad_alloc&) {
    Forget(name); // it may be half filled
}

void ValueCache::Follow(const Stamp& before, const Stamp& after) noexcept
{
    if (!before.IsSettled() || before.sequence != sequence)
        Clear();
    sequence = after.sequence;
}

void ValueCache::Forget(std::u16string_view name) noexcept
{
    const auto found = values.find(HashOfName(name));
    if (found == values.end())
        return;
    used -= found->second.cost;
    values.erase(found);
}

void ValueCache::Clear() noexcept
{
    values.clear();
    used = 0;
}

} // namespace Platform::Registry
