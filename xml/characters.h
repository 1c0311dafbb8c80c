// The classes of characters that the reader and the writer know, over single UTF-16 code units. Surrogates
// are in none of them, so no name has a character beyond U+FFFF.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Xml {

namespace CharacterClass {
constexpr std::uint8_t nameStart = 1;
constexpr std::uint8_t name = 2;
constexpr std::uint8_t blank = 4;

consteval std::array<std::uint8_t, 128> OfAscii()
{
    std::array<std::uint8_t, 128> classes{};
    for (char16_t c = 0; c < 128; ++c) {
        if ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c == u':')
            classes[c] = nameStart | name;
        if ((c >= u'0' && c <= u'9') || c == u'-' || c == u'.')
            classes[c] = name;
        if (c == u' ' || c == u'\n' || c == u'\r' || c == u'\t')
            classes[c] = blank;
    }
    return classes;
}
inline constexpr std::array<std::uint8_t, 128> ofAscii = OfAscii();

bool IsWideNameStart(char16_t c) noexcept;
bool IsWideName(char16_t c) noexcept;
} // namespace CharacterClass

inline bool IsNameStart(char16_t c) noexcept
{
    return c < 128 ? (CharacterClass::ofAscii[c] & CharacterClass::nameStart) != 0
                   : CharacterClass::IsWideNameStart(c);
}
inline bool IsNameCharacter(char16_t c) noexcept
{
    return c < 128 ? (CharacterClass::ofAscii[c] & CharacterClass::name) != 0 : CharacterClass::IsWideName(c);
}
inline bool IsBlank(char16_t c) noexcept
{
    return c < 128 && (CharacterClass::ofAscii[c] & CharacterClass::blank) != 0;
}
inline bool IsQuote(char16_t c) noexcept
{
    return c == u'"' || c == u'\'';
}

bool IsValidName(std::u16string_view text) noexcept;

} // namespace Xml
