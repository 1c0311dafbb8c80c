// Text: the value of a leaf or an attribute, in one pointer.
//
// What the reader makes lies packed in the document's memory, just as long as it is. What clients set, and
// what is very long, is a string that is shared with them. NodeStore makes and frees both.
#pragma once

#include <tessel/base/string.h>

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
        std::uint32_t length;
    };
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

    std::u16string_view View() const noexcept
    {
        if (bits == 0)
            return {};
        if (const Owned* const owned = GetOwned())
            return {owned->string.c_str(), owned->length};
        const auto* const packed = reinterpret_cast<const Packed*>(bits);
        return {reinterpret_cast<const char16_t*>(packed + 1), packed->length};
    }
    // Throws std::bad_alloc.
    WideString Get() const
    {
        const Owned* const owned = GetOwned();
        return owned != nullptr ? owned->string : MakeString(View());
    }
    // Null for any other kind.
    Owned* GetOwned() const noexcept
    {
        return (bits & ownedBit) != 0 ? reinterpret_cast<Owned*>(bits & ~ownedBit) : nullptr;
    }

private:
    static constexpr std::uintptr_t ownedBit = 1;

    std::uintptr_t bits = 0;
};
static_assert(sizeof(Text) == 8);

} // namespace Xml
