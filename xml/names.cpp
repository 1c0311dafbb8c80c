#include "xml/names.h"

#include "xml/characters.h"
#include "xml/member_list.h"

#include <cstring>
#include <new>

namespace Xml {

NameTable::~NameTable()
{
    for (std::size_t i = 0; i < bucketCount; ++i)
        for (Name* name = buckets[i]; name != nullptr; name = name->next)
            name->text.~WideString();
}

std::uint32_t NameTable::Hash(std::u16string_view text) noexcept
{
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15;
    constexpr std::size_t wordUnits = 4;
    const std::size_t length = text.size();
    const auto mix = [](std::uint64_t hash, std::uint64_t word) {
        hash = (hash ^ word) * factor;
        return hash ^ hash >> 32;
    };
    std::uint64_t hash = length;
    if (length >= wordUnits) {
        for (std::size_t i = 0; i + wordUnits < length; i += wordUnits)
            hash = mix(hash, LoadWord(text.data() + i));
        hash = mix(hash, LoadWord(text.data() + length - wordUnits));
    } else if (length != 0) {
        const std::uint64_t middle = text[length / 2];
        hash = mix(hash, text.front() | middle << 16 | std::uint64_t{text.back()} << 32);
    }
    return static_cast<std::uint32_t>(hash);
}

static std::uint64_t StartOf(std::u16string_view text) noexcept
{
    std::uint64_t start = 0;
    for (std::size_t i = 0; i < 4; ++i)
        start = start << 16 | (i < text.size() ? text[i] : 0);
    return start;
}

// Names of one hash can be made at will: a long bucket is not searched to its end, and then there are two
// records for one name, which does no harm.
Name* NameTable::Find(std::u16string_view text, std::uint32_t hash) const noexcept
{
    if (bucketCount == 0)
        return nullptr;
    constexpr int farthest = 32;
    Name* name = buckets[hash & (bucketCount - 1)];
    for (int i = 0; name != nullptr && i < farthest; name = name->next, ++i)
        if (name->hash == hash && name->Is(text))
            return name;
    return nullptr;
}

Name& NameTable::Use(const WideString& text)
{
    const std::u16string_view view(text.c_str());
    const std::uint32_t hash = Hash(view);
    Name* const found = Find(view, hash);
    return found != nullptr ? AddUse(*found) : Add(text, view.size(), hash);
}

Name& NameTable::Add(WideString text, std::size_t length, std::uint32_t hash)
{
    if (nameCount == bucketCount)
        Grow();
    const std::u16string_view view(text.c_str(), length);
    const bool isValid = IsValidName(view);
    const std::uint64_t start = StartOf(view);
    Name& name = *::new (pool.Take(sizeof(Name))) Name{
        std::move(text), static_cast<std::uint32_t>(length), hash, 1, isValid, start, nullptr, nullptr};
    PutFirst(buckets[hash & (bucketCount - 1)], name);
    ++nameCount;
    return name;
}

void NameTable::Grow()
{
    const std::size_t grownCount = bucketCount == 0 ? 16 : bucketCount * 2;
    auto grown = std::make_unique<Name*[]>(grownCount);
    for (std::size_t i = 0; i < bucketCount; ++i)
        while (Name* const name = buckets[i]) {
            buckets[i] = name->next;
            PutFirst(grown[name->hash & (grownCount - 1)], *name);
        }
    buckets = std::move(grown);
    bucketCount = grownCount;
}

void NameTable::EndUse(Name& name) noexcept
{
    if (--name.uses != 0)
        return;
    TakeOut(name);
    --nameCount;
    name.~Name();
    pool.GiveBack(&name, sizeof(Name));
}

} // namespace Xml
