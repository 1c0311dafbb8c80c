// The text of "autoreg.dat": what earlier scans found out about the modules of a folder.
//
// Records in the order of the names, each "{name|stamp|types|classes}" and a line feed for a module,
// "{name|stamp}" for a file that is none. Types have "," between them, classes ";", and a class is its
// identifier and then each of its interfaces with "," in front. White space (space, LF, CR) in front of
// anything is skipped; nothing is escaped. The text ends at its first NUL, or at its end.
#pragma once

#include <tessel/object/class_info.h>

#include <optional>
#include <vector>

namespace Object {

struct CacheRecord {
    WideString name; // of the file, without folder
    WideString stamp;
    bool isModule = false;
    TypeSet types;
    ClassInfoList classes;
};

// All records in their order, or nothing if the text is empty or damaged anywhere: a cache that is not
// wholly sound is not believed at all. A class that begins with an interface is damage.
std::optional<std::vector<CacheRecord>> ParseCache(const WideString& text);

// The text of records, without the NUL.
WideString FormatCache(const std::vector<CacheRecord>& records);

// Whether a record says the same when it is read again: nothing in it looks like a delimiter.
bool IsStorable(const CacheRecord& record) noexcept;

} // namespace Object
