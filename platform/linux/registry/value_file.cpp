#include "platform/linux/registry/value_file.h"

#include "platform/linux/registry/calls.h"
#include "platform/linux/registry/checksum.h"
#include "platform/linux/registry/file_name.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace Platform::Registry {

namespace {

static_assert(std::endian::native == std::endian::little, "the files are little-endian");

constexpr std::uint64_t RoundUp(std::uint64_t value)
{
    return (value + 7) & ~std::uint64_t{7};
}

// Reads until the size is reached or the file ends; -1 with errno.
ssize_t ReadAll(int descriptor, void* buffer, std::size_t size, std::uint64_t position) noexcept
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = Seam::ReadFrom(
            descriptor, static_cast<char*>(buffer) + done, size - done, static_cast<off_t>(position + done));
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return -1;
    }
    return static_cast<ssize_t>(done);
}

bool WriteAll(int descriptor, const void* bytes, std::size_t size, std::uint64_t position) noexcept
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = Seam::WriteTo(descriptor, static_cast<const char*>(bytes) + done, size - done,
            static_cast<off_t>(position + done));
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count == 0)
            errno = ENOSPC;
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
    }
    return true;
}

Reading WholeIf(ssize_t read, std::size_t size) noexcept
{
    return read < 0                              ? Reading::Failed
        : static_cast<std::size_t>(read) == size ? Reading::Whole
                                                 : Reading::Damaged;
}

// The checksum of bytes that nobody wants to have.
Reading ChecksumInFile(
    int descriptor, std::uint64_t position, std::uint32_t size, std::uint64_t& sum) noexcept
{
    alignas(8) char piece[16384];
    sum = checksumStart;
    for (std::uint32_t done = 0; done < size;) {
        const std::size_t wanted = std::min<std::size_t>(sizeof piece, size - done);
        const Reading reading = WholeIf(ReadAll(descriptor, piece, wanted, position + done), wanted);
        if (reading != Reading::Whole)
            return reading;
        sum = Checksum(sum, piece, wanted);
        done += static_cast<std::uint32_t>(wanted);
    }
    return Reading::Whole;
}

} // namespace

Reading ValueFile::Read(int descriptor, void* room, std::uint32_t roomBytes) noexcept
{
    Reading reading = ReadHeader(descriptor);
    if (reading != Reading::Whole)
        return reading;
    // Whatever number a file has come to, the next one is newer.
    const bool second = static_cast<std::int64_t>(slots[1].sequence - slots[0].sequence) > 0;
    reading = CheckSlot(descriptor, second ? 1 : 0, room, roomBytes);
    if (reading == Reading::Damaged)
        reading = CheckSlot(descriptor, second ? 0 : 1, room, roomBytes);
    return reading;
}

Reading ValueFile::ReadHeader(int descriptor) noexcept
{
    const ssize_t count = ReadAll(descriptor, block, sizeof block, 0);
    if (count <= 0)
        return count < 0 ? Reading::Failed : Reading::Empty;
    filled = static_cast<std::size_t>(count);
    if (filled < sizeof header)
        return Reading::Damaged;
    std::memcpy(&header, block, sizeof header);
    static_assert(NamePosition(largestRoom) <= blockBytes, "header and slots come with one read");
    if (header.mark != fileMark || header.nameChars > valueNameLimit || header.room > largestRoom
        || header.room % 8 != 0 || filled < NamePosition(header.room))
        return Reading::Damaged;
    for (unsigned slot = 0; slot < 2; ++slot)
        std::memcpy(&slots[slot], block + SlotPosition(header.room, slot), sizeof(Slot));
    return ReadName(descriptor);
}

Reading ValueFile::ReadName(int descriptor) noexcept
{
    const std::size_t position = NamePosition(header.room);
    const std::size_t size = header.nameChars * sizeof(char16_t);
    if (position + size <= sizeof block) {
        if (position + size > filled)
            return Reading::Damaged;
        name = reinterpret_cast<const char16_t*>(block + position);
    } else {
        longName.reset(new (std::nothrow) char16_t[header.nameChars]);
        if (!longName) {
            errno = ENOMEM;
            return Reading::Failed;
        }
        const Reading reading = WholeIf(ReadAll(descriptor, longName.get(), size, position), size);
        if (reading != Reading::Whole)
            return reading;
        name = longName.get();
    }
    return header.checksum == ChecksumOf(header, Name()) ? Reading::Whole : Reading::Damaged;
}

// If the copy is whole, it becomes the newest.
Reading ValueFile::CheckSlot(int descriptor, unsigned slot, void* room, std::uint32_t roomBytes) noexcept
{
    const Slot& copy = slots[slot];
    const bool inside = copy.place == 0;
    if (copy.checksum != ChecksumOf(copy, slot) || (inside && copy.size > header.room)
        || (!inside && (copy.place < FrontEnd() || copy.place > farthestPlace)))
        return Reading::Damaged;
    newest = slot;
    const bool fits = room && copy.size <= roomBytes;
    std::uint64_t sum = 0;
    if (inside) {
        const char* const bytes = block + SlotPosition(header.room, slot) + sizeof(Slot);
        sum = Checksum(checksumStart, bytes, copy.size);
        if (fits)
            std::memcpy(room, bytes, copy.size);
    } else if (fits) {
        const Reading reading = WholeIf(ReadAll(descriptor, room, copy.size, copy.place), copy.size);
        if (reading != Reading::Whole)
            return reading;
        sum = Checksum(checksumStart, room, copy.size);
    } else {
        const Reading reading = ChecksumInFile(descriptor, copy.place, copy.size, sum);
        if (reading != Reading::Whole)
            return reading;
    }
    return sum == copy.bytesChecksum ? Reading::Whole : Reading::Damaged;
}

// A slot with the bytes behind it, so that one write sets both.
struct ValueFile::Composed {
    Slot slot;
    char bytes[largestRoom];

    Composed(unsigned number, std::uint64_t sequence, std::uint32_t type, const void* given,
        std::uint32_t size, std::uint64_t place) noexcept
        : slot{sequence, type, size, place, Registry::Checksum(checksumStart, given, size), 0}
    {
        slot.checksum = ChecksumOf(slot, number);
        if (place == 0 && size != 0)
            std::memcpy(bytes, given, size);
    }
    std::size_t Size() const noexcept { return sizeof slot + (slot.place == 0 ? slot.size : 0); }
};

bool ValueFile::WriteNext(int descriptor, std::uint32_t type, const void* bytes, std::uint32_t size) noexcept
{
    const unsigned older = 1 - newest;
    const std::uint64_t place = size <= header.room ? 0 : FreePlace(size);
    const Composed next(older, slots[newest].sequence + 1, type, bytes, size, place);
    const std::uint64_t end = std::max(EndOf(slots[newest]), EndOf(next.slot));
    const bool hadMore = slots[older].place != 0 && EndOf(slots[older]) > end;
    // The bytes come first: a slot that is whole but for its bytes would cost a reader its retries.
    const bool written = (place == 0 || WriteAll(descriptor, bytes, size, place))
        && WriteAll(descriptor, &next, next.Size(), SlotPosition(header.room, older));
    if (!written || hadMore) {
        const int kept = errno;
        // What is given up here is in no copy any more; if it stays, it only takes room on the disk.
        Seam::Truncate(descriptor, static_cast<off_t>(written ? end : EndOf(slots[newest])));
        errno = kept;
    }
    if (written) {
        slots[older] = next.slot;
        newest = older;
    }
    return written;
}

bool ValueFile::WriteNext(
    int descriptor, ValueLayout& layout, std::uint32_t type, const void* bytes, std::uint32_t size) noexcept
{
    const unsigned older = 1 - layout.newest;
    const Composed next(older, layout.sequence + 1, type, bytes, size, 0);
    if (!WriteAll(descriptor, &next, next.Size(), SlotPosition(layout.room, older)))
        return false;
    layout = {layout.room, older, layout.sequence + 1};
    return true;
}

ValueLayout ValueFile::Layout() const noexcept
{
    const bool inside = slots[0].place == 0 && slots[1].place == 0;
    return {inside ? header.room : 0, newest, slots[newest].sequence};
}

bool ValueFile::Create(int descriptor, std::u16string_view name, std::uint32_t type, const void* bytes,
    std::uint32_t size) noexcept
{
    // Some room to grow: a longer copy has to lie elsewhere and takes a second write.
    const bool inside = size <= largestRoom;
    const std::uint32_t room = inside
        ? std::clamp(static_cast<std::uint32_t>(RoundUp(size + size / 4)), smallestRoom, largestRoom)
        : smallestRoom;
    const std::size_t nameBytes = name.size() * sizeof(char16_t);
    const std::uint64_t place = inside ? 0 : RoundUp(NamePosition(room) + nameBytes);

    Header made{fileMark, static_cast<std::uint32_t>(name.size()), room, 0};
    made.checksum = ChecksumOf(made, name);
    const Composed first(0, 1, type, bytes, size, place);
    // Both slots are written, for a set must find its room on the disk.
    char front[NamePosition(largestRoom)] = {};
    std::memcpy(front, &made, sizeof made);
    std::memcpy(front + SlotPosition(room, 0), &first, first.Size());
    return WriteAll(descriptor, front, NamePosition(room), 0)
        && WriteAll(descriptor, name.data(), nameBytes, NamePosition(room))
        && (inside || WriteAll(descriptor, bytes, size, place));
}

std::uint64_t ValueFile::ChecksumOf(const Header& header, std::u16string_view name) noexcept
{
    const std::uint64_t sum = Registry::Checksum(checksumStart, &header, offsetof(Header, checksum));
    return Registry::Checksum(sum, name.data(), name.size() * sizeof(char16_t));
}

std::uint64_t ValueFile::ChecksumOf(const Slot& slot, unsigned number) noexcept
{
    return Registry::Checksum(checksumStart + number, &slot, offsetof(Slot, checksum));
}

// Behind header, slots and name.
std::uint64_t ValueFile::FrontEnd() const noexcept
{
    return NamePosition(header.room) + header.nameChars * sizeof(char16_t);
}

// Where the file could end if it had only this copy.
std::uint64_t ValueFile::EndOf(const Slot& slot) const noexcept
{
    return slot.place == 0 ? FrontEnd() : slot.place + slot.size;
}

// A place outside the slots that the newest copy does not touch.
std::uint64_t ValueFile::FreePlace(std::uint32_t size) const noexcept
{
    const Slot& kept = slots[newest];
    const std::uint64_t front = RoundUp(FrontEnd());
    if (kept.place == 0 || front + size <= kept.place)
        return front;
    return RoundUp(kept.place + kept.size);
}

} // namespace Platform::Registry
