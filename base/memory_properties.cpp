#include <tessel/base/memory_properties.h>

#include "base/name_map.h"

#include <memory>

struct MemoryProperties::Contents : Shared {
    Contents() = default;
    explicit Contents(const NameMap& other) : map(other) { }

    NameMap map;
};

namespace {

using Type = Properties::PropertyType;

// Null where there is no property of that name and type.
const Value* FindTyped(const NameMap* map, const WideString& name, Type type) noexcept
{
    const Value* const found = map != nullptr ? map->Find(name) : nullptr;
    return found != nullptr && found->GetType() == type ? found : nullptr;
}

const Value& Demand(const NameMap* map, const WideString& name, Type asked)
{
    const Value* const found = map != nullptr ? map->Find(name) : nullptr;
    if (found == nullptr)
        throw Error("MPR-not-found(%s:%d)", "tessel", name, asked);
    if (found->GetType() != asked)
        throw Error("MPR-bad-type(%s:%d %d)", "tessel", name, asked, found->GetType());
    return *found;
}

} // namespace

const NameMap* MemoryProperties::Read() const noexcept
{
    return shared != nullptr ? &static_cast<const Contents*>(shared)->map : nullptr;
}

// The map of contents that nobody else holds. Whoever reads a count of 1 is the only holder, and nobody else
// can raise it; with acquire it also sees what the others did before they let go.
NameMap& MemoryProperties::Write()
{
    if (shared == nullptr) {
        shared = new Contents;
    } else if (shared->refCount.load(std::memory_order_acquire) > 1) {
        auto copy = std::make_unique<Contents>(*Read());
        Clear();
        shared = copy.release();
    }
    return static_cast<Contents*>(shared)->map;
}

WideString MemoryProperties::GetString(const WideString& name, const WideString& defaultValue) const
{
    const Value* const found = FindTyped(Read(), name, Type::string);
    return found != nullptr ? found->GetString() : defaultValue;
}

WideString MemoryProperties::GetString(const WideString& name) const
{
    return Demand(Read(), name, Type::string).GetString();
}

std::uint32_t MemoryProperties::GetNumber(const WideString& name, std::uint32_t defaultValue) const
{
    const Value* const found = FindTyped(Read(), name, Type::number);
    return found != nullptr ? found->GetNumber() : defaultValue;
}

std::uint32_t MemoryProperties::GetNumber(const WideString& name) const
{
    return Demand(Read(), name, Type::number).GetNumber();
}

Binary MemoryProperties::GetBinary(const WideString& name, const Binary& defaultValue) const
{
    const Value* const found = FindTyped(Read(), name, Type::binary);
    return found != nullptr ? found->GetBinary() : defaultValue;
}

Binary MemoryProperties::GetBinary(const WideString& name) const
{
    return Demand(Read(), name, Type::binary).GetBinary();
}

Handle MemoryProperties::GetHandle(const WideString& name, Handle defaultValue) const
{
    const Value* const found = FindTyped(Read(), name, Type::handle);
    return found != nullptr ? found->GetHandle() : defaultValue;
}

Handle MemoryProperties::GetHandle(const WideString& name) const
{
    return Demand(Read(), name, Type::handle).GetHandle();
}

void MemoryProperties::SetString(const WideString& name, const WideString& value)
{
    Write().FindOrInsert(name) = value;
}

void MemoryProperties::SetNumber(const WideString& name, std::uint32_t value)
{
    Write().FindOrInsert(name) = value;
}

void MemoryProperties::SetBinary(const WideString& name, const Binary& value)
{
    Write().FindOrInsert(name) = value;
}

void MemoryProperties::SetHandle(const WideString& name, Handle value)
{
    Write().FindOrInsert(name) = value;
}

void MemoryProperties::Delete(const WideString& name)
{
    // A name that is not there is no reason to copy what is shared.
    if (GetType(name) != Type::none)
        Write().Erase(name);
}

Type MemoryProperties::GetType(const WideString& name) const
{
    const Value* const found = shared != nullptr ? Read()->Find(name) : nullptr;
    return found != nullptr ? found->GetType() : Type::none;
}

std::vector<WideString> MemoryProperties::EnumProperties() const
{
    std::vector<WideString> names;
    if (shared == nullptr)
        return names;
    names.reserve(Read()->GetCount());
    Read()->ForEach([&names](const NameMap::Entry& entry) { names.push_back(entry.name); });
    return names;
}

void MemoryProperties::Clear() noexcept
{
    Release(std::exchange(shared, nullptr));
}

void MemoryProperties::Free(Shared* released) noexcept
{
    delete static_cast<Contents*>(released);
}

// The list of an archived bag, as any other bag would come out through its virtual operations.
void MemoryProperties::WriteTo(WriteArchive& archive) const
{
    archive << static_cast<std::uint32_t>(shared != nullptr ? Read()->GetCount() : 0);
    if (shared == nullptr)
        return;
    Read()->ForEach([&archive](const NameMap::Entry& entry) {
        archive.WriteText(entry.name.c_str(), entry.length) << entry.value;
    });
}
