// The text that names an interface, with its hash.
#pragma once

#include <tessel/base/hash.h>

#include <cstddef>

// A constant of each interface, written as a literal: u"IID_Object::Factory"_iid. Two modules mean the same
// interface when the texts are equal; the addresses never count, for every module has its own copy.
struct Iid {
    const char16_t* text;
    std::uint32_t hash;

    constexpr operator const char16_t*() const noexcept
    {
        return text;
    } // NOLINT(google-explicit-constructor)
};

consteval Iid operator""_iid(const char16_t* text, std::size_t)
{
    return {text, HashOfLiteral(text)};
}

// Whether an identifier is this one. The hashes only save comparing texts.
TESSEL_API bool IsSameText(const char16_t* left, const char16_t* right) noexcept;
inline bool Matches(const Iid& iid, std::uint32_t hash, const char16_t* wanted) noexcept
{
    return iid.hash == hash && IsSameText(iid.text, wanted);
}
