// What is known of a class without making an object of it.
#pragma once

#include <tessel/base/string.h>
#include <tessel/export.h>
#include <tessel/object/face.h>

#include <list>
#include <set>
#include <vector>

namespace Object {

struct ClassInfo {
    WideString clsid; // empty: there is no such class
    std::vector<WideString> interfaces; // all that it answers to; bases behind each, so some stand repeatedly
    WideString extra; // travels with every copy, but not into the registration cache
};

using ClassInfoList = std::list<ClassInfo>;
using TypeSet = std::set<WideString>;

// A name as a text. Throws std::bad_alloc where a string would become empty without a word: a class that is
// listed without its name is not found again as long as its module stays.
TESSEL_API WideString TextOfName(const char16_t* name);

// The identifiers of an interface or object class T: each interface, directly followed by its bases down to
// "IID_BaseFace", in the order in which Cast walks them.
template <class T, class... Bases>
void ListInterfacesOfBases(std::vector<WideString>& out, BaseList<Bases...>);

template <class T>
void ListInterfaces(std::vector<WideString>& out)
{
    if constexpr (HasOwnIdentifier<T>())
        out.push_back(TextOfName(T::iid.text));
    if constexpr (!std::is_same_v<T, BaseFace>)
        ListInterfacesOfBases<T>(out, typename T::Bases{});
}

template <class T, class... Bases>
void ListInterfacesOfBases(std::vector<WideString>& out, BaseList<Bases...>)
{
    if constexpr (sizeof...(Bases) == 0)
        ListInterfaces<BaseFace>(out);
    else
        (ListInterfaces<Bases>(out), ...);
}

// The entry of a class whose objects are made from T.
template <class T>
ClassInfo DescribeClass(const char16_t* clsid)
{
    ClassInfo described{TextOfName(clsid), {}, {}};
    ListInterfaces<T>(described.interfaces);
    return described;
}

} // namespace Object
