#include "xml/text.h"

#include "base/zeroing.h"
#include "xml/block.h"

#include <cstring>
#include <new>

namespace Xml {

namespace {

// False if a character needs more than a byte; then what was written is of no use. In a text of many such
// characters one of them is mostly the first or the last.
bool Narrow(std::u16string_view view, std::uint8_t* narrow) noexcept
{
    if (view.front() > 0xFF || view.back() > 0xFF)
        return false;
    std::size_t i = 0;
    Block seen{};
    for (; i + blockUnits <= view.size(); i += blockUnits) {
        const Block block = LoadBlock(view.data() + i);
        seen |= block;
        StoreBlock(narrow + i, __builtin_convertvector(block, NarrowBlock));
    }
    std::uint16_t rest = 0;
    for (; i < view.size(); ++i) {
        rest |= view[i];
        narrow[i] = static_cast<std::uint8_t>(view[i]);
    }
    constexpr std::uint16_t beyond = 0xFF00;
    return (rest & beyond) == 0 && !IsAnySet(seen & Fill(beyond));
}

} // namespace

WideString MakeString(std::u16string_view view)
{
    WideString string(view.data(), view.data() + view.size());
    if (string.IsEmpty() && !view.empty())
        throw std::bad_alloc();
    return string;
}

std::size_t Text::Pack(std::u16string_view view, void* place) noexcept
{
    auto& packed = *::new (place) Packed{static_cast<std::uint16_t>(view.size()), 1};
    if (Narrow(view, static_cast<std::uint8_t*>(packed.Characters())))
        return sizeof(Packed) + (view.size() + 1) / 2 * 2;
    packed.isNarrow = 0;
    std::memcpy(packed.Characters(), view.data(), view.size() * sizeof(char16_t));
    return sizeof(Packed) + view.size() * sizeof(char16_t);
}

void Text::WipePacked() noexcept
{
    if (Packed* const packed = GetOwned() == nullptr ? reinterpret_cast<Packed*>(bits) : nullptr)
        ZeroForever(packed->Characters(), packed->length * std::size_t{packed->isNarrow != 0 ? 1U : 2U});
}

void Text::Widen(const std::uint8_t* narrow, std::size_t length, char16_t* wide) noexcept
{
    std::size_t i = 0;
    for (; i + blockUnits <= length; i += blockUnits)
        StoreBlock(wide + i, __builtin_convertvector(LoadBlock<NarrowBlock>(narrow + i), Block));
    for (; i < length; ++i)
        wide[i] = narrow[i];
}

WideString Text::Get() const
{
    if (bits == 0)
        return {};
    if (const Owned* const owned = GetOwned())
        return owned->string;
    const Packed& packed = *GetPacked();
    if (!packed.isNarrow)
        return MakeString({static_cast<const char16_t*>(packed.Characters()), packed.length});
    WideString string;
    char16_t* const target = string.CtorPrepareWriting((packed.length + 1U) * sizeof(char16_t));
    if (target == nullptr)
        throw std::bad_alloc();
    Widen(static_cast<const std::uint8_t*>(packed.Characters()), packed.length, target);
    target[packed.length] = 0;
    return string;
}

} // namespace Xml
