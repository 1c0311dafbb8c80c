#include "xml/attributes.h"

#include "xml/member_list.h"
#include "xml/node_store.h"
#include "xml/rollback.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace Xml {

namespace {

bool IsBefore(const Attribute& left, const Attribute& right) noexcept
{
    return left.name != right.name && *left.name < *right.name;
}

bool IsNamedAlike(const Attribute& left, const Attribute& right) noexcept
{
    return left.name == right.name || left.name->Is(right.name->View());
}

void FreeMember(NodeStore& store, const Attribute& member) noexcept
{
    store.names.EndUse(*member.name);
    store.Free(member.value);
}

// Stable, and quick for the few attributes that elements have.
void Sort(Attribute* first, Attribute* last)
{
    constexpr std::ptrdiff_t few = 16;
    if (last - first > few)
        return std::stable_sort(first, last, IsBefore);
    for (Attribute* next = first; next != last; ++next) {
        const Attribute moved = *next;
        Attribute* place = next;
        for (; place != first && IsBefore(moved, place[-1]); --place)
            *place = place[-1];
        *place = moved;
    }
}

// Of those with one name the last one stays. Returns the new end.
Attribute* DropRepeated(NodeStore& store, Attribute* first, Attribute* last) noexcept
{
    Attribute* end = first;
    for (Attribute* next = first; next != last; ++next) {
        if (end != first && IsNamedAlike(end[-1], *next))
            FreeMember(store, *--end);
        *end++ = *next;
    }
    return end;
}

} // namespace

std::size_t Attributes::GetCount() const noexcept
{
    if (const Tree* const tree = GetTree())
        return tree->members.size();
    const Array* const array = GetArray();
    return array != nullptr ? array->count : 0;
}

// The member of that name, or null.
Attribute* Attributes::FindMember(std::u16string_view name) const noexcept
{
    if (Tree* const tree = GetTree()) {
        const auto found = tree->members.find(name);
        return found != tree->members.end() ? &found->second : nullptr;
    }
    Array* const array = GetArray();
    if (array == nullptr)
        return nullptr;
    Attribute* const place = std::lower_bound(array->Begin(), array->End(), name,
        [](const Attribute& member, std::u16string_view sought) { return member.name->View() < sought; });
    return place != array->End() && place->name->Is(name) ? place : nullptr;
}

const Text* Attributes::Find(std::u16string_view name) const noexcept
{
    const Attribute* const member = FindMember(name);
    return member != nullptr ? &member->value : nullptr;
}

void Attributes::Set(NodeStore& store, const WideString& name, const WideString& value)
{
    if (Attribute* const member = FindMember({name.c_str()})) {
        const Text fresh = store.MakeText(value);
        store.Free(std::exchange(member->value, fresh));
        return;
    }
    Attribute added{&store.names.Use(name), Text()};
    Rollback rollback([&]() noexcept { FreeMember(store, added); });
    added.value = store.MakeText(value);
    Insert(store, added);
    rollback.Disarm();
}

void Attributes::Insert(NodeStore& store, const Attribute& added)
{
    Array* array = GetArray();
    if (array != nullptr && array->count == mostInArray)
        MakeTree(store, array->Begin(), array->count);
    else if (GetTree() == nullptr && (array == nullptr || array->count == array->capacity))
        MakeArray(store, array != nullptr ? array->Begin() : nullptr, GetCount(),
            array != nullptr ? std::min(array->capacity * 2, mostInArray) : 1);
    if (Tree* const tree = GetTree()) {
        tree->members.emplace(added.name->View(), added);
        return;
    }
    array = GetArray();
    Attribute* const place = std::upper_bound(array->Begin(), array->End(), added, IsBefore);
    std::move_backward(place, array->End(), array->End() + 1);
    *place = added;
    ++array->count;
}

void Attributes::Fill(NodeStore& store, Attribute* first, std::size_t count)
{
    Sort(first, first + count);
    const auto left = static_cast<std::size_t>(DropRepeated(store, first, first + count) - first);
    if (left > mostInArray)
        MakeTree(store, first, left);
    else
        MakeArray(store, first, left, static_cast<std::uint32_t>(left));
}

void Attributes::MakeArray(
    NodeStore& store, const Attribute* first, std::size_t count, std::uint32_t capacity)
{
    const std::size_t bytes = sizeof(Array) + capacity * sizeof(Attribute);
    auto* const array = ::new (store.records.Take(bytes)) Array{static_cast<std::uint32_t>(count), capacity};
    std::copy(first, first + count, array->Begin());
    FreeArray(store);
    bits = reinterpret_cast<std::uintptr_t>(array);
}

void Attributes::MakeTree(NodeStore& store, const Attribute* first, std::size_t count)
{
    auto tree = std::make_unique<Tree>();
    for (const Attribute* member = first; member != first + count; ++member)
        tree->members.emplace_hint(tree->members.end(), member->name->View(), *member);
    FreeArray(store);
    PutFirst(store.attributeTrees, *tree);
    bits = reinterpret_cast<std::uintptr_t>(tree.release()) | treeBit;
}

bool Attributes::Remove(NodeStore& store, std::u16string_view name) noexcept
{
    Attribute* const member = FindMember(name);
    if (member == nullptr)
        return false;
    const Attribute removed = *member; // `name` may be its own
    if (Tree* const tree = GetTree()) {
        tree->members.erase(removed.name->View());
    } else {
        Array* const array = GetArray();
        std::move(member + 1, array->End(), member);
        --array->count;
    }
    FreeMember(store, removed);
    return true;
}

void Attributes::Free(NodeStore& store) noexcept
{
    ForEach([&store](const Attribute& member) { FreeMember(store, member); });
    if (Tree* const tree = GetTree()) {
        TakeOut(*tree);
        delete tree;
    }
    FreeArray(store);
    bits = 0;
}

void Attributes::FreeArray(NodeStore& store) noexcept
{
    if (Array* const array = GetArray())
        store.records.GiveBack(array, sizeof(Array) + array->capacity * sizeof(Attribute));
}

} // namespace Xml
