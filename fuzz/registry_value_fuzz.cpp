// Value files of the registry with any bytes in them. They are read with rooms of several sizes, then
// written, and must give what was written. So that not every input ends at a wrong checksum, the checksums of
// an input with an odd first byte are put right first; this byte is not part of the file.
#include "fuzz/require.h"
#include "platform/linux/registry/checksum.h"
#include "platform/linux/registry/file_name.h"
#include "platform/linux/registry/value_file.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

using namespace Platform::Registry;

namespace {

template <class Number>
Number At(const std::string& file, std::size_t position)
{
    Number number = 0;
    if (position < file.size())
        std::memcpy(&number, file.data() + position, std::min(sizeof number, file.size() - position));
    return number;
}

void Put(std::string& file, std::size_t position, std::uint64_t sum)
{
    if (position + sizeof sum <= file.size())
        std::memcpy(file.data() + position, &sum, sizeof sum);
}

// What lies there, as far as the file goes.
std::string Piece(const std::string& file, std::uint64_t position, std::uint64_t size)
{
    return position < file.size() ? file.substr(position, size) : "";
}

// By FORMAT.md, not by the code that is tested.
void PutChecksumsRight(std::string& file)
{
    const std::uint64_t room = At<std::uint32_t>(file, 12);
    const std::string name = Piece(file, 104 + 2 * room, 2ULL * At<std::uint32_t>(file, 8));
    Put(file, 16, Checksum(Checksum(checksumStart, Piece(file, 0, 16).data(), 16), name.data(), name.size()));
    for (unsigned slot = 0; slot < 2; ++slot) {
        const std::uint64_t start = 24 + slot * (40 + room);
        if (start + 40 > file.size())
            return;
        const auto place = At<std::uint64_t>(file, start + 16);
        const std::string bytes =
            Piece(file, place != 0 ? place : start + 40, At<std::uint32_t>(file, start + 12));
        Put(file, start + 24, Checksum(checksumStart, bytes.data(), bytes.size()));
        Put(file, start + 32, Checksum(checksumStart + slot, file.data() + start, 32));
    }
}

int FileOf(const std::string& content)
{
    static const int descriptor = ::memfd_create("value", MFD_CLOEXEC);
    const auto size = static_cast<ssize_t>(content.size());
    Require(
        ::ftruncate(descriptor, 0) == 0 && ::pwrite(descriptor, content.data(), content.size(), 0) == size);
    return descriptor;
}

void ExpectValue(int descriptor, std::uint32_t type, const std::string& bytes)
{
    ValueFile file;
    std::string room(bytes.size() + 1, '\0');
    Require(file.Read(descriptor, room.data(), static_cast<std::uint32_t>(room.size())) == Reading::Whole);
    Require(file.Type() == type && room.substr(0, file.Size()) == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > 1 << 16)
        return 0;
    std::string content(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (data[0] % 2 != 0)
        PutChecksumsRight(content);
    const int descriptor = FileOf(content);

    ValueFile file;
    const Reading reading = file.Read(descriptor, nullptr, 0);
    Require(reading != Reading::Failed);
    if (reading != Reading::Whole)
        return 0;
    // Whole means that the bytes are in the file: what it claims to hold is no more than what there is.
    Require(file.Size() <= content.size() && file.Name().size() <= valueNameLimit);
    std::string bytes(file.Size(), '\0');
    ValueFile again;
    Require(again.Read(descriptor, bytes.data(), file.Size()) == Reading::Whole);
    ExpectValue(descriptor, file.Type(), bytes);

    // Large and small in turn, so that each way of writing meets what lies there.
    for (const std::size_t next : std::initializer_list<std::size_t>{5000, 3, 1400, bytes.size(), 0}) {
        bytes.assign(next, static_cast<char>(next));
        Require(file.WriteNext(descriptor, 7, bytes.data(), static_cast<std::uint32_t>(next)));
        ExpectValue(descriptor, 7, bytes);
        ValueLayout layout = file.Layout();
        if (layout.room >= 3) {
            Require(ValueFile::WriteNext(descriptor, layout, 8, "abc", 3));
            ExpectValue(descriptor, 8, "abc");
        }
        Require(file.Read(descriptor, nullptr, 0) == Reading::Whole);
    }
    return 0;
}
