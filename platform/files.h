// Files and folders. Failures leave the thread's last error as described; nothing throws.
//
// Path texts. Drive C is the root of the file tree: C:\home\x is /home/x, and C:x is C:\x. The other
// letters do not exist. \\server\share\x is /net/server/share/x. A text that begins with one separator
// is of drive C, one without root is relative to the working folder of the process. Both separators are
// understood, any number of them, also at the end; "." and ".." are worked out in the text and never
// lead above the root. Case counts. A text has up to 32,767 chars, a name up to 255 bytes on disk.
//
// Names. On disk they are UTF-8. What a path text cannot hold is mapped byte for byte to U+F000 + byte:
//     < > : " | ? * \            a single byte of the name       "a:b"        a U+F03A b
//     bytes that are no UTF-8    each byte                       "\xFF"       U+F0FF
//     U+F000 to U+F0FF           each byte of its UTF-8          U+F03A       U+F0EF U+F080 U+F0BA
// So every name on disk has exactly one text, and is listed, opened and deleted by it. A text that
// holds one of the characters, half a surrogate pair, or a mapped byte in any other place is the name
// of nothing: ERROR_INVALID_NAME. Control characters, blanks and dots stand for themselves, at the end too.
//
// Links are followed, but by what removes or moves an entry: that is done to the link itself.
#pragma once

#include "platform/handles.h"

#include <cstddef>

namespace Platform {

// Beside the generic rights. SetFileTime needs FILE_WRITE_ATTRIBUTES; GENERIC_WRITE contains it.
constexpr std::uint32_t FILE_READ_ATTRIBUTES = 0x0080;
constexpr std::uint32_t FILE_WRITE_ATTRIBUTES = 0x0100;

constexpr std::uint32_t FILE_SHARE_READ = 1;
constexpr std::uint32_t FILE_SHARE_WRITE = 2;
constexpr std::uint32_t FILE_SHARE_DELETE = 4;

constexpr std::uint32_t CREATE_NEW = 1;
constexpr std::uint32_t CREATE_ALWAYS = 2;
constexpr std::uint32_t OPEN_EXISTING = 3;
constexpr std::uint32_t OPEN_ALWAYS = 4;
constexpr std::uint32_t TRUNCATE_EXISTING = 5;

constexpr std::uint32_t FILE_ATTRIBUTE_READONLY = 0x0001; // nobody may write
constexpr std::uint32_t FILE_ATTRIBUTE_HIDDEN = 0x0002; // the name begins with a dot
constexpr std::uint32_t FILE_ATTRIBUTE_DIRECTORY = 0x0010;
constexpr std::uint32_t FILE_ATTRIBUTE_DEVICE = 0x0040; // a device, pipe or socket
constexpr std::uint32_t FILE_ATTRIBUTE_NORMAL = 0x0080; // none of the others
constexpr std::uint32_t FILE_ATTRIBUTE_REPARSE_POINT = 0x0400; // a symbolic link
constexpr std::uint32_t INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

constexpr std::uint32_t FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;
constexpr std::uint32_t FILE_FLAG_WRITE_THROUGH = 0x80000000;

constexpr std::uint32_t FILE_BEGIN = 0;
constexpr std::uint32_t FILE_CURRENT = 1;
constexpr std::uint32_t FILE_END = 2;
constexpr std::uint32_t INVALID_SET_FILE_POINTER = 0xFFFFFFFF;
constexpr std::uint32_t INVALID_FILE_SIZE = 0xFFFFFFFF;

constexpr std::uint32_t MOVEFILE_REPLACE_EXISTING = 1;
constexpr std::uint32_t MOVEFILE_WRITE_THROUGH = 8;

constexpr std::uint32_t MAX_PATH = 260;

// 100 ns units since 1 January 1601, UTC, in two halves.
struct FILETIME {
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;
};

// ---- Opening

// Opens a file, and makes or empties it as the disposition says. `access` is any of GENERIC_READ,
// GENERIC_WRITE and the two rights to attributes, or 0. On failure INVALID_HANDLE_VALUE, mostly with
// ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED (also: a folder), ERROR_FILE_EXISTS,
// ERROR_SHARING_VIOLATION, or ERROR_INVALID_PARAMETER for an unknown disposition or flag, and for
// TRUNCATE_EXISTING without GENERIC_WRITE.
//
// Sharing: an open with GENERIC_READ or GENERIC_WRITE fails as long as another one denies that access,
// or has an access that this one denies; emptying counts as writing. It holds between all opens through
// this function, in this process and others, on file systems with record locks; elsewhere everything is
// shared. A program that does not take part is neither hindered nor noticed, unless it has locked the whole
// file for itself. FILE_SHARE_DELETE changes nothing: an open file can always be deleted, renamed and
// replaced, and lives on until it is closed. A child of fork shares its parent's opens until it ends.
//
// A folder opens with FILE_FLAG_BACKUP_SEMANTICS, OPEN_EXISTING and without GENERIC_WRITE. Devices,
// pipes and sockets open for their attributes only; otherwise they are ERROR_NOT_SUPPORTED, and nothing
// ever waits for their other end. FILE_FLAG_WRITE_THROUGH writes each transfer out. FILE_ATTRIBUTE_HIDDEN,
// NORMAL and READONLY are accepted and not kept: here a name alone hides a file.
Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share, std::uint32_t disposition,
    std::uint32_t flagsAndAttributes) noexcept;

// ---- Transfer. A handle has one position, which its duplicates share.

// Reads at the position. Fewer than `size` bytes mean the end of the file, or a failure that the next call
// meets again. ERROR_ACCESS_DENIED without GENERIC_READ.
bool ReadFile(Handle handle, void* buffer, std::uint32_t size, std::uint32_t* transferred) noexcept;

// Writes at the position; beyond the end, what lies between becomes zero. Fewer than `size` bytes mean a
// failure, for instance a full disk, that the next call meets. False says that nothing was written.
bool WriteFile(Handle handle, const void* buffer, std::uint32_t size, std::uint32_t* transferred) noexcept;

// Moves the position by a signed number of 64 bits, of 32 bits if `distanceHigh` is null, and returns it:
// the low half as the result, the high half in *distanceHigh. A failure is INVALID_SET_FILE_POINTER with
// a last error that is not 0; every success sets the last error to 0. ERROR_NEGATIVE_SEEK before the start.
std::uint32_t SetFilePointer(
    Handle handle, std::int32_t distance, std::int32_t* distanceHigh, std::uint32_t method) noexcept;

// Ends the file at the position, whether that cuts or extends it.
bool SetEndOfFile(Handle handle) noexcept;

// Returns when all that was written has reached the disk.
bool FlushFileBuffers(Handle handle) noexcept;
// Gives the file system what was written, as closing the file does, and tells whether it took it: a network's
// may refuse only now. Costs next to nothing on a local disk, and promises nothing for a loss of power.
bool SettleWrites(Handle handle) noexcept;

// The low half of the size, the high half in *sizeHigh unless it is null. INVALID_FILE_SIZE with a last
// error that is not 0 is a failure; every success sets the last error to 0.
std::uint32_t GetFileSize(Handle handle, std::uint32_t* sizeHigh) noexcept;

// ---- Attributes and times

// The attributes of what stands at the path, or INVALID_FILE_ATTRIBUTES with ERROR_FILE_NOT_FOUND,
// ERROR_PATH_NOT_FOUND or what else hides it. A link has those of its target and
// FILE_ATTRIBUTE_REPARSE_POINT; a link whose target cannot be reached has the latter alone (and HIDDEN): it
// is there, and it is no folder.
std::uint32_t GetFileAttributesW(const char16_t* path) noexcept;

// Times; null for those that are not wanted. Where a file system does not know when an entry was made, it
// is the earlier of the last write and the last change.
bool GetFileTime(Handle handle, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite) noexcept;

// Sets the times that are not null. Nobody can change when an entry was made: with `creation` the call
// fails with ERROR_NOT_SUPPORTED and changes nothing.
bool SetFileTime(
    Handle handle, const FILETIME* creation, const FILETIME* lastAccess, const FILETIME* lastWrite) noexcept;

// ---- Path texts

// The absolute path text, with backslashes and without "." and "..". With enough capacity (in chars) it is
// written and its length is the result; otherwise the result is the capacity that is needed, terminator
// included. 0 on failure. The place need not exist.
std::uint32_t GetFullPathNameW(const char16_t* path, std::uint32_t capacity, char16_t* buffer) noexcept;
std::uint32_t GetCurrentDirectoryW(std::uint32_t capacity, char16_t* buffer) noexcept;

// ---- Changing entries

// Removes a file, or a link of any kind. A folder is ERROR_ACCESS_DENIED.
bool DeleteFileW(const char16_t* path) noexcept;

// Makes one folder, for everybody as far as the process's mask allows. ERROR_ALREADY_EXISTS if anything
// stands there, ERROR_PATH_NOT_FOUND without a parent.
bool CreateDirectoryW(const char16_t* path) noexcept;

// Removes one empty folder, or a link to a folder. ERROR_DIR_NOT_EMPTY, ERROR_DIRECTORY for a file.
bool RemoveDirectoryW(const char16_t* path) noexcept;

// Renames in one step that is seen as a whole or not at all. What stands at the new name is replaced with
// MOVEFILE_REPLACE_EXISTING (a file by a file, an empty folder by a folder), else ERROR_ALREADY_EXISTS. With
// MOVEFILE_WRITE_THROUGH the renaming has reached the disk. ERROR_NOT_SAME_DEVICE between file systems.
bool MoveFileExW(const char16_t* from, const char16_t* to, std::uint32_t flags) noexcept;

// What a removal stopped at.
struct REMOVE_TREE_FAILURE {
    bool isFolder; // the entry is a folder
    std::uint32_t pathChars; // of the whole text, terminator not counted, even if it did not fit
    char16_t* path; // room for the entry's path text, given by the caller; may be null
    std::uint32_t capacity; // of that room, in chars
};

// Removes an entry with all that it holds, deepest first, in any number of levels. It stops at the first
// failure, keeps what is left, and tells it with the last error and in *failure (which may be null); an
// entry that others removed meanwhile is no failure, nor is a missing one.
//
// It never leaves the tree: a link is removed as a link, also one that somebody puts in a folder's place
// during the walk, and other file systems that are mounted in the tree are not entered (ERROR_BUSY).
bool RemoveTreeW(const char16_t* path, REMOVE_TREE_FAILURE* failure) noexcept;

// ---- Listing

struct WIN32_FIND_DATAW {
    std::uint32_t dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    std::uint32_t nFileSizeHigh;
    std::uint32_t nFileSizeLow;
    char16_t cFileName[MAX_PATH];
};

// FindExInfoStandard fills everything, for a link from its target if it can be reached. FindExInfoBasic
// asks for no more than the folder itself tells, which is several times faster: the name, and of the
// attributes whether it is a folder, a link or hidden; times and size are 0.
enum FINDEX_INFO_LEVELS : std::uint32_t { FindExInfoStandard, FindExInfoBasic };

// Looks for entries. The last component of the text is a pattern if it holds * or ?, otherwise the name
// of one entry, for which case counts. Patterns are matched without regard to case:
//     *     any number of any chars             ?     one char but a dot, or none before a dot and at the end
//     *.*   every name, with a dot or not       x.*   also x itself           *.   names without a dot
// The first entry stands in *found; on failure INVALID_HANDLE_VALUE, with ERROR_FILE_NOT_FOUND if nothing
// matches and ERROR_PATH_NOT_FOUND if there is no such folder. "." and ".." are among the entries where
// every name matches. The order is that of the file system.
Handle FindFirstFileW(const char16_t* pattern, WIN32_FIND_DATAW* found) noexcept;
Handle FindFirstFileExW(const char16_t* pattern, FINDEX_INFO_LEVELS level, WIN32_FIND_DATAW* found) noexcept;
// The next entry; ERROR_NO_MORE_FILES at the end.
bool FindNextFileW(Handle search, WIN32_FIND_DATAW* found) noexcept;
bool FindClose(Handle search) noexcept;

// ---- The runtime's buffered files, one thread at a time

struct FILE;

// Opens for reading ("r"), writing from empty ("w") or writing at the end ("a"); "b" and "t" may follow and
// change nothing: bytes are bytes. Null on failure, with the last error as CreateFileW leaves it. Shares
// reading and writing.
FILE* _wfopen(const char16_t* path, const char16_t* mode) noexcept;
// Both return how many whole items were moved; fewer say that the file ended or failed.
std::size_t fread(void* buffer, std::size_t size, std::size_t count, FILE* file) noexcept;
std::size_t fwrite(const void* buffer, std::size_t size, std::size_t count, FILE* file) noexcept;
// Not 0 once a transfer has failed.
int ferror(FILE* file) noexcept;
// Writes out what is buffered and ends the file in any case. Not 0 if that or an earlier write failed.
int fclose(FILE* file) noexcept;

} // namespace Platform
