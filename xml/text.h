// Text: the value of a leaf or an attribute, in one pointer.
//
// What the reader makes lies packed in the document's memory, just as long as it is, in one byte for each
// character where they all fit. What clients set, and what is very long, is a string that is shared with
// them. NodeStore makes and frees both.
#pragma once

#include <tessel/base/string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Xml {

// A string from a view that holds no zero; throws std::bad_alloc where it does not fit.
WideString MakeString(std::u16string_view view);

class Text {
public:
    // The characters follow, without a terminator.
    struct Packed {
        static constexpr std::size_t longest = 0x7FFF;

        std::uint16_t length : 15;
        std::uint16_t isNarrow : 1; // bytes, from U+0000 to U+00FF

        void* Characters() noexcept { return this + 1; }
        const void* Characters() const noexcept { return this + 1; }
    };
    static_assert(sizeof(Packed) == 2);
    // A member of the list of all strings of a store.
    struct Owned {
        WideString string;
        std::size_t length;
        Owned* next;
        Owned** link; // what points at this one
    };

    Text() noexcept = default; // the empty text
    explicit Text(const Packed* packed) noexcept : bits(reinterpret_cast<std::uintptr_t>(packed)) { }
    explicit Text(const Owned* owned) noexcept : bits(reinterpret_cast<std::uintptr_t>(owned) | ownedBit) { }

    // Throws std::bad_alloc.
    WideString Get() const;
    // Calls with all the characters in order, as one or more std::u16string_view.
    template <class Callable>
    void ForEachPiece(Callable&& called) const;

    // Null for any other kind.
    Owned* GetOwned() const noexcept
    {
        return (bits & ownedBit) != 0 ? reinterpret_cast<Owned*>(bits & ~ownedBit) : nullptr;
    }

    // Zeroes the characters, if this is a packed text, of which nobody else knows.
    void WipePacked() noexcept;

    // The packed form of a text that is not empty, in at most 2 bytes for each
    // character and 2; returns its size, which is even.
    static std::size_t Pack(std::u16string_view view, void* place) noexcept;

private:
    static constexpr std::uintptr_t ownedBit = 1;

    const Packed* GetPacked() const noexcept { return reinterpret_cast<const Packed*>(bits); }
    static void Widen(const std::uint8_t* narrow, std::size_t length, char16_t* wide) noexcept;

    std::uintptr_t bits = 0;
};
static_assert(sizeof(Text) == 8);

template <class Callable>
void Text::ForEachPiece(Callable&& called) const
{
    if (bits == 0)
        return;
    if (const Owned* const owned = GetOwned())
        return called(std::u16string_view(owned->string.c_str(), owned->length));
    const Packed& packed = *GetPacked();
    if (!packed.isNarrow)
        return called(std::u16string_view(static_cast<const char16_t*>(packed.Characters()), packed.length));
    constexpr std::size_t pieceUnits = 256;
    char16_t piece[pieceUnits];
    const auto* at = static_cast<const std::uint8_t*>(packed.Characters());
    for (std::size_t left = packed.length; left != 0;) {
        const std::size_t length = std::min(left, pieceUnits);
        Widen(at, length, piece);
        called(std::u16string_view(piece, length));
        at += length;
        left -= length;
    }
}

} // namespace Xml
