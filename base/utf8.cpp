#include <tessel/base/utf8.h>

#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace {

bool IsContinuation(unsigned char byte) noexcept
{
    return (byte & 0xC0) == 0x80;
}

// The length that the first byte of a sequence announces; a continuation byte counts as 1.
std::size_t SequenceLength(unsigned char byte) noexcept
{
    std::size_t length = 1;
    if ((byte & 0x80) != 0)
        for (unsigned bit = 0x40; (byte & bit) != 0; bit >>= 1)
            ++length;
    return length;
}

// The length without a last character that is cut off.
std::size_t WithoutBrokenEnd(const char* bytes, std::size_t length) noexcept
{
    if (length == 0)
        return 0;
    std::size_t at = length - 1;
    while (at > 0 && IsContinuation(static_cast<unsigned char>(bytes[at])))
        --at;
    const std::size_t sequence = SequenceLength(static_cast<unsigned char>(bytes[at]));
    return at + sequence > length || sequence >= 5 ? at : length;
}

} // namespace

WideString StringFromUtf8(const char* source, std::uint32_t maxBytes) noexcept
{
    WideString result;
    if (maxBytes == 0)
        return result;
    const void* const end =
        maxBytes != 0xFFFFFFFF ? std::memchr(source, 0, maxBytes) : source + std::strlen(source);
    const std::size_t available =
        end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - source) : maxBytes;
    const std::size_t length = WithoutBrokenEnd(source, available);
    const std::size_t characters = Platform::Utf8ToUtf16Length(source, length);
    if (characters == 0 || characters > 0x7FFFFF00)
        return result;
    char16_t* const target = result.CtorPrepareWriting(static_cast<std::uint32_t>(characters) * 2 + 4);
    if (target == nullptr)
        return result;
    Platform::Utf8ToUtf16(source, length, target, characters);
    target[characters] = 0;
    return result;
}

Binary StringToUtf8(const WideString& source, std::int32_t maxBytes) noexcept
{
    const auto limit = static_cast<std::uint32_t>(maxBytes);
    std::size_t characters = source.GetLength();
    if (limit != 0)
        characters = std::min<std::size_t>(characters, limit - 1);
    const std::size_t bytes = Platform::Utf16ToUtf8Length(source.c_str(), characters);
    Binary result;
    if (bytes >= Binary::everything)
        return result;
    result.SetSize(static_cast<std::uint32_t>(bytes) + 1, false);
    auto* const target = reinterpret_cast<char*>(result.GetWritableData());
    if (target == nullptr)
        return result;
    Platform::Utf16ToUtf8(source.c_str(), characters, target, bytes);
    std::size_t kept = bytes;
    if (limit != 0)
        kept = WithoutBrokenEnd(target, std::min<std::size_t>(limit - 1, bytes));
    target[kept] = 0;
    result.SetSize(static_cast<std::uint32_t>(kept) + 1, true);
    return result;
}
