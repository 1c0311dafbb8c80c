// The conversions by code page: checks what the caller gave, finds the kind of page, and says what
// went wrong in the system's numbers.
#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/text/code_page.h"
#include "platform/linux/text/utf.h"
#include "platform/text.h"

#include <climits>
#include <cstring>

namespace Platform {

namespace {

using CodePages::Bytes;
using CodePages::Chars;
using CodePages::Conversion;
using CodePages::Outcome;
using CodePages::Target;

bool IsUtf8(std::uint32_t codePage) noexcept
{
    return codePage == CP_ACP || codePage == CP_UTF8;
}

Utf::Conversion Measure(Bytes source) noexcept
{
    return Utf::MeasureUtf16(source.start, source.count);
}
Utf::Conversion Measure(Chars source) noexcept
{
    return Utf::MeasureUtf8(source.start, source.count);
}
Utf::Conversion Write(Bytes source, Target<char16_t> target) noexcept
{
    return Utf::ToUtf16(source.start, source.count, target.start, target.capacity);
}
Utf::Conversion Write(Chars source, Target<char> target) noexcept
{
    return Utf::ToUtf8(source.start, source.count, target.start, target.capacity);
}

template <class Source, class Unit>
Conversion ConvertUtf(Source source, Target<Unit> target) noexcept
{
    const Utf::Conversion done = target.start != nullptr ? Write(source, target) : Measure(source);
    if (done.replaced && target.strict)
        return {Outcome::Untranslatable, 0};
    return {done.read < source.count ? Outcome::TooSmall : Outcome::Done, done.written};
}

Conversion Convert(std::uint32_t codePage, Bytes source, Target<char16_t> target) noexcept
{
    if (IsUtf8(codePage))
        return ConvertUtf(source, target);
    return CodePages::IsSingleBytePage(codePage) ? CodePages::FromSingleBytePage(codePage, source, target)
                                                 : CodePages::FromLibraryPage(codePage, source, target);
}

Conversion Convert(std::uint32_t codePage, Chars source, Target<char> target) noexcept
{
    if (IsUtf8(codePage))
        return ConvertUtf(source, target);
    return CodePages::IsSingleBytePage(codePage) ? CodePages::ToSingleBytePage(codePage, source, target)
                                                 : CodePages::ToLibraryPage(codePage, source, target);
}

std::size_t Length(const char* text) noexcept
{
    return std::strlen(text);
}
std::size_t Length(const char16_t* text) noexcept
{
    return wcslen(text);
}

std::uint32_t ErrorOf(Outcome outcome) noexcept
{
    switch (outcome) {
    case Outcome::Untranslatable:
        return ERROR_NO_UNICODE_TRANSLATION;
    case Outcome::TooSmall:
        return ERROR_INSUFFICIENT_BUFFER;
    case Outcome::NoMemory:
        return ERROR_NOT_ENOUGH_MEMORY;
    case Outcome::Done:
    case Outcome::Unknown:
        break;
    }
    return ERROR_INVALID_PARAMETER;
}

int FailWith(std::uint32_t code) noexcept
{
    Fail(code);
    return 0;
}

// A terminated text. The converters of the C library need not know the terminator (that of UTF-7 takes it for
// a wrong byte), and a page with shift states goes back to the first one in front of it: so it is added here.
template <class Source, class From, class Unit>
Conversion ConvertTerminated(std::uint32_t codePage, const From* source, Target<Unit> target) noexcept
{
    const std::size_t units = Length(source);
    if (IsUtf8(codePage) || CodePages::IsSingleBytePage(codePage))
        return Convert(codePage, Source{source, units + 1}, target);
    if (target.start != nullptr)
        --target.capacity; // there is room for something, or it would be a measurement
    Conversion done = Convert(codePage, Source{source, units}, target);
    if (done.outcome == Outcome::Done && target.start != nullptr)
        target.start[done.written] = 0;
    ++done.written;
    return done;
}

template <class Source, class From, class To>
int ConvertChecked(std::uint32_t codePage, std::uint32_t flags, std::uint32_t strictFlag, const From* source,
    int sourceUnits, To* target, int targetUnits) noexcept
{
    if ((flags & ~strictFlag) != 0)
        return FailWith(ERROR_INVALID_FLAGS);
    if (source == nullptr || sourceUnits == 0 || targetUnits < 0 || (target == nullptr && targetUnits > 0))
        return FailWith(ERROR_INVALID_PARAMETER);
    const Target<To> room{
        targetUnits == 0 ? nullptr : target, static_cast<std::size_t>(targetUnits), flags != 0};
    const Conversion done = sourceUnits < 0
        ? ConvertTerminated<Source>(codePage, source, room)
        : Convert(codePage, Source{source, static_cast<std::size_t>(sourceUnits)}, room);
    if (done.outcome != Outcome::Done)
        return FailWith(ErrorOf(done.outcome));
    return done.written > INT_MAX ? FailWith(ERROR_INVALID_PARAMETER) : static_cast<int>(done.written);
}

} // namespace

bool IsValidCodePage(std::uint32_t codePage) noexcept
{
    return IsUtf8(codePage) || CodePages::IsSingleBytePage(codePage) || CodePages::IsLibraryPage(codePage);
}

int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t flags, const char* source, int sourceBytes,
    char16_t* target, int targetChars) noexcept
{
    return ConvertChecked<Bytes>(
        codePage, flags, MB_ERR_INVALID_CHARS, source, sourceBytes, target, targetChars);
}

int WideCharToMultiByte(std::uint32_t codePage, std::uint32_t flags, const char16_t* source, int sourceChars,
    char* target, int targetBytes) noexcept
{
    return ConvertChecked<Chars>(
        codePage, flags, WC_ERR_INVALID_CHARS, source, sourceChars, target, targetBytes);
}

} // namespace Platform
