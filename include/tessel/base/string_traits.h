// What differs between narrow and wide strings, as the exported part of BaseString: modules compile the
// template for themselves and call these. Nothing here ever looks at the process's C locale.
#pragma once

#include <tessel/export.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>

// Stands in front of the characters of every string buffer, in the same allocation.
struct StringHeader;

// The operations of one flavour. Sizes are bytes, terminator included, unless a name says characters.
//
// Where the result is 1, 0 or -1: 1 the text was produced, 0 the buffer is too small, -1 a larger buffer
// would not help. The thread's last error is as before on every exit.
struct SbcsTraits {
    using Char = char;
    using OtherChar = char16_t;
    static constexpr std::uint32_t codePage = 0; // the system's ANSI code page; UTF-8 here

    // The buffer that all empty strings of this flavour share; never freed, never written.
    TESSEL_API static Char* Empty() noexcept;
    // Characters in front of the terminator.
    TESSEL_API static std::size_t Length(const Char* text) noexcept;
    // By code units, as unsigned numbers: negative, 0 or positive.
    TESSEL_API static int Compare(const Char* left, const Char* right) noexcept;

    // Characters that the conversion of the other flavour's text (code page 0) takes, without a terminator.
    TESSEL_API static std::size_t ConvertedLength(const OtherChar* source) noexcept;
    // That conversion into a buffer of exactly that many characters; writes no terminator.
    TESSEL_API static void Convert(Char* target, std::size_t length, const OtherChar* source) noexcept;

    // printf into a buffer; cut off and terminated where it does not fit. Returns the characters of the
    // whole text, without terminator, or -1 for a format that is refused (%n, or beyond 2^31 characters).
    TESSEL_API static int FormatPrintf(
        Char* buffer, std::uint32_t characters, const Char* format, std::va_list list) noexcept;
    // Inserts %1, %2 ...: 1, 0 or -1. An empty result is -1.
    TESSEL_API static int FormatMessageV(
        Char* buffer, const Char* format, std::uint32_t bufferBytes, std::va_list list) noexcept;
    // Bytes that FormatMessageV would need, 0 where it would give -1.
    TESSEL_API static std::uint32_t FormatMessageSize(const Char* format, std::va_list list) noexcept;
    // The system's text for an error number, in one line: 1, 0 or -1.
    TESSEL_API static int SystemError(Char* buffer, std::uint32_t code, std::uint32_t bufferBytes) noexcept;

    // Stored text (terminated, sourceBytes long) of sourceCodePage, as this flavour would hold it in
    // targetCodePage: bytes needed, 0 on failure. Code page 1200 is UTF-16 in little endian order.
    // Nothing is read behind sourceBytes; a text without terminator within it fails.
    TESSEL_API static std::uint32_t GetSerializedSize(const void* source, std::uint32_t sourceCodePage,
        std::uint32_t targetCodePage, std::uint32_t sourceBytes) noexcept;
    // The conversion itself into a target of targetBytes, which is what GetSerializedSize gave. Reads the
    // source up to its terminator, so it is called only where GetSerializedSize has succeeded.
    TESSEL_API static void SerializeFrom(Char* target, const void* source, std::uint32_t sourceCodePage,
        std::uint32_t targetCodePage, std::uint32_t targetBytes) noexcept;
};

struct WcsTraits {
    using Char = char16_t;
    using OtherChar = char;
    static constexpr std::uint32_t codePage = 1200;

    TESSEL_API static Char* Empty() noexcept;
    TESSEL_API static std::size_t Length(const Char* text) noexcept;
    TESSEL_API static int Compare(const Char* left, const Char* right) noexcept;
    // The same of the texts in lower case, by a fixed table: the comparison of names without regard to case.
    TESSEL_API static int CompareCaseBlind(const Char* left, const Char* right) noexcept;

    TESSEL_API static std::size_t ConvertedLength(const OtherChar* source) noexcept;
    TESSEL_API static void Convert(Char* target, std::size_t length, const OtherChar* source) noexcept;

    TESSEL_API static int FormatPrintf(
        Char* buffer, std::uint32_t characters, const Char* format, std::va_list list) noexcept;
    TESSEL_API static int FormatMessageV(
        Char* buffer, const Char* format, std::uint32_t bufferBytes, std::va_list list) noexcept;
    TESSEL_API static std::uint32_t FormatMessageSize(const Char* format, std::va_list list) noexcept;
    TESSEL_API static int SystemError(Char* buffer, std::uint32_t code, std::uint32_t bufferBytes) noexcept;

    // The wide flavour ignores targetCodePage; text of code page 1200 is taken as it stands. These two
    // leave a last error behind where a conversion fails.
    TESSEL_API static std::uint32_t GetSerializedSize(const void* source, std::uint32_t sourceCodePage,
        std::uint32_t targetCodePage, std::uint32_t sourceBytes) noexcept;
    TESSEL_API static void SerializeFrom(Char* target, const void* source, std::uint32_t sourceCodePage,
        std::uint32_t targetCodePage, std::uint32_t targetBytes) noexcept;
};
