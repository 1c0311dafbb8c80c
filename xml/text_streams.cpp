#include "xml/text_streams.h"

#include "platform/text.h"
#include <tessel/base/error.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace {

constexpr std::size_t blockBytes = 2048;

// How many bytes at the end, at most 3, begin a character without ending it.
std::size_t CountCutOff(const char* bytes, std::size_t count) noexcept
{
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, count); ++back) {
        const auto byte = static_cast<unsigned char>(bytes[count - back]);
        if ((byte & 0xC0) == 0x80)
            continue;
        const std::size_t length = byte < 0xC2 || byte > 0xF4 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        return back < length ? back : 0;
    }
    return 0;
}

bool IsHighSurrogate(char16_t unit) noexcept
{
    return (unit & 0xFC00) == 0xD800;
}

} // namespace

void StreamToString::Write(const WideString& piece)
{
    constexpr std::size_t longest = 0x7FFFFE00;
    const std::u16string_view view(piece.c_str());
    if (view.size() > longest - text.GetLength())
        throw Error("xml-writer-size", "xml");
    text.Add(view);
}

WideString StreamFromFile::Read()
{
    char block[blockBytes];
    std::size_t count = atEnd ? 0 : ReadBlock(block);
    const char* begin = block;
    if (std::exchange(atStart, false) && count >= 3 && std::memcmp(block, "\xEF\xBB\xBF", 3) == 0) {
        begin += 3;
        count -= 3;
    }
    if (const void* const zero = std::memchr(begin, 0, count)) {
        count = static_cast<std::size_t>(static_cast<const char*>(zero) - begin);
        atEnd = true;
    }
    const std::size_t cutOff = CountCutOff(begin, count);
    std::memcpy(carry, begin + count - cutOff, cutOff);
    carry[cutOff] = 0;
    return Convert(begin, count - cutOff);
}

std::size_t StreamFromFile::ReadBlock(char* block)
{
    const std::size_t carried = std::strlen(carry);
    std::memcpy(block, carry, carried);
    const std::size_t count = Platform::fread(block + carried, 1, blockBytes - carried, file);
    if (Platform::ferror(file) != 0)
        throw Error("read-io-err", "xml");
    return carried + count;
}

WideString StreamFromFile::Convert(const char* bytes, std::size_t count)
{
    if (count == 0)
        return {};
    // A character takes at most one code unit for each byte: there is nothing to measure.
    char16_t* const target =
        converted.PrepareWriting(static_cast<std::uint32_t>((blockBytes + 1) * sizeof(char16_t)), false);
    if (target == nullptr)
        throw std::bad_alloc();
    target[Platform::Utf8ToUtf16(bytes, count, target, blockBytes)] = 0;
    return converted;
}

void StreamToFile::Write(const WideString& piece)
{
    constexpr std::size_t sliceUnits = blockBytes;
    char bytes[3 * sliceUnits];
    const char16_t* at = piece.c_str();
    for (std::size_t left = piece.GetLength(); left != 0;) {
        std::size_t units = std::min(left, sliceUnits);
        if (units < left && IsHighSurrogate(at[units - 1]))
            --units;
        const std::size_t count = Platform::Utf16ToUtf8(at, units, bytes, sizeof bytes);
        if (Platform::fwrite(bytes, 1, count, file) != count || Platform::ferror(file) != 0)
            throw Error("read-io-err", "xml");
        at += units;
        left -= units;
    }
}
