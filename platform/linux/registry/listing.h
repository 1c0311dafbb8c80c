// The list by which a handle enumerates values or subkeys: the names on disk as they were at one moment. The
// stamp of the key tells whether names came or went since; what went shows when its turn comes.
//
// No call but the one that makes the list is linear in its length, also where each call is followed by a
// deletion: who asks for index 0 again after what it gave has gone goes on with the same list to its end.
#pragma once

#include "platform/errors.h"
#include "platform/linux/registry/key_folder.h"

#include <string>
#include <vector>

namespace Platform::Registry {

class Listing {
public:
    enum class Kind { Values, Subkeys };

    explicit Listing(Kind listed) noexcept : kind(listed) { }

    // Calls visit(name on disk) for the entry at the index and gives its code. ERROR_FILE_NOT_FOUND from
    // there says that the entry is none any more: the next one takes its place. ERROR_NO_MORE_ITEMS at the
    // end.
    template <class Visit>
    Code At(KeyFolder& key, std::uint32_t index, Visit visit);

    // The number of entries, and the length of the longest name in chars, as of now.
    Code Measure(KeyFolder& key, std::uint32_t& count, std::uint32_t& longest);

private:
    Stamp StampOf(KeyFolder& key) const noexcept
    {
        return kind == Kind::Subkeys ? key.PeekStamp() : key.ReadStamp();
    }
    bool IsFresh(const Stamp& stamp) const noexcept;
    // Both may throw bad_alloc.
    Code Make(KeyFolder& key);
    void Add(std::string_view fileName);

    const Kind kind;
    bool made = false;
    Stamp madeAt; // the stamp before the list was read
    std::uint32_t lastIndex = 0;
    std::string names; // each with a terminator
    // Where each begins in `names`; the last one is that of index 0, for that is the one that goes most
    // often.
    std::vector<std::size_t> entries;
    std::size_t longestName = 0; // chars
};

template <class Visit>
Code Listing::At(KeyFolder& key, std::uint32_t index, Visit visit)
{
    const Stamp stamp = StampOf(key);
    if (!stamp.IsSettled() && !key.IsAlive())
        return key.MissingCode();
    bool stale = !made || (index == 0 && !IsFresh(stamp));
    if (stale && !(made && lastIndex == 0)) {
        if (const Code code = Make(key))
            return code;
        stale = false;
    }
    lastIndex = index;
    for (bool someWent = false;;) {
        if (index < entries.size()) {
            const auto entry = entries.end() - 1 - index;
            const Code code = visit(names.c_str() + *entry);
            if (code == ERROR_FILE_NOT_FOUND) {
                entries.erase(entry);
                someWent = true;
                continue;
            }
            // A stale list serves a caller that deletes what it was given, and nobody else.
            if (!stale || someWent)
                return code;
        } else if (!stale) {
            return ERROR_NO_MORE_ITEMS;
        }
        if (const Code code = Make(key))
            return code;
        stale = false;
    }
}

} // namespace Platform::Registry
