// Which classes a pattern means.
#pragma once

#include <tessel/object/class_info.h>
#include <tessel/object/clsid.h>

#include <algorithm>

namespace Object {

// The empty pattern matches every class. One without a bar matches the class whose name behind the type is
// equal to it. One with bars names the type first, then component by component; what stands behind its last
// bar equals all the rest of the name, or is empty, which leaves the rest open: "Type|Group|" matches all of
// Type's classes in Group.
bool MatchesPattern(const Clsid& clsid, const Clsid& pattern) noexcept;

// Whether FindClasses(pattern, interface) finds the class; the empty interface asks for none.
inline bool IsWanted(const ClassInfo& described, const Clsid& pattern, const WideString& interface) noexcept
{
    return MatchesPattern(described.clsid, pattern)
        && (interface.IsEmpty()
            || std::find(described.interfaces.begin(), described.interfaces.end(), interface)
                != described.interfaces.end());
}

// The entry with exactly that name, or the empty one.
inline ClassInfo EntryOf(const ClassInfoList& classes, const Clsid& clsid)
{
    const auto found = std::find_if(classes.begin(), classes.end(),
        [&](const ClassInfo& described) { return described.clsid == clsid.GetText(); });
    return found != classes.end() ? *found : ClassInfo();
}

} // namespace Object
