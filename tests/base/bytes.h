// Bytes written down in a test, and bytes that a test failed with.
#pragma once

#include <tessel/base/archive.h>

#include <functional>
#include <ostream>
#include <string>
#include <string_view>

// "10 13 48 5B" as a Binary; anything that is no hexadecimal digit separates.
inline Binary Bytes(std::string_view text)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (std::isxdigit(static_cast<unsigned char>(text[i])) != 0) {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16));
            ++i;
        }
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}

// Takes items from an archive's beginning.
template <class... Items>
void ReadFrom(const Binary& stored, Items&... items)
{
    ReadArchive archive(stored);
    (archive >> ... >> items);
}

// What a failure says, without what stands around it in every one; empty where there is none.
inline std::string FailureOf(const std::function<void()>& act)
{
    try {
        act();
    } catch (const Error& error) {
        if (error.HasCode(Error::badFormat))
            return "bad format";
        const std::string text = NarrowString(error.Format().c_str()).c_str();
        const std::size_t start = text.find(": ") + 2;
        return text.substr(start, text.size() - start - 2);
    }
    return {};
}

inline void PrintTo(const Binary& binary, std::ostream* out)
{
    constexpr const char* digits = "0123456789ABCDEF";
    for (std::uint32_t i = 0; i < binary.GetSize(); ++i)
        *out << digits[binary.GetData()[i] / 16] << digits[binary.GetData()[i] % 16] << ' ';
}
