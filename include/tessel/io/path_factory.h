// Io::Fs::PathFactory: makes the first path; all others come from paths and folders.
#pragma once

#include <tessel/base/value.h>
#include <tessel/io/path.h>

namespace Io {

enum class PathType : std::uint32_t {
    Absolute = 0, // the Value holds the text; one without a root is relative to the working folder
    Relative = 1, // below the working folder, where the Value holds a text, or the working folder itself
    Module = 2, // the file of the loaded module that the Value names, or of the process; the working folder
                // where no such module is loaded
};

namespace Fs {

struct PathFactory : Face<> {
    static constexpr Iid iid = u"IID_Io::Fs::PathFactory"_iid;

    // Both separators are understood, any number of them, also at the end; . and .. are worked out in the
    // text, and the drive letter becomes a capital. A text that makes no path is null with `quiet`, else
    // "badpath '%s'" is thrown. With it or without, "bad-pathtype(%d)" is thrown for any other type, and "bad
    // val type %d" for Absolute without a text.
    virtual FacePtr<Path> CreatePath(PathType type, const Value& value, bool quiet) = 0;
};

constexpr const char16_t* pathFactoryClass = u"CID_Io::Fs::PathFactory";

} // namespace Fs

} // namespace Io
