// The scan of the folder that holds the library, and the libraries that it found.
#pragma once

#include <tessel/object/library.h>

#include <map>
#include <vector>

namespace Object {

struct CacheRecord;

// Does all its work in the constructor; afterwards it keeps the libraries alive, which the manager does not.
//
// Files that the cache knows are believed as long as their last write time is the same; only new and changed
// ones are loaded. A file with the right ending that is no module, or could not be loaded for whatever
// reason, is remembered as such and not tried again until it changes or the cache is removed. The cache is
// written anew as a whole where a file had no valid record; failing to write it costs the next process the
// same work and nothing else.
class Loader : public Face<> {
public:
    // Scans the library's own folder. Throws what AddFactory, or creating the classes it needs, throws.
    Loader();

private:
    using Libraries = std::map<WideString, FacePtr<Library>>;

    void Scan(const WideString& folder);
    bool ReadCache(const WideString& folder);
    bool AddNewFiles(const WideString& folder);
    std::vector<CacheRecord> DescribeLibraries(const WideString& folder) const;

    FacePtr<Library::Creator> creator;
    Libraries libraries; // by file name; null for a file that is no module
};

} // namespace Object
