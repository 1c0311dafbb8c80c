// Archives: typed items packed into one Binary, and taken out again in the same order.
//
//     WriteArchive writer;                    ReadArchive reader(stored);
//     writer << name << count << picture;     reader >> name >> count >> picture;
//     stored = writer.GetBinary();
//
// There are no tags and there is no index: who reads has to know what was written. Beside the items below,
// Error, Value and Properties have operators of their own. The format, numbers in little endian order:
//
//     0   marker, 4 bytes: 10 13 48 5B
//     4   the items; one that is aligned to a begins at the first offset that is 4 and a multiple of a,
//         and the gap before it is zero
//
//     byte            1 byte, not aligned
//     32-bit number   4 bytes, aligned to 4
//     64-bit number   8 bytes, aligned to 8
//     string          aligned to 4: 4 bytes of zero if it is empty, else size, code page and text (string.h)
//     Binary          a 32-bit number, the length, and so many bytes
//     list            a 32-bit number, the count, and the items
//
// The empty Binary is an archive without items. Two more markers are read and never written:
// 00 13 48 5B, where nothing is aligned, and 11 13 48 5B, where numbers are in big endian order, but not the
// length of a Binary.
//
// An archive object is for one thread at a time; readers of one Binary may run side by side.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/base/error.h>
#include <tessel/base/string.h>
#include <tessel/export.h>

#include <bit>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

enum ArchiveFormatType : std::uint32_t {
    ArchiveFormatPacked = 0x5B481300, // nothing is aligned
    ArchiveFormatAligned = 0x5B481310, // the one that is written
    ArchiveFormatSwapped = 0x5B481311, // numbers in big endian order
};

// Where an item goes behind `used` bytes: alignment, a power of 2, counts from the end of the marker. The
// arithmetic wraps where nothing is used yet, and gives 0 for the marker itself.
constexpr std::uint32_t AlignedOffset(std::uint32_t used, std::uint32_t alignment) noexcept
{
    return ((used + alignment - 5) & ~(alignment - 1)) + 4;
}

// Grows until its result is taken. Fails only with std::bad_alloc, for want of memory or for an archive of
// 4 GB; what was written before the item that failed is kept.
class WriteArchive {
public:
    WriteArchive();
    WriteArchive(const WriteArchive&) = default;
    WriteArchive& operator=(const WriteArchive&) = default;
    ~WriteArchive() = default;

    // Room for an item of so many bytes, which are zero where they are new; valid until the next call.
    // Alignment is 1, 4 or 8.
    unsigned char* StartWriting(std::uint32_t size, std::uint32_t alignment);
    // Makes room for so many bytes more, so that writing them allocates nothing.
    void Reserve(std::uint64_t size)
    {
        if (size > bytes.GetCapacity() - bytes.GetSize())
            Grow(bytes.GetSize() + size);
    }

    WriteArchive& operator<<(std::uint8_t number) { return Write(number); }
    WriteArchive& operator<<(std::uint32_t number) { return Write(number); }
    WriteArchive& operator<<(std::uint64_t number) { return Write(number); }
    WriteArchive& operator<<(const WideString& text)
    {
        return WriteText(text.c_str(), static_cast<std::uint32_t>(text.GetLength()));
    }
    WriteArchive& operator<<(const Binary& binary);
    // As a string of these terminated characters.
    WriteArchive& WriteText(const char16_t* text, std::uint32_t length)
    {
        WideString::SerializeText(StartWriting(WideString::GetSerializedSize(length), 4), text, length);
        return *this;
    }

    // All that was written, shared and not copied; the empty Binary where nothing was.
    Binary GetBinary() const noexcept { return bytes.GetSize() == sizeof(std::uint32_t) ? Binary() : bytes; }

private:
    template <class Number>
    WriteArchive& Write(Number number)
    {
        std::memcpy(StartWriting(sizeof(Number), sizeof(Number)), &number, sizeof(Number));
        return *this;
    }
    // A private block with room for so many bytes in all and some more.
    TESSEL_API void Grow(std::uint64_t size);

    Binary bytes; // all that its block holds behind its size is zero
};
static_assert(sizeof(WriteArchive) == sizeof(Binary));

// Moves forward only and copies nothing but what it gives out. Bytes that are no archive, or that end too
// early, are an Error with one layer of code Error::badFormat; the reader is not to be used after one. No
// allocation is larger than a small multiple of the bytes that are left to read.
class ReadArchive {
public:
    // Shares the bytes. Throws for one to three bytes and for an unknown marker.
    explicit ReadArchive(const Binary& source)
        : format(RetrieveFormat(source)),
          position(source.IsEmpty() ? 0 : 4),
          size(source.GetSize()),
          data(source)
    {
    }

    // The bytes of an item that has at least `needed` bytes; `needed` becomes the number of all that are left
    // from there. Moves to the item and not past it: see Skip. Throws where fewer are left, and does not
    // move.
    TESSEL_API const unsigned char* StartReading(std::uint32_t& needed, std::uint32_t alignment);
    // Moves past so many bytes of those that StartReading has given.
    void Skip(std::uint32_t count) noexcept { position += count; }
    // 1 where the archive is packed, else the argument.
    std::uint32_t AlignmentOf(std::uint32_t alignment) const noexcept
    {
        return format == ArchiveFormatPacked ? 1 : alignment;
    }

    ReadArchive& operator>>(std::uint8_t& number) { return Read(number); }
    ReadArchive& operator>>(std::uint32_t& number) { return Read(number); }
    ReadArchive& operator>>(std::uint64_t& number) { return Read(number); }
    ReadArchive& operator>>(WideString& text);
    ReadArchive& operator>>(Binary& binary);

    [[noreturn]] TESSEL_API static void ThrowBadFormat();

private:
    TESSEL_API static ArchiveFormatType RetrieveFormat(const Binary& binary);

    static std::uint8_t Swapped(std::uint8_t number) noexcept { return number; }
    static std::uint32_t Swapped(std::uint32_t number) noexcept { return __builtin_bswap32(number); }
    static std::uint64_t Swapped(std::uint64_t number) noexcept { return __builtin_bswap64(number); }
    template <class Number>
    ReadArchive& Read(Number& number)
    {
        std::uint32_t available = sizeof(Number);
        Number stored;
        std::memcpy(&stored, StartReading(available, AlignmentOf(sizeof(Number))), sizeof(Number));
        Skip(sizeof(Number));
        number = format == ArchiveFormatSwapped ? Swapped(stored) : stored;
        return *this;
    }

    ArchiveFormatType format;
    std::uint32_t position; // offset of the next byte
    std::uint32_t size; // of all the bytes
    Binary data;
};

// Errors travel as they are stored: reading fills in no texts. One that fails in the middle may leave its
// target with some of the layers.
TESSEL_API WriteArchive& operator<<(WriteArchive& archive, const Error& error);
TESSEL_API ReadArchive& operator>>(ReadArchive& archive, Error& error);

inline WriteArchive::WriteArchive()
{
    Grow(512);
    *this << std::uint32_t{ArchiveFormatAligned};
}

inline unsigned char* WriteArchive::StartWriting(std::uint32_t size, std::uint32_t alignment)
{
    // No block is so large that this could wrap.
    const std::uint32_t begin = AlignedOffset(bytes.GetSize(), alignment);
    const std::uint64_t end = std::uint64_t{begin} + size;
    if (end > bytes.block->capacity || bytes.block->refCount.load(std::memory_order_acquire) > 1)
        Grow(end);
    bytes.block->size = static_cast<std::uint32_t>(end);
    return bytes.block->Bytes() + begin;
}

inline WriteArchive& WriteArchive::operator<<(const Binary& binary)
{
    const std::uint32_t length = binary.GetSize();
    *this << length;
    if (length != 0)
        std::memcpy(StartWriting(length, 1), binary.GetData(), length);
    return *this;
}

inline ReadArchive& ReadArchive::operator>>(WideString& text)
{
    std::uint32_t available = sizeof(std::uint32_t);
    const unsigned char* const stored = StartReading(available, AlignmentOf(4));
    const std::uint32_t used = text.Deserialize(stored, available);
    if (used == 0)
        ThrowBadFormat();
    Skip(used);
    return *this;
}

inline ReadArchive& ReadArchive::operator>>(Binary& binary)
{
    std::uint32_t available = sizeof(std::uint32_t);
    const unsigned char* const stored = StartReading(available, AlignmentOf(4));
    std::uint32_t length = 0;
    std::memcpy(&length, stored, sizeof(length)); // in little endian order whatever the format
    if (available - sizeof(length) < length)
        ThrowBadFormat();
    if (binary.PrepareWriting(length, false, false) == nullptr)
        ThrowBadFormat();
    if (binary.block != nullptr) {
        std::memcpy(binary.block->Bytes(), stored + sizeof(length), length);
        binary.block->size = length;
    }
    Skip(sizeof(length) + length);
    return *this;
}
