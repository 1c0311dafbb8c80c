// Reads the entries of an open folder, one after the other.
#pragma once

#include "platform/linux/files/descriptor.h"

#include <cstddef>
#include <memory>

namespace Platform {

// Opens a folder for reading; nothing else is opened. With O_NOFOLLOW in `flags` a link is not followed.
// Empty with errno on failure.
Descriptor OpenFolder(int parent, const char* name, int flags) noexcept;

struct FolderEntry {
    const char* name; // valid until the next call
    std::size_t bytes;
    unsigned char kind; // DT_DIR, DT_LNK, ..., or DT_UNKNOWN where the file system does not tell

    // "." or "..".
    bool IsDots() const { return name[0] == '.' && (bytes == 1 || (bytes == 2 && name[1] == '.')); }
};

class FolderReader {
public:
    // Takes the descriptor over. False with errno ENOMEM if there is no room for the entries.
    bool Start(Descriptor opened) noexcept;

    // The next entry, "." and ".." among them. False at the end, with errno 0, and on a failure. An
    // entry that comes or goes meanwhile may be missed or told, each other one is told once.
    bool Next(FolderEntry& entry) noexcept;

    // From the first entry on again.
    bool Rewind() noexcept;

    int Get() const noexcept { return folder.Get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(folder); }
    // Gives up the descriptor and the room.
    void Stop() noexcept;

private:
    static constexpr std::size_t bufferBytes = 32768;

    Descriptor folder;
    std::unique_ptr<char[]> buffer;
    std::size_t filled = 0;
    std::size_t read = 0;
};

} // namespace Platform
