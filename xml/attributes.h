// Attributes: the attributes of one element in the order of their names, in one pointer: a sorted array, or,
// where there are many, a tree, so that no number of them makes a change slow.
#pragma once

#include "xml/names.h"
#include "xml/text.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>

namespace Xml {

class NodeStore;

struct Attribute {
    Name* name;
    Text value;
};

class Attributes {
public:
    // A member of the list of all of them in a store.
    struct Tree {
        std::map<std::u16string_view, Attribute> members; // the keys are the names' own characters
        Tree* next;
        Tree** link; // what points at this one
    };

    // All that change anything take names and values out of the store, or give them back to it.
    // The value of the attribute, or null.
    const Text* Find(std::u16string_view name) const noexcept;
    void Set(NodeStore& store, const WideString& name, const WideString& value);
    bool Remove(NodeStore& store, std::u16string_view name) noexcept;
    // The first attributes that there are; takes over the names and values, sorts them, and lets the last of
    // those count that have the same name.
    void Fill(NodeStore& store, Attribute* first, std::size_t count);
    void Free(NodeStore& store) noexcept;

    bool IsEmpty() const noexcept { return GetCount() == 0; }
    std::size_t GetCount() const noexcept;
    // Calls with each Attribute, in order.
    template <class Callable>
    void ForEach(Callable&& called) const;

private:
    static constexpr std::uint32_t mostInArray = 64;
    static constexpr std::uintptr_t treeBit = 1;

    struct Array {
        std::uint32_t count;
        std::uint32_t capacity;

        Attribute* Begin() noexcept { return reinterpret_cast<Attribute*>(this + 1); }
        Attribute* End() noexcept { return Begin() + count; }
    };

    Array* GetArray() const noexcept
    {
        return (bits & treeBit) == 0 ? reinterpret_cast<Array*>(bits) : nullptr;
    }
    Tree* GetTree() const noexcept
    {
        return (bits & treeBit) != 0 ? reinterpret_cast<Tree*>(bits & ~treeBit) : nullptr;
    }
    Attribute* FindMember(std::u16string_view name) const noexcept;
    void Insert(NodeStore& store, const Attribute& added);
    void MakeArray(NodeStore& store, const Attribute* first, std::size_t count, std::uint32_t capacity);
    void MakeTree(NodeStore& store, const Attribute* first, std::size_t count);
    void FreeArray(NodeStore& store) noexcept;

    std::uintptr_t bits = 0;
};
static_assert(sizeof(Attributes) == 8);

template <class Callable>
void Attributes::ForEach(Callable&& called) const
{
    if (Tree* const tree = GetTree()) {
        for (const auto& member : tree->members)
            called(member.second);
    } else if (Array* const array = GetArray()) {
        for (const Attribute* attribute = array->Begin(); attribute != array->End(); ++attribute)
            called(*attribute);
    }
}

} // namespace Xml
