#include "platform/linux/files/name_mapping.h"

#include <cstdint>
#include <cstring>
#include <iterator>

namespace Platform {

namespace {

// The char that stands for a byte which cannot stand in a path text as itself.
constexpr char16_t mappedBase = 0xF000;
constexpr bool IsMapped(std::uint32_t scalar)
{
    return (scalar & ~0xFFU) == mappedBase;
}

// The slash is not among them: it never stands in a name on disk.
constexpr bool IsIllegal(char16_t unit)
{
    switch (unit) {
    case u'<':
    case u'>':
    case u':':
    case u'"':
    case u'|':
    case u'?':
    case u'*':
    case u'\\':
        return true;
    default:
        return false;
    }
}

struct Scalar {
    std::uint32_t value;
    std::size_t length; // in units of the source; 0 if the source starts with no character
};

// The character that the bytes start with, by the strict rules: shortest form, no surrogates.
Scalar FirstOfUtf8(const unsigned char* bytes, std::size_t count) noexcept
{
    if (bytes[0] < 0x80)
        return {bytes[0], 1};
    const std::size_t length = bytes[0] >= 0xF0 ? 4 : bytes[0] >= 0xE0 ? 3 : 2;
    constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (bytes[0] < 0xC2 || bytes[0] > 0xF4 || length > count)
        return {0, 0};
    std::uint32_t value = bytes[0] & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80)
            return {0, 0};
        value = value << 6 | (bytes[i] & 0x3FU);
    }
    if (value < least[length] || value > 0x10FFFF || (value & 0xFFFFF800U) == 0xD800)
        return {0, 0};
    return {value, length};
}

Scalar FirstOfUtf16(const char16_t* units, std::size_t count) noexcept
{
    if ((units[0] & 0xF800) != 0xD800)
        return {units[0], 1};
    if (units[0] >= 0xDC00 || count < 2 || (units[1] & 0xFC00) != 0xDC00)
        return {0, 0};
    return {0x10000U + ((units[0] & 0x3FFU) << 10 | (units[1] & 0x3FFU)), 2};
}

std::size_t AppendUtf8(std::uint32_t scalar, char* target) noexcept
{
    if (scalar < 0x80) {
        target[0] = static_cast<char>(scalar);
        return 1;
    }
    const std::size_t length = scalar < 0x800 ? 2 : scalar < 0x10000 ? 3 : 4;
    for (std::size_t i = length - 1; i > 0; --i, scalar >>= 6)
        target[i] = static_cast<char>(0x80 | (scalar & 0x3F));
    target[0] = static_cast<char>((0xF00U >> length & 0xFF) | scalar);
    return length;
}

std::size_t AppendUtf16(std::uint32_t scalar, char16_t* target) noexcept
{
    if (scalar < 0x10000) {
        target[0] = static_cast<char16_t>(scalar);
        return 1;
    }
    target[0] = static_cast<char16_t>(0xD7C0 + (scalar >> 10));
    target[1] = static_cast<char16_t>(0xDC00 | (scalar & 0x3FF));
    return 2;
}

// Whether the mapping of the bytes gives this very text.
bool MapsTo(const char* name, std::size_t bytes, const char16_t* text, std::size_t chars) noexcept
{
    char16_t mapped[256];
    return bytes <= std::size(mapped) && NameToText(name, bytes, mapped) == chars
        && std::memcmp(mapped, text, chars * sizeof *text) == 0;
}

} // namespace

std::size_t NameToText(const char* name, std::size_t bytes, char16_t* target) noexcept
{
    const auto* const source = reinterpret_cast<const unsigned char*>(name);
    std::size_t written = 0;
    for (std::size_t read = 0; read < bytes;) {
        const Scalar first = FirstOfUtf8(source + read, bytes - read);
        if (first.length != 0 && !IsMapped(first.value) && !(first.value < 0x80 && IsIllegal(source[read]))) {
            written += AppendUtf16(first.value, target + written);
            read += first.length;
            continue;
        }
        // A mapped char of the disk's own goes byte by byte, like what is no character at all.
        for (std::size_t end = read + (first.length != 0 ? first.length : 1); read < end; ++read)
            target[written++] = static_cast<char16_t>(mappedBase | source[read]);
    }
    return written;
}

std::size_t NameToDisk(const char16_t* text, std::size_t chars, char* target) noexcept
{
    std::size_t written = 0;
    bool mapped = false;
    for (std::size_t read = 0; read < chars;) {
        const Scalar first = FirstOfUtf16(text + read, chars - read);
        if (first.length == 0 || first.value == 0 || first.value == u'/'
            || (first.value < 0x80 && IsIllegal(text[read])))
            return 0;
        read += first.length;
        if (IsMapped(first.value)) {
            mapped = true;
            target[written++] = static_cast<char>(first.value & 0xFF);
        } else {
            written += AppendUtf8(first.value, target + written);
        }
    }
    // Two texts for one name would let a text look harmless and mean "..", or hide a separator.
    return mapped && !MapsTo(target, written, text, chars) ? 0 : written;
}

} // namespace Platform
