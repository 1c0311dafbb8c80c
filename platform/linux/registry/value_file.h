// The file of one value: its name as first written, and two copies of type and bytes, of which a set
// writes the older one (FORMAT.md has the layout). So whatever cuts a set short, one copy is whole.
//
// Reading needs no lock: what is written meanwhile shows as a wrong checksum. Writing is for one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace Platform::Registry {

enum class Reading {
    Whole,
    Empty, // a file without a byte: what a cut of the power may leave of a new value
    Damaged, // no whole copy, or none of our files
    Failed, // errno tells
};

// Where the copies lie in a file whose slots hold them both: enough to write the next one without reading.
struct ValueLayout {
    std::uint32_t room = 0; // bytes in each slot; 0: not such a file
    unsigned newest = 0;
    std::uint64_t sequence = 0; // of the newest
};

class ValueFile {
public:
    // Reads the newest whole copy. Its bytes go to `room` if they fit, otherwise they are only checked.
    Reading Read(int descriptor, void* room, std::uint32_t roomBytes) noexcept;

    // What was read, after Reading::Whole.
    std::u16string_view Name() const noexcept { return {name, header.nameChars}; }
    std::uint32_t Type() const noexcept { return slots[newest].type; }
    std::uint32_t Size() const noexcept { return slots[newest].size; }

    // Replaces the older copy of the file that was just read. False with errno; the newest copy is then
    // still there and still the newest.
    bool WriteNext(int descriptor, std::uint32_t type, const void* bytes, std::uint32_t size) noexcept;

    // The layout of what was read or written last.
    ValueLayout Layout() const noexcept;
    // As WriteNext, for a file of this layout and a size that fits in its slots. The layout becomes the new
    // one.
    static bool WriteNext(int descriptor, ValueLayout& layout, std::uint32_t type, const void* bytes,
        std::uint32_t size) noexcept;

    // Fills a file that has nothing in it. False with errno.
    static bool Create(int descriptor, std::u16string_view name, std::uint32_t type, const void* bytes,
        std::uint32_t size) noexcept;

private:
    struct Header {
        std::uint64_t mark;
        std::uint32_t nameChars;
        std::uint32_t room; // bytes that each slot has for its copy
        std::uint64_t checksum; // of the above and the name
    };
    struct Slot {
        std::uint64_t sequence; // the higher one is newer, around the end of the numbers
        std::uint32_t type;
        std::uint32_t size; // bytes
        std::uint64_t place; // of the bytes in the file; 0: behind this
        std::uint64_t bytesChecksum;
        std::uint64_t checksum; // of the above and the slot's number
    };
    struct Composed;

    static constexpr std::uint64_t fileMark = 0x3156'4C45'5353'4554; // "TESSELV1"
    static constexpr std::uint32_t smallestRoom = 24;
    static constexpr std::uint32_t largestRoom = 1400;
    static constexpr std::size_t blockBytes = 4096;
    static constexpr std::uint64_t farthestPlace = std::uint64_t{1} << 40;

    static constexpr std::size_t SlotPosition(std::uint32_t room, unsigned slot)
    {
        return sizeof(Header) + slot * (sizeof(Slot) + room);
    }
    static constexpr std::size_t NamePosition(std::uint32_t room) { return SlotPosition(room, 2); }
    static std::uint64_t ChecksumOf(const Header& header, std::u16string_view name) noexcept;
    static std::uint64_t ChecksumOf(const Slot& slot, unsigned number) noexcept;

    Reading ReadHeader(int descriptor) noexcept;
    Reading ReadName(int descriptor) noexcept;
    Reading CheckSlot(int descriptor, unsigned slot, void* room, std::uint32_t roomBytes) noexcept;
    std::uint64_t FrontEnd() const noexcept;
    std::uint64_t EndOf(const Slot& slot) const noexcept;
    std::uint64_t FreePlace(std::uint32_t size) const noexcept;

    Header header;
    Slot slots[2];
    unsigned newest = 0;
    const char16_t* name = nullptr;
    std::unique_ptr<char16_t[]> longName; // where `block` does not hold the name
    std::size_t filled = 0; // bytes of `block`
    alignas(8) char block[blockBytes];
};

} // namespace Platform::Registry
