// Io::Folder: what lies in a folder.
#pragma once

#include <tessel/base/string.h>
#include <tessel/object/face_ptr.h>

#include <vector>

namespace Io {

struct Path;

// A client's own choice of entries.
struct EntryFilter : Face<> {
    virtual bool Accept(const WideString& name) = 0;
};

// A folder that was there when it was opened. It keeps nothing open; any number of threads may list it.
struct Folder : Face<> {
    static constexpr Iid iid = u"IID_Io::Folder"_iid;

    // The files and folders in it whose names match the pattern and, unless it is null, pass the filter; in
    // no particular order. * stands for any characters and ? for one, without regard to case; a pattern
    // without them is the name of one entry, for which case counts. *.* and the empty pattern are all
    // entries, *. those without a dot. A pattern with a separator matches nothing. Empty where the folder is
    // missing or cannot be read. What the filter throws passes through.
    virtual std::vector<FacePtr<Path>> Enumerate(
        const WideString& pattern, const FacePtr<EntryFilter>& filter) = 0;
};

} // namespace Io
