#include <tessel/base/string_traits.h>

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/text.h"
#include <tessel/base/string_buffer.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

constexpr std::uint32_t utf16 = 1200;
constexpr std::int32_t neverCounted = INT32_MIN;

template <class Char>
struct EmptyBuffer {
    StringHeader header;
    Char terminator;
};
constinit EmptyBuffer<char> emptyNarrow{{{neverCounted}, sizeof(char)}, 0};
constinit EmptyBuffer<char16_t> emptyWide{{{neverCounted}, sizeof(char16_t)}, 0};

// The result of a formatting operation that tells the length of the whole text.
template <class Char>
int FitResult(int length, std::uint32_t bufferBytes) noexcept
{
    if (length <= 0)
        return -1;
    return static_cast<std::uint32_t>(length) < bufferBytes / sizeof(Char) ? 1 : 0;
}

template <class Char>
int FormatInto(Char* buffer, const Char* format, std::uint32_t bufferBytes, std::va_list list) noexcept
{
    const Platform::LastErrorKeeper keeper;
    std::va_list arguments;
    va_copy(arguments, list);
    const int length = Platform::FormatMessageText(
        Platform::FORMAT_MESSAGE_FROM_STRING, format, 0, buffer, bufferBytes / sizeof(Char), &arguments);
    va_end(arguments);
    return FitResult<Char>(length, bufferBytes);
}

template <class Char>
std::uint32_t SizeOfFormatted(const Char* format, std::va_list list) noexcept
{
    const Platform::LastErrorKeeper keeper;
    std::va_list arguments;
    va_copy(arguments, list);
    const int length = Platform::FormatMessageText(
        Platform::FORMAT_MESSAGE_FROM_STRING, format, 0, static_cast<Char*>(nullptr), 0, &arguments);
    va_end(arguments);
    const std::uint64_t size =
        (std::uint64_t{static_cast<std::uint32_t>(std::max(length, 0))} + 1) * sizeof(Char);
    return length > 0 && size <= UINT32_MAX ? static_cast<std::uint32_t>(size) : 0;
}

template <class Char>
int SystemErrorInto(Char* buffer, std::uint32_t code, std::uint32_t bufferBytes) noexcept
{
    const Platform::LastErrorKeeper keeper;
    constexpr std::uint32_t oneLineFromSystem = Platform::FORMAT_MESSAGE_FROM_SYSTEM
        | Platform::FORMAT_MESSAGE_IGNORE_INSERTS | Platform::FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const int length = Platform::FormatMessageText(oneLineFromSystem, static_cast<const Char*>(nullptr), code,
        buffer, bufferBytes / sizeof(Char), nullptr);
    return FitResult<Char>(length, bufferBytes);
}

// Characters in front of the terminator, which must lie within that many bytes; else -1. Stored text can
// stand at any address.
int StoredWideLength(const void* source, std::uint32_t bytes) noexcept
{
    const auto* const at = static_cast<const char*>(source);
    for (std::uint32_t i = 0; i + 2 <= bytes && i / 2 < INT_MAX; i += 2)
        if (at[i] == 0 && at[i + 1] == 0)
            return static_cast<int>(i / 2);
    return -1;
}

int StoredNarrowLength(const void* source, std::uint32_t bytes) noexcept
{
    const void* const end = std::memchr(source, 0, bytes);
    const std::ptrdiff_t length =
        end != nullptr ? static_cast<const char*>(end) - static_cast<const char*>(source) : -1;
    return length < INT_MAX ? static_cast<int>(length) : -1;
}

// Wide text at an address that may be odd, as something that can be converted. Null for want of memory.
class AlignedText {
public:
    AlignedText(const void* source, int length) noexcept
        : header(StringHeader::Allocate((static_cast<std::uint32_t>(length) + 1) * 2))
    {
        if (header == nullptr)
            return;
        std::memcpy(header->Characters(), source, static_cast<std::size_t>(length) * 2);
        static_cast<char16_t*>(header->Characters())[length] = 0;
    }
    ~AlignedText()
    {
        if (header != nullptr)
            header->Release();
    }
    AlignedText(const AlignedText&) = delete;
    AlignedText& operator=(const AlignedText&) = delete;
    const char16_t* Get() const noexcept
    {
        return header != nullptr ? static_cast<const char16_t*>(header->Characters()) : nullptr;
    }

private:
    StringHeader* header;
};

} // namespace

char* SbcsTraits::Empty() noexcept
{
    return &emptyNarrow.terminator;
}
char16_t* WcsTraits::Empty() noexcept
{
    return &emptyWide.terminator;
}

std::size_t SbcsTraits::Length(const char* text) noexcept
{
    return std::strlen(text);
}
std::size_t WcsTraits::Length(const char16_t* text) noexcept
{
    return Platform::wcslen(text);
}

int SbcsTraits::Compare(const char* left, const char* right) noexcept
{
    return std::strcmp(left, right);
}
int WcsTraits::Compare(const char16_t* left, const char16_t* right) noexcept
{
    return Platform::wcscmp(left, right);
}

int WcsTraits::CompareCaseBlind(const char16_t* left, const char16_t* right) noexcept
{
    return Platform::_wcsicmp(left, right);
}

std::size_t SbcsTraits::ConvertedLength(const char16_t* source) noexcept
{
    return Platform::Utf16ToUtf8Length(source, Platform::wcslen(source));
}
void SbcsTraits::Convert(char* target, std::size_t length, const char16_t* source) noexcept
{
    Platform::Utf16ToUtf8(source, Platform::wcslen(source), target, length);
}
std::size_t WcsTraits::ConvertedLength(const char* source) noexcept
{
    return Platform::Utf8ToUtf16Length(source, std::strlen(source));
}
void WcsTraits::Convert(char16_t* target, std::size_t length, const char* source) noexcept
{
    Platform::Utf8ToUtf16(source, std::strlen(source), target, length);
}

int SbcsTraits::FormatPrintf(
    char* buffer, std::uint32_t characters, const char* format, std::va_list list) noexcept
{
    return Platform::FormatPrintf(buffer, characters, format, list);
}
int WcsTraits::FormatPrintf(
    char16_t* buffer, std::uint32_t characters, const char16_t* format, std::va_list list) noexcept
{
    return Platform::FormatPrintf(buffer, characters, format, list);
}

int SbcsTraits::FormatMessageV(
    char* buffer, const char* format, std::uint32_t bufferBytes, std::va_list list) noexcept
{
    return FormatInto(buffer, format, bufferBytes, list);
}
int WcsTraits::FormatMessageV(
    char16_t* buffer, const char16_t* format, std::uint32_t bufferBytes, std::va_list list) noexcept
{
    return FormatInto(buffer, format, bufferBytes, list);
}
std::uint32_t SbcsTraits::FormatMessageSize(const char* format, std::va_list list) noexcept
{
    return SizeOfFormatted(format, list);
}
std::uint32_t WcsTraits::FormatMessageSize(const char16_t* format, std::va_list list) noexcept
{
    return SizeOfFormatted(format, list);
}

int SbcsTraits::SystemError(char* buffer, std::uint32_t code, std::uint32_t bufferBytes) noexcept
{
    return SystemErrorInto(buffer, code, bufferBytes);
}
int WcsTraits::SystemError(char16_t* buffer, std::uint32_t code, std::uint32_t bufferBytes) noexcept
{
    return SystemErrorInto(buffer, code, bufferBytes);
}

std::uint32_t SbcsTraits::GetSerializedSize(const void* source, std::uint32_t sourceCodePage,
    std::uint32_t targetCodePage, std::uint32_t sourceBytes) noexcept
{
    const Platform::LastErrorKeeper keeper;
    if (sourceCodePage != utf16)
        return Platform::IsValidCodePage(sourceCodePage) && StoredNarrowLength(source, sourceBytes) >= 0
            ? sourceBytes
            : 0;
    const int length = StoredWideLength(source, sourceBytes);
    if (length < 0)
        return 0;
    const AlignedText text(source, length);
    if (text.Get() == nullptr)
        return 0;
    return static_cast<std::uint32_t>(
        Platform::WideCharToMultiByte(targetCodePage, 0, text.Get(), -1, nullptr, 0));
}

void SbcsTraits::SerializeFrom(char* target, const void* source, std::uint32_t sourceCodePage,
    std::uint32_t targetCodePage, std::uint32_t targetBytes) noexcept
{
    const Platform::LastErrorKeeper keeper;
    if (targetBytes == 0)
        return;
    *target = 0; // what a conversion that fails leaves
    if (sourceCodePage != utf16) {
        const auto length = static_cast<std::uint32_t>(std::max(0, StoredNarrowLength(source, targetBytes)));
        std::memcpy(target, source, length);
        target[length] = 0;
        return;
    }
    const int length = StoredWideLength(source, UINT32_MAX);
    if (length < 0)
        return;
    const AlignedText text(source, length);
    const int room = static_cast<int>(std::min<std::uint32_t>(targetBytes, INT_MAX));
    if (text.Get() == nullptr
        || Platform::WideCharToMultiByte(targetCodePage, 0, text.Get(), -1, target, room) == 0)
        *target = 0;
}

std::uint32_t WcsTraits::GetSerializedSize(const void* source, std::uint32_t sourceCodePage,
    std::uint32_t /*targetCodePage*/, std::uint32_t sourceBytes) noexcept
{
    if (sourceCodePage == utf16)
        return StoredWideLength(source, sourceBytes) >= 0 ? sourceBytes : 0;
    if (StoredNarrowLength(source, sourceBytes) < 0)
        return 0;
    const int length =
        Platform::MultiByteToWideChar(sourceCodePage, 0, static_cast<const char*>(source), -1, nullptr, 0);
    return static_cast<std::uint32_t>(length) * 2;
}

void WcsTraits::SerializeFrom(char16_t* target, const void* source, std::uint32_t sourceCodePage,
    std::uint32_t /*targetCodePage*/, std::uint32_t targetBytes) noexcept
{
    if (targetBytes < sizeof(char16_t))
        return;
    *target = 0; // what a conversion that fails leaves
    if (sourceCodePage == utf16) {
        const auto length = static_cast<std::uint32_t>(std::max(0, StoredWideLength(source, targetBytes)));
        std::memcpy(target, source, std::size_t{length} * 2);
        target[length] = 0;
        return;
    }
    const int room = static_cast<int>(std::min<std::uint32_t>(targetBytes / 2, INT_MAX));
    if (Platform::MultiByteToWideChar(sourceCodePage, 0, static_cast<const char*>(source), -1, target, room)
        == 0)
        *target = 0;
}
