// Where a path text lies on disk: the bytes of the path, and for one that is too long for the system an
// open folder on the way.
#pragma once

#include "platform/linux/files/descriptor.h"
#include "platform/linux/files/inline_buffer.h"

#include <cstddef>
#include <cstdint>

namespace Platform {

// The longest path text, terminator not counted.
constexpr std::size_t maximumPathChars = 32767;

constexpr bool IsSeparator(char16_t unit)
{
    return unit == u'\\' || unit == u'/';
}

class DiskPath {
public:
    // Reads the text: root, separators, "." and ".." are worked out in it, names are mapped. False with
    // ERROR_PATH_NOT_FOUND for an empty text, a drive that does not exist or a server without a share,
    // ERROR_INVALID_NAME for a name that no disk has, ERROR_FILENAME_EXCED_RANGE for a text that is too
    // long, or with what stops the way to a folder that is too deep to be named at once.
    bool Set(const char16_t* text, std::size_t chars) noexcept;
    bool Set(const char16_t* text) noexcept;
    // The same without a look at the disk: the name is the whole path, however long.
    bool SetWithoutWalk(const char16_t* text, std::size_t chars) noexcept;
    bool SetWithoutWalk(const char16_t* text) noexcept;

    // The two that name the place to the system's calls. An absolute name does not depend on the folder.
    int Folder() const noexcept;
    const char* Name() const noexcept { return name; }

    bool IsAbsolute() const noexcept { return absolute; }
    // The last component begins with a dot: the system's way to hide an entry.
    bool IsHidden() const noexcept;
    // The text was of the form \\server\share.
    bool IsNetwork() const noexcept { return network; }

    // The path of the folder that holds the entry, below Folder(); null if there is no memory.
    const char* FolderName(InlineBuffer<char, 1024>& room) const noexcept;

    // Fails with errno's counterpart, where "no such entry" is ERROR_PATH_NOT_FOUND unless the folder
    // that should hold the entry is there.
    bool FailHere() const noexcept;

private:
    bool SetRoot(const char16_t*& text, const char16_t* end) noexcept;
    bool AddComponent(const char16_t* component, std::size_t chars) noexcept;
    void GoUp() noexcept;
    bool Walk() noexcept;
    bool HasFolder() const noexcept;

    InlineBuffer<char, 1024> buffer;
    char* start = nullptr;
    char* end = nullptr; // behind the last byte so far
    char* floor = nullptr; // ".." does not go above this
    char* name = nullptr;
    Descriptor onTheWay;
    bool absolute = false;
    bool network = false;
};

// Copies a path of the disk, below the working folder if it is relative. False with the last error.
bool MakeAbsolute(const char* path, char* target, std::size_t capacity) noexcept;

// A path of the disk as a path text of drive C, or of \\server\share if it is one of the network's
// (below /net). With enough capacity it is written with a terminator, and the result is its length;
// otherwise the result is the capacity that is needed, terminator included. 0 says that there is no memory.
std::size_t DiskPathToText(
    const char* path, std::size_t bytes, bool network, char16_t* text, std::size_t capacity) noexcept;

} // namespace Platform
