// One character at a time: what UTF-8 and UTF-16 are, and where a character that is none of both ends.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform::Utf {

constexpr std::uint32_t replacementCharacter = 0xFFFD;

struct Character {
    std::uint32_t code;
    unsigned length; // units that it takes in the source
    bool valid; // else the code is the replacement character
};

constexpr bool IsHighSurrogate(std::uint32_t unit) noexcept
{
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(std::uint32_t unit) noexcept
{
    return (unit & 0xFC00) == 0xDC00;
}
constexpr bool IsContinuation(unsigned char byte) noexcept
{
    return (byte & 0xC0) == 0x80;
}

// The character that begins at `source`, of which `bytes` (at least 1) may be read. Invalid bytes are
// taken together as long as they are the beginning of a character that exists (Unicode, section 3.9).
constexpr Character Decode(const unsigned char* source, std::size_t bytes) noexcept
{
    const unsigned char lead = source[0];
    if (lead < 0x80)
        return {lead, 1, true};
    if (lead < 0xC2 || lead > 0xF4)
        return {replacementCharacter, 1, false};
    const unsigned length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte is where overlong forms, surrogates and codes above 10FFFF show themselves.
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (bytes < 2 || source[1] < lowest || source[1] > highest)
        return {replacementCharacter, 1, false};
    std::uint32_t code = (lead & (0x7FU >> length)) << 6 | (source[1] & 0x3FU);
    for (unsigned i = 2; i < length; ++i) {
        if (i >= bytes || !IsContinuation(source[i]))
            return {replacementCharacter, i, false};
        code = code << 6 | (source[i] & 0x3FU);
    }
    return {code, length, true};
}

constexpr Character Decode(const char16_t* source, std::size_t chars) noexcept
{
    const std::uint32_t unit = source[0];
    if ((unit & 0xF800) != 0xD800)
        return {unit, 1, true};
    if (IsHighSurrogate(unit) && chars > 1 && IsLowSurrogate(source[1]))
        return {0x10000 + ((unit & 0x3FF) << 10) + (source[1] & 0x3FFU), 2, true};
    return {replacementCharacter, 1, false};
}

constexpr unsigned Utf16Units(std::uint32_t code) noexcept
{
    return code < 0x10000 ? 1 : 2;
}
constexpr unsigned Utf8Units(std::uint32_t code) noexcept
{
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

constexpr void Encode(std::uint32_t code, char16_t* target) noexcept
{
    if (code < 0x10000) {
        target[0] = static_cast<char16_t>(code);
    } else {
        target[0] = static_cast<char16_t>(0xD7C0 + (code >> 10));
        target[1] = static_cast<char16_t>(0xDC00 | (code & 0x3FF));
    }
}

constexpr void Encode(std::uint32_t code, char* target) noexcept
{
    const auto continuation = [code](unsigned shift) {
        return static_cast<char>(0x80 | ((code >> shift) & 0x3F));
    };
    if (code < 0x80) {
        target[0] = static_cast<char>(code);
    } else if (code < 0x800) {
        target[0] = static_cast<char>(0xC0 | (code >> 6));
        target[1] = continuation(0);
    } else if (code < 0x10000) {
        target[0] = static_cast<char>(0xE0 | (code >> 12));
        target[1] = continuation(6);
        target[2] = continuation(0);
    } else {
        target[0] = static_cast<char>(0xF0 | (code >> 18));
        target[1] = continuation(12);
        target[2] = continuation(6);
        target[3] = continuation(0);
    }
}

} // namespace Platform::Utf
