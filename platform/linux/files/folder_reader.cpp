#include "platform/linux/files/folder_reader.h"

#include "platform/linux/files/calls.h"

#include <cstring>
#include <new>

namespace Platform {

Descriptor OpenFolder(int parent, const char* name, int flags) noexcept
{
    int descriptor = -1;
    do
        descriptor = Seam::OpenAt(parent, name, O_RDONLY | O_DIRECTORY | O_NONBLOCK | flags);
    while (descriptor < 0 && errno == EINTR);
    return Descriptor(descriptor);
}

bool FolderReader::Start(Descriptor opened) noexcept
{
    if (!buffer)
        buffer.reset(new (std::nothrow) char[bufferBytes]);
    if (!buffer) {
        errno = ENOMEM;
        return false;
    }
    folder = std::move(opened);
    filled = read = 0;
    return true;
}

bool FolderReader::Next(FolderEntry& entry) noexcept
{
    if (read == filled) {
        ssize_t count = 0;
        do
            count = Seam::ReadEntries(folder.Get(), buffer.get(), bufferBytes);
        while (count < 0 && errno == EINTR);
        if (count <= 0) {
            if (count == 0)
                errno = 0;
            return false;
        }
        filled = static_cast<std::size_t>(count);
        read = 0;
    }
    // The kernel aligns its records to 8 bytes, as operator new[] does the buffer.
    const auto* const record = reinterpret_cast<const dirent64*>(buffer.get() + read);
    read += record->d_reclen;
    entry = {record->d_name, std::strlen(record->d_name), record->d_type};
    return true;
}

bool FolderReader::Rewind() noexcept
{
    filled = read = 0;
    return Seam::Seek(folder.Get(), 0, SEEK_SET) == 0;
}

void FolderReader::Stop() noexcept
{
    folder.Close();
    buffer.reset();
}

} // namespace Platform
