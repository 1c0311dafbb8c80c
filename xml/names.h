// Names of elements and attributes. Those of one document that are equal share, as far as they are found, one
// record and one string.
#pragma once

#include "xml/arena.h"
#include "xml/block.h"
#include "xml/text.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace Xml {

struct Name {
    WideString text;
    std::uint32_t length;
    std::uint32_t hash;
    std::size_t uses; // elements and attributes
    bool isValid; // the reader takes it
    std::uint64_t start; // the first four characters, as a number that orders as they do
    Name* next; // in the bucket
    Name** link; // what points at this one

    std::u16string_view View() const noexcept { return {text.c_str(), length}; }
    bool Is(std::u16string_view other) const noexcept
    {
        return length == other.size() && IsSame(text.c_str(), other.data(), length);
    }
    friend bool operator<(const Name& left, const Name& right) noexcept
    {
        return left.start != right.start ? left.start < right.start : left.View() < right.View();
    }
};

class NameTable {
public:
    explicit NameTable(RecordPool& itsPool) noexcept : pool(itsPool) { }
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;
    ~NameTable();

    // A name with one use added. Throws std::bad_alloc.
    Name& Use(std::u16string_view text)
    {
        const std::uint32_t hash = Hash(text);
        Name* const found = Find(text, hash);
        return found != nullptr ? AddUse(*found) : Add(MakeString(text), text.size(), hash);
    }
    // The same; a new name shares the string.
    Name& Use(const WideString& text);
    Name& AddUse(Name& name) noexcept
    {
        ++name.uses;
        return name;
    }
    void EndUse(Name& name) noexcept;

private:
    static std::uint32_t Hash(std::u16string_view text) noexcept;
    Name* Find(std::u16string_view text, std::uint32_t hash) const noexcept;
    Name& Add(WideString text, std::size_t length, std::uint32_t hash);
    void Grow();

    RecordPool& pool;
    std::unique_ptr<Name*[]> buckets;
    std::size_t bucketCount = 0; // a power of two, or 0
    std::size_t nameCount = 0;
};

} // namespace Xml
