#include <tessel/object/clsid.h>

#include "object/match.h"
#include "platform/text.h"

#include <algorithm>

namespace {

constexpr char16_t bar = u'|';

// The remainder behind the first bar; null where there is none.
const char16_t* BehindBar(const char16_t* text) noexcept
{
    const char16_t* const found = Platform::wcschr(text, bar);
    return found != nullptr ? found + 1 : nullptr;
}

} // namespace

WideString Head(const Clsid& clsid) noexcept
{
    const char16_t* const rest = BehindBar(clsid.c_str());
    return rest != nullptr ? WideString(clsid.c_str(), rest - 1) : WideString();
}

WideString Tail(const Clsid& clsid) noexcept
{
    const char16_t* const rest = BehindBar(clsid.c_str());
    return rest != nullptr ? WideString(rest) : clsid.GetText();
}

bool Object::MatchesPattern(const Clsid& clsid, const Clsid& pattern) noexcept
{
    if (pattern.IsEmpty())
        return true;
    const char16_t* named = clsid.c_str();
    if (const char16_t* const behindType = BehindBar(named))
        named = behindType;
    const char16_t* wanted = pattern.c_str();
    if (const char16_t* const behindType = BehindBar(wanted)) {
        if (Head(clsid) != Head(pattern))
            return false;
        wanted = behindType;
    }
    while (const char16_t* const nextWanted = BehindBar(wanted)) {
        const char16_t* const nextNamed = BehindBar(named);
        if (nextNamed == nullptr || nextNamed - named != nextWanted - wanted
            || !std::equal(wanted, nextWanted, named))
            return false;
        wanted = nextWanted;
        named = nextNamed;
    }
    return *wanted == 0 || Platform::wcscmp(wanted, named) == 0;
}
