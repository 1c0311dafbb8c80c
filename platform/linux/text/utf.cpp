// Conversion between UTF-8 and UTF-16: runs of many characters at a time, and between them, where text is
// invalid or an end is near, single characters.
#include "platform/linux/text/utf.h"

#include "platform/linux/text/utf_scalar.h"
#include "platform/linux/text/utf_vector.h"
#include "platform/text.h"

#include <cstring>

namespace Platform {

namespace Utf {

namespace {

using Byte = unsigned char;

constexpr unsigned UnitsOf(std::uint32_t code, char16_t) noexcept
{
    return Utf16Units(code);
}
constexpr unsigned UnitsOf(std::uint32_t code, char) noexcept
{
    return Utf8Units(code);
}

// ---- Targets: one that is written, one that is only measured.

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

    // Takes a run of the source, and gives what is left of it.
    const Byte* Run(const Byte* source, const Byte* sourceEnd) noexcept
    {
        return Taken(Vector::ToUtf16(source, sourceEnd, next, end));
    }
    const char16_t* Run(const char16_t* source, const char16_t* sourceEnd) noexcept
    {
        return Taken(Vector::ToUtf8(source, sourceEnd, next, end));
    }

private:
    template <class From>
    const From* Taken(Vector::Run<From, Unit> run) noexcept
    {
        next = run.target;
        return run.source;
    }

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

    const Byte* Run(const Byte* source, const Byte* sourceEnd) noexcept
    {
        return Taken(Vector::MeasureUtf16(source, sourceEnd));
    }
    const char16_t* Run(const char16_t* source, const char16_t* sourceEnd) noexcept
    {
        return Taken(Vector::MeasureUtf8(source, sourceEnd));
    }

private:
    template <class From>
    const From* Taken(Vector::Count<From> count) noexcept
    {
        units += count.units;
        return count.source;
    }

    std::size_t units = 0;
};

// From the first place on at which a run stopped.
template <class Unit, class Target>
[[gnu::noinline]] Conversion ConvertSingly(
    const Unit* const start, const Unit* source, const Unit* end, Target target, Road road) noexcept
{
    constexpr std::ptrdiff_t stretch = 64; // until a run is tried again
    bool replaced = false;
    while (source != end) {
        const Unit* const pause = end - source > stretch ? source + stretch : end;
        while (source < pause) {
            const Character character = Decode(source, static_cast<std::size_t>(end - source));
            if (!target.Put(character.code))
                return {static_cast<std::size_t>(source - start), target.Written(), replaced};
            source += character.length;
            replaced |= !character.valid;
        }
        if (road == Road::Fastest)
            source = target.Run(source, end);
    }
    return {static_cast<std::size_t>(source - start), target.Written(), replaced};
}

template <class Unit, class Target>
Conversion Convert(const Unit* source, std::size_t units, Target target, Road road) noexcept
{
    const Unit* const end = source + units;
    const Unit* const rest = road == Road::Fastest ? target.Run(source, end) : source;
    return rest == end ? Conversion{units, target.Written(), false}
                       : ConvertSingly(source, rest, end, target, road);
}

const Byte* Bytes(const char* source) noexcept
{
    return reinterpret_cast<const Byte*>(source);
}

} // namespace

Conversion ToUtf16(
    const char* source, std::size_t bytes, char16_t* target, std::size_t capacity, Road road) noexcept
{
    return Convert(Bytes(source), bytes, Writer<char16_t>(target, capacity), road);
}

Conversion ToUtf8(
    const char16_t* source, std::size_t chars, char* target, std::size_t capacity, Road road) noexcept
{
    return Convert(source, chars, Writer<char>(target, capacity), road);
}

Conversion MeasureUtf16(const char* source, std::size_t bytes, Road road) noexcept
{
    return Convert(Bytes(source), bytes, Counter<char16_t>{}, road);
}

Conversion MeasureUtf8(const char16_t* source, std::size_t chars, Road road) noexcept
{
    return Convert(source, chars, Counter<char>{}, road);
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

UtfProgress ConvertUtf(
    const char* source, std::size_t bytes, char16_t* target, std::size_t targetChars) noexcept
{
    const Utf::Conversion done = Utf::ToUtf16(source, bytes, target, targetChars);
    return {done.read, done.written};
}

UtfProgress ConvertUtf(
    const char16_t* source, std::size_t chars, char* target, std::size_t targetBytes) noexcept
{
    const Utf::Conversion done = Utf::ToUtf8(source, chars, target, targetBytes);
    return {done.read, done.written};
}

std::size_t _mbslen(const char* text) noexcept
{
    return Utf8ToUtf16Length(text, std::strlen(text));
}

} // namespace Platform
