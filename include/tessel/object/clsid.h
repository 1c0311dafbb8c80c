// The name of a class of which objects can be made.
#pragma once

#include <tessel/base/string.h>

#include <compare>

// Holds one string and nothing else. Text in front of the first bar is the type, by which dynamic factories
// are found; a name without a bar has the empty type.
class Clsid {
public:
    Clsid() noexcept = default;
    Clsid(const char16_t* name) noexcept : text(name) { } // NOLINT(google-explicit-constructor)
    Clsid(WideString name) noexcept : text(std::move(name)) { } // NOLINT(google-explicit-constructor)

    const char16_t* c_str() const noexcept { return text.c_str(); }
    const WideString& GetText() const noexcept { return text; }
    bool IsEmpty() const noexcept { return text.IsEmpty(); }

    friend bool operator==(const Clsid&, const Clsid&) noexcept = default;
    friend bool operator==(const Clsid& clsid, const char16_t* name) noexcept { return clsid.text == name; }
    friend std::strong_ordering operator<=>(const Clsid& left, const Clsid& right) noexcept
    {
        return left.text <=> right.text;
    }

private:
    WideString text;
};
static_assert(sizeof(Clsid) == sizeof(WideString));

// The text before the first bar, and the empty one if there is no bar.
TESSEL_API WideString Head(const Clsid& clsid) noexcept;
// The text behind the first bar, and the whole one if there is no bar.
TESSEL_API WideString Tail(const Clsid& clsid) noexcept;
