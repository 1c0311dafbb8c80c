#include <tessel/base/properties.h>

#include "platform/text.h"
#include <tessel/base/memory_properties.h>

#include <algorithm>
#include <typeinfo>

namespace {

using Type = Properties::PropertyType;

constexpr std::uint32_t bagTag = 0x80000001;
constexpr std::uint32_t emptyBagBytes = 12; // marker, tag and a count of 0

void WriteValue(WriteArchive& archive, const Properties& bag, const WideString& name, Type type)
{
    switch (type) {
    case Type::number:
        archive << bag.GetNumber(name);
        break;
    case Type::string:
        archive << bag.GetString(name);
        break;
    case Type::binary:
        archive << bag.GetBinary(name);
        break;
    case Type::handle:
        archive << bag.GetHandle(name).value;
        break;
    default:
        break;
    }
}

template <class Payload>
Payload Read(ReadArchive& archive)
{
    Payload payload{};
    archive >> payload;
    return payload;
}

void ReadValue(ReadArchive& archive, Properties& bag, const WideString& name, Type type)
{
    switch (type) {
    case Type::number:
        return bag.SetNumber(name, Read<std::uint32_t>(archive));
    case Type::string:
        return bag.SetString(name, Read<WideString>(archive));
    case Type::binary:
        return bag.SetBinary(name, Read<Binary>(archive));
    case Type::handle:
        return bag.SetHandle(name, Handle{Read<std::uint64_t>(archive)});
    default:
        ReadArchive::ThrowBadFormat();
    }
}

void CopyValue(Properties& target, const Properties& source, const WideString& name)
{
    switch (source.GetType(name)) {
    case Type::number:
        return target.SetNumber(name, source.GetNumber(name));
    case Type::string:
        return target.SetString(name, source.GetString(name));
    case Type::binary:
        return target.SetBinary(name, source.GetBinary(name));
    case Type::handle:
        return target.SetHandle(name, source.GetHandle(name));
    default:
        return;
    }
}

bool IsSameText(const WideString& left, const WideString& right, bool caseSensitive)
{
    return caseSensitive ? left == right : Platform::_wcsicmp(left.c_str(), right.c_str()) == 0;
}

bool IsSameValue(
    const Properties& left, const Properties& right, const WideString& name, Type type, bool caseSensitive)
{
    switch (type) {
    case Type::number:
        return left.GetNumber(name) == right.GetNumber(name);
    case Type::string:
        return IsSameText(left.GetString(name), right.GetString(name), caseSensitive);
    case Type::binary:
        return left.GetBinary(name) == right.GetBinary(name);
    case Type::handle:
        return left.GetHandle(name) == right.GetHandle(name);
    default:
        return true;
    }
}

} // namespace

Properties::~Properties() = default;

WriteArchive& operator<<(WriteArchive& archive, const Properties& properties)
{
    archive << bagTag;
    // Asking a bag for each of its values by name is right for every bag, and slow for this one.
    if (typeid(properties) == typeid(MemoryProperties)) {
        static_cast<const MemoryProperties&>(properties).WriteTo(archive);
        return archive;
    }
    const std::vector<WideString> names = properties.EnumProperties();
    archive << static_cast<std::uint32_t>(names.size());
    for (const WideString& name : names) {
        const Type type = properties.GetType(name);
        archive << name << static_cast<std::uint32_t>(type);
        WriteValue(archive, properties, name, type);
    }
    return archive;
}

ReadArchive& operator>>(ReadArchive& archive, Properties& properties)
{
    if (Read<std::uint32_t>(archive) != bagTag)
        ReadArchive::ThrowBadFormat();
    // The count is believed only as long as there is something to read.
    for (std::uint32_t left = Read<std::uint32_t>(archive); left != 0; --left) {
        const auto name = Read<WideString>(archive);
        const auto type = static_cast<Type>(Read<std::uint32_t>(archive));
        ReadValue(archive, properties, name, type);
    }
    return archive;
}

Binary Properties::Export() const
{
    WriteArchive archive;
    archive << *this;
    Binary exported = archive.GetBinary();
    return exported.GetSize() == emptyBagBytes ? Binary() : exported;
}

void Properties::Import(const Binary& exported)
{
    if (exported.IsEmpty())
        return;
    ReadArchive archive(exported);
    archive >> *this;
}

void Properties::Merge(const Properties& source, const std::vector<WideString>& names, bool exclude)
{
    std::vector<WideString> listed = names;
    std::sort(listed.begin(), listed.end());
    for (const WideString& name : source.EnumProperties())
        if (std::binary_search(listed.begin(), listed.end(), name) != exclude)
            CopyValue(*this, source, name);
}

bool Properties::IsSubsetOf(const Properties& other, bool caseSensitive) const
{
    for (const WideString& name : EnumProperties()) {
        const Type type = GetType(name);
        if (type != other.GetType(name) || !IsSameValue(*this, other, name, type, caseSensitive))
            return false;
    }
    return true;
}
