// Io::Path: a place in the file system, and the one way into it. A path tells what stands at its place, makes
// the paths above and below it, opens files and folders, and deletes them.
//
//     FacePtr<Io::Fs::PathFactory> paths(Io::Fs::pathFactoryClass);
//     Value text;
//     text = WideString(u"C:/home/me/../you/notes.txt");
//     FacePtr<Io::Path> notes = paths->CreatePath(Io::PathType::Absolute, text, false); //
//     C:\home\you\notes.txt
//
// The text of a path is a root, a drive letter with its colon or \\server\share, and names with a backslash
// before each. A name has 1 to 255 characters, none of them < > : " / \ |, and is not . or .. ; case counts.
// C: is the root of the file tree, and the other drives do not exist. A name on disk that has no such text is
// shown with other characters in their place (U+F000 and above), and is reached by that text.
//
// Links. A path that leads to a link stands for the link's target. Only Delete removes the link itself, and
// never goes through one. What is there and is no folder counts as a file: a device, and a link whose target
// is missing, too. A device cannot be opened; such a link can where a missing file may be made and one that
// exists is accepted, and its target is made.
//
// Failures of OpenFile, OpenFolder and Delete, and of the file that OpenFile gives, are an Error of two
// layers: the system's number with its text, shown, and above it a message in the user's language with the
// path. The code of the message is Error::notFound where a file or folder on the way is missing (numbers 2
// and 3), and otherwise the system's number, for instance 5 access denied, 32 in use, 80 and 183 exists, 87
// arguments that do not fit, 112 disk full, 145 folder not empty, 206 too long.
//
// A path never changes, and may be used from several threads at once. It holds nothing open.
#pragma once

#include <tessel/io/file.h>
#include <tessel/io/folder.h>

namespace Io {

enum class PathKind : std::uint32_t {
    Missing = 0, // nothing stands there, or it cannot be seen
    RegularFile = 1,
    Directory = 2,
};

enum class TimeKind : std::uint32_t { LastWrite = 0, Creation = 1, LastAccess = 2 };

// What others may do with a file as long as it is open, this process or another one: only opens that allow
// what the other does go together.
enum class ShareMode : std::uint32_t { None = 0, Read = 1, Write = 2, ReadWrite = 3 };

// What to do where something is there, or nothing.
enum class IfExists : std::uint32_t { Fail = 0, Open = 1, Truncate = 2 };
enum class IfMissing : std::uint32_t { Fail = 0, Create = 2 };

struct Path : Face<> {
    static constexpr Iid iid = u"IID_Io::Path"_iid;

    virtual WideString GetString() = 0;
    // The last name; empty for a root.
    virtual WideString GetName() = 0;
    // Null for a root.
    virtual FacePtr<Path> GetParent() = 0;
    // The path below this one; the text may hold several names, . and .. . Throws "badpath ''" where it holds
    // a character that no name has, a name that is too long, or leads above the root.
    virtual FacePtr<Path> Append(const WideString& name) = 0;
    virtual FacePtr<Path> GetRoot() = 0;

    virtual PathKind GetKind() = 0;
    // 100 ns units since 1601, UTC; 0 if it cannot be read.
    virtual std::uint64_t GetTime(TimeKind kind) = 0;
    // Does nothing where it cannot: never can the time of creation, nor any of a folder.
    virtual void SetTime(TimeKind kind, std::uint64_t time) = 0;

    // Opens a file, or makes it. Of the combinations, ifMissing Fail goes with Open and Truncate, and Create
    // with all three; any other fails in any case.
    virtual FacePtr<File> OpenFile(
        AccessMode access, ShareMode share, IfExists ifExists, IfMissing ifMissing) = 0;
    // Opens a folder, or makes it, with createParents all missing ones above it too. Truncate is as Open. If
    // one cannot be made, those that this call has made are removed again.
    virtual FacePtr<Folder> OpenFolder(IfExists ifExists, IfMissing ifMissing, bool createParents) = 0;
    // Removes the file, the link or the empty folder, or with `recursive` the folder with all that it holds;
    // what is missing is no failure. It stops at the first entry that cannot be removed, and names that one.
    virtual void Delete(bool recursive) = 0;
};

} // namespace Io
