// A key's folder on disk, held open: who has it open goes on reaching this key and no other, whatever
// becomes of its name.
//
//   name    a symbolic link whose text is the name as first written; nothing ever follows it. It is there
//           from the key's first moment, and removing it is the key's death: a folder without it is what a
//           deleted key left.
//   keys/   the folders of the subkeys, if there ever were any
//   lock    whoever changes the key or the list of its subkeys holds a lock on it
//   stamp   tells readers that something was changed
//   =...    one file a value
//   .new    a value that is being made; the same below keys/ for a key
#pragma once

#include "platform/kernel.h"
#include "platform/linux/files/descriptor.h"
#include "platform/linux/registry/file_name.h"
#include "platform/linux/registry/hive.h"

#include <cerrno>
#include <cstdint>

namespace Platform::Registry {

// ERROR_SUCCESS or what went wrong.
using Code = std::uint32_t;

// The code of the present errno. What stands in the place of a file or folder of the store and is another
// kind of thing, a link above all, is ERROR_INVALID_DATA.
Code CodeOfErrno() noexcept;

// What the stamp of a key says. A change makes a number odd before it begins and even again when it is done;
// a process that was killed in between leaves it odd, and so does the death of the key. Each number has this
// of its own, for the two may be read while they are being written: the one as before and the other as after.
struct Stamp {
    std::uint64_t sequence = 0; // of all changes
    std::uint64_t names = 0; // of those by which a value or a subkey comes or goes
    bool present = false; // there is none before the first change

    // The key is alive, and nothing in it is being changed.
    bool IsSettled() const noexcept { return present && sequence % 2 == 0; }
    // No value and no subkey comes or goes; also where nothing ever did.
    bool HasSettledNames() const noexcept { return names % 2 == 0; }
};

class KeyFolder {
public:
    KeyFolder() noexcept = default;
    KeyFolder(Descriptor opened, Hive inHive, unsigned atLevel) noexcept
        : folder(std::move(opened)), hive(inHive), level(atLevel)
    {
    }

    // Opens the subkey: ERROR_FILE_NOT_FOUND if there is none, also where a deleted one left its folder.
    Code OpenSubkey(std::u16string_view name, KeyFolder& subkey) const noexcept;
    // The same by the name on disk, whatever key's it is.
    Code OpenSubkeyFolder(const char* fileName, KeyFolder& subkey) const noexcept;
    // Opens the folder with the folders of the subkeys. -1 with ENOENT if there never were any.
    Descriptor OpenSubkeys() const noexcept;
    // The key again, with nothing shared but the folder.
    Code OpenAgain(KeyFolder& again) const noexcept;

    // The name as first written, in a room of keyNameLimit chars. ERROR_INVALID_DATA if there is none.
    Code ReadName(char16_t* room, std::u16string_view& name) const noexcept;

    // Whether the key was not deleted. False also on a failure, with errno other than ENOENT.
    bool IsAlive() const noexcept;
    // What it means that something was not found in the folder.
    Code MissingCode() const noexcept;

    // Whether the caller may change the key.
    Code CheckWritable() const noexcept;

    // One thread at a time. After a failure the stamp is an odd one: what is not known may be changing.
    Code ReadStamp(Stamp& stamp) noexcept;
    Stamp ReadStamp() noexcept
    {
        Stamp stamp;
        ReadStamp(stamp);
        return stamp;
    }
    // The same, without a descriptor that stays open: whoever goes down a tree keeps all of its keys open.
    Stamp PeekStamp() noexcept;

    int Get() const noexcept { return folder.Get(); }
    Hive GetHive() const noexcept { return hive; }
    unsigned Level() const noexcept { return level; } // the root has 0

private:
    friend class Change;

    Descriptor folder;
    Hive hive = Hive::User;
    unsigned level = 0;
    // Opened at first use.
    Descriptor stampFile;
    bool stampIsWritable = false;
    Descriptor lockFile;
    unsigned lockForks = 0; // the value of the count of forks when `lockFile` was opened
};

// Opens a folder inside the store, never through a link. -1 with errno.
Descriptor OpenFolder(int parent, const char* path) noexcept;

// Gives what was opened its mode, whatever the process's mask was when it was made: who made it may have been
// killed before that. False with errno.
bool EnsureMode(int descriptor, mode_t mode) noexcept;

} // namespace Platform::Registry
