// Text as the platform handles it: conversions between wide text and bytes, comparison, and the two ways
// of formatting. Nothing here reads or changes the locale of the process.
//
// Wide text is UTF-16 in char16_t at even addresses; narrow text is UTF-8 (that is code page 0 here)
// unless a code page says otherwise. "Chars" are code units, and a text is terminated unless a length
// stands beside it. All of it may be called from any thread.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace Platform {

// ---- Wide text

std::size_t wcslen(const char16_t* text) noexcept;
// Less than 0, 0 or greater than 0 as the first differing code unit of `left` is below or above that of
// `right`.
int wcscmp(const char16_t* left, const char16_t* right) noexcept;
// The first `sought` in the text, null if there is none; a sought 0 finds the terminator.
const char16_t* wcschr(const char16_t* text, char16_t sought) noexcept;
// The first place where `sought` stands in the text, null if nowhere; the empty text stands at the start.
const char16_t* wcsstr(const char16_t* text, const char16_t* sought) noexcept;

// Case is a fixed table of the one-to-one pairs of the basic plane, the same on every machine: letters
// that only lower to another pair's letter (the Kelvin sign, the dotted I) stay what they are, so that
// nothing outside ASCII ever equals an ASCII letter.
char16_t ToLower(char16_t unit) noexcept;
// wcscmp of the texts in lower case.
int _wcsicmp(const char16_t* left, const char16_t* right) noexcept;
// Changes the text in place and returns it.
char16_t* _wcslwr(char16_t* text) noexcept;

// The chars that a narrow text becomes when it is converted from code page 0, terminator not counted.
std::size_t _mbslen(const char* text) noexcept;

// ---- UTF-8 and UTF-16, of any size

// Bytes that are no UTF-8 become U+FFFD, one for each longest run that begins a valid sequence (or one
// byte); surrogates without their partner become EF BF BD. The length functions give what the
// conversions write: at most one char a byte, at most three bytes a char. Null is allowed where the
// length is 0.
std::size_t Utf8ToUtf16Length(const char* source, std::size_t bytes) noexcept;
std::size_t Utf16ToUtf8Length(const char16_t* source, std::size_t chars) noexcept;
inline std::size_t UtfLength(const char* source, std::size_t bytes) noexcept
{
    return Utf8ToUtf16Length(source, bytes);
}
inline std::size_t UtfLength(const char16_t* source, std::size_t chars) noexcept
{
    return Utf16ToUtf8Length(source, chars);
}

// Converts and returns what was written, no terminator. What does not fit is left out, the conversion
// ends before it: a character is never cut in half. The rest of the room may be overwritten.
std::size_t Utf8ToUtf16(
    const char* source, std::size_t bytes, char16_t* target, std::size_t targetChars) noexcept;
std::size_t Utf16ToUtf8(
    const char16_t* source, std::size_t chars, char* target, std::size_t targetBytes) noexcept;

// The same, telling also how much of the source was taken: the conversion can go on from there.
struct UtfProgress {
    std::size_t read;
    std::size_t written;
};
UtfProgress ConvertUtf(
    const char* source, std::size_t bytes, char16_t* target, std::size_t targetChars) noexcept;
UtfProgress ConvertUtf(
    const char16_t* source, std::size_t chars, char* target, std::size_t targetBytes) noexcept;

// Converts a whole text into room of exactly its length, faster than measuring it first. `makeRoom` is
// called as makeRoom(units, kept): it returns room for so many units, no terminator counted, the first
// `kept` of which hold what was written to the room that it gave before; or null, which ends the
// conversion. The last of at most two calls is for the length of the whole text, which is returned.
template <class To, class From, class MakeRoom>
std::size_t ConvertUtfWhole(const From* source, std::size_t units, MakeRoom makeRoom);

// ---- Code pages

constexpr std::uint32_t CP_ACP = 0;
constexpr std::uint32_t CP_UTF8 = 65001;
constexpr std::uint32_t MB_ERR_INVALID_CHARS = 0x08;
constexpr std::uint32_t WC_ERR_INVALID_CHARS = 0x80;

// Whether the two conversions below know the code page: 0 and 65001 (both UTF-8), 1250 to 1258, and what
// the C library converts. 1200 is no code page of bytes and is refused.
bool IsValidCodePage(std::uint32_t codePage) noexcept;

// Converts bytes, and returns the chars written; with targetChars 0 the chars that are needed. A negative
// sourceBytes says that the source is terminated; the terminator is then converted and counted too.
// What the code page does not define becomes U+FFFD, or fails with the flag MB_ERR_INVALID_CHARS.
// On failure 0, with ERROR_INSUFFICIENT_BUFFER (the target's content is then undefined),
// ERROR_NO_UNICODE_TRANSLATION, ERROR_INVALID_FLAGS, ERROR_NOT_ENOUGH_MEMORY, or ERROR_INVALID_PARAMETER
// for an unknown code page, a missing or empty source, or a result of more than 2^31-1.
int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t flags, const char* source, int sourceBytes,
    char16_t* target, int targetChars) noexcept;

// The same the other way. What the code page lacks becomes '?' (in UTF-8, half a surrogate pair becomes
// U+FFFD), or fails with the flag WC_ERR_INVALID_CHARS.
int WideCharToMultiByte(std::uint32_t codePage, std::uint32_t flags, const char16_t* source, int sourceChars,
    char* target, int targetBytes) noexcept;

// ---- Formatting in the dialect of printf

// Formats at most capacity - 1 chars and a terminator, and returns the length that the whole text has:
// a result of `capacity` or more says that it was cut. Capacity 0 only measures. A negative result says
// that the format is refused: %n, a conversion that does not exist, a text longer than 2^31-1. The
// buffer then holds the empty text. The caller's list can be used again.
//
// Conversions d i u o x X e E f F g G a A c C s S p Z %, flags - + space 0 #, width, precision and *.
// Sizes: hh, h; none, l, w, I32 are 32 bits; ll, I64, I, j, z, t and p are 64. %s and %c take text of the
// format's own width, %S and %C of the other, h makes them narrow and l or w wide. Text of the other
// width is converted from or to UTF-8. A precision is the number of chars that are read of a text, whole
// characters of them when it is converted. %Z takes a COUNTED_STRING, of wide text with w or l. A flag 0
// pads texts too. A null text is (null). Floating point numbers are exact, with a period and at least two
// digits of exponent; %a has 13 digits unless told otherwise; a long double (L) is rounded to double.
int FormatPrintf(
    char16_t* buffer, std::size_t capacity, const char16_t* format, std::va_list arguments) noexcept;
int FormatPrintf(char* buffer, std::size_t capacity, const char* format, std::va_list arguments) noexcept;

// What %Z prints. `length` and `maximumLength` are in bytes; `buffer` need not be terminated.
struct COUNTED_STRING {
    std::uint16_t length;
    std::uint16_t maximumLength;
    const void* buffer;
};

// ---- Formatting with numbered inserts, and the system's texts

constexpr std::uint32_t FORMAT_MESSAGE_MAX_WIDTH_MASK = 0xFF;
constexpr std::uint32_t FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
constexpr std::uint32_t FORMAT_MESSAGE_FROM_STRING = 0x400;
constexpr std::uint32_t FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

// Formats `source` (FORMAT_MESSAGE_FROM_STRING) or the text of the error `messageId`
// (FORMAT_MESSAGE_FROM_SYSTEM). Returns the length of the text, 0 on failure, with
// ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER for a bad format or flag, or
// ERROR_MR_MID_NOT_FOUND. An empty text also gives 0, and leaves the last error alone.
//
// %1 to %99 are inserts: a text of the format's width, or what printf makes of %1!conversion!, a single
// conversion that takes integers or texts; a * in it takes the argument of that number, and what follows
// the next ones. Inserts are never looked through for inserts. %0 ends the text, %n is a line break
// (CR LF), %r CR, %t a tab, %b and "% " a space; any other character after % is itself. With
// FORMAT_MESSAGE_IGNORE_INSERTS none of this is done, and with FORMAT_MESSAGE_MAX_WIDTH_MASK line breaks
// of the source become spaces. Lines are not broken: other widths are refused.
//
// Each argument is one machine word (an integer or a pointer, never a floating point number). Exactly as
// many as the highest insert needs are read; null stands for no arguments, and the list is left unchanged.
std::uint32_t FormatMessageW(std::uint32_t flags, const char16_t* source, std::uint32_t messageId,
    std::uint32_t languageId, char16_t* buffer, std::uint32_t capacity, std::va_list* arguments) noexcept;
std::uint32_t FormatMessageA(std::uint32_t flags, const char* source, std::uint32_t messageId,
    std::uint32_t languageId, char* buffer, std::uint32_t capacity, std::va_list* arguments) noexcept;

// The same with the result of FormatPrintf: the length of the whole text even when it was cut, so that a
// caller grows once. Negative on failure, with the last error as above.
int FormatMessageText(std::uint32_t flags, const char16_t* source, std::uint32_t messageId, char16_t* buffer,
    std::size_t capacity, std::va_list* arguments) noexcept;
int FormatMessageText(std::uint32_t flags, const char* source, std::uint32_t messageId, char* buffer,
    std::size_t capacity, std::va_list* arguments) noexcept;

// ----

// memcpy that spends no call and no branch on which length of up to 64 bytes it is: four blocks that overlap
// cover each of them.
inline void CopyShort(void* target, const void* source, std::size_t bytes) noexcept
{
    constexpr std::size_t block = 16;
    if (bytes < block || bytes > 4 * block) {
        std::memcpy(target, source, bytes);
        return;
    }
    const std::size_t last = bytes - block;
    const std::size_t second = last < block ? last : block;
    const std::size_t third = last < block ? 0 : last - block;
    auto* const to = static_cast<char*>(target);
    const auto* const from = static_cast<const char*>(source);
    std::memcpy(to, from, block);
    std::memcpy(to + second, from + second, block);
    std::memcpy(to + third, from + third, block);
    std::memcpy(to + last, from + last, block);
}

template <class To, class From, class MakeRoom>
std::size_t ConvertUtfWhole(const From* source, std::size_t units, MakeRoom makeRoom)
{
    constexpr std::size_t shortest = 256;
    constexpr std::size_t toUnits = sizeof(To) == 1 ? 3 : 1; // at most, for each of the source
    if (units <= shortest) {
        To text[shortest * toUnits];
        const std::size_t length = ConvertUtf(source, units, text, std::size(text)).written;
        if (To* const room = makeRoom(length, std::size_t{0}))
            CopyShort(room, text, length * sizeof(To));
        return length;
    }
    // A long text is taken for ASCII until it shows that it is not.
    To* room = makeRoom(units, std::size_t{0});
    if (room == nullptr)
        return 0;
    const UtfProgress done = ConvertUtf(source, units, room, units);
    const From* const rest = source + done.read;
    const std::size_t restUnits = units - done.read;
    const std::size_t restLength = restUnits == 0 ? 0 : UtfLength(rest, restUnits);
    const std::size_t length = done.written + restLength;
    if (length == units)
        return length;
    room = makeRoom(length, done.written);
    if (room != nullptr && restUnits > 0)
        ConvertUtf(rest, restUnits, room + done.written, restLength);
    return length;
}

} // namespace Platform
