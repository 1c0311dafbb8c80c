// Conversion between UTF-8 and UTF-16.
#include "platform/linux/text/utf.h"

#include "platform/linux/text/utf_scalar.h"
#include "platform/text.h"

#include <cstring>

namespace Platform {

namespace Utf {

namespace {

constexpr unsigned UnitsOf(std::uint32_t code, char16_t) noexcept
{
    return Utf16Units(code);
}
constexpr unsigned UnitsOf(std::uint32_t code, char) noexcept
{
    return Utf8Units(code);
}

template <class Unit>
class Writer {
public:
    Writer(Unit* target, std::size_t capacity) noexcept : start(target), next(target), end(target + capacity)
    {
    }
    bool Put(std::uint32_t code) noexcept
    {
        const unsigned units = UnitsOf(code, Unit{});
        if (static_cast<std::size_t>(end - next) < units)
            return false;
        Encode(code, next);
        next += units;
        return true;
    }
    std::size_t Written() const noexcept { return static_cast<std::size_t>(next - start); }

private:
    Unit* start;
    Unit* next;
    Unit* end;
};

template <class Unit>
class Counter {
public:
    bool Put(std::uint32_t code) noexcept
    {
        units += UnitsOf(code, Unit{});
        return true;
    }
    std::size_t Written() const noexcept { return units; }

private:
    std::size_t units = 0;
};

template <class Unit, class Target>
Conversion Convert(const Unit* source, std::size_t units, Target target) noexcept
{
    std::size_t read = 0;
    bool replaced = false;
    while (read < units) {
        const Character character = Decode(source + read, units - read);
        if (!target.Put(character.code))
            break;
        read += character.length;
        replaced |= !character.valid;
    }
    return {read, target.Written(), replaced};
}

const unsigned char* Bytes(const char* source) noexcept
{
    return reinterpret_cast<const unsigned char*>(source);
}

} // namespace

Conversion ToUtf16(const char* source, std::size_t bytes, char16_t* target, std::size_t capacity) noexcept
{
    return Convert(Bytes(source), bytes, Writer<char16_t>(target, capacity));
}

Conversion ToUtf8(const char16_t* source, std::size_t chars, char* target, std::size_t capacity) noexcept
{
    return Convert(source, chars, Writer<char>(target, capacity));
}

Conversion MeasureUtf16(const char* source, std::size_t bytes) noexcept
{
    return Convert(Bytes(source), bytes, Counter<char16_t>{});
}

Conversion MeasureUtf8(const char16_t* source, std::size_t chars) noexcept
{
    return Convert(source, chars, Counter<char>{});
}

} // namespace Utf

std::size_t Utf8ToUtf16Length(const char* source, std::size_t bytes) noexcept
{
    return Utf::MeasureUtf16(source, bytes).written;
}

std::size_t Utf16ToUtf8Length(const char16_t* source, std::size_t chars) noexcept
{
    return Utf::MeasureUtf8(source, chars).written;
}

std::size_t Utf8ToUtf16(
    const char* source, std::size_t bytes, char16_t* target, std::size_t targetChars) noexcept
{
    return Utf::ToUtf16(source, bytes, target, targetChars).written;
}

std::size_t Utf16ToUtf8(
    const char16_t* source, std::size_t chars, char* target, std::size_t targetBytes) noexcept
{
    return Utf::ToUtf8(source, chars, target, targetBytes).written;
}

std::size_t _mbslen(const char* text) noexcept
{
    return Utf8ToUtf16Length(text, std::strlen(text));
}

} // namespace Platform
