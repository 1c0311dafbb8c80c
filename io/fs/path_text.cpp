#include "io/fs/path_text.h"

#include "platform/files.h"

#include <new>
#include <string>
#include <utility>

namespace Io::Fs {

namespace {

constexpr std::size_t longestName = 255;

constexpr std::u16string_view illegalCharacters = u"<>:\"/\\|";

// Whether a name ends at the character, at a separator or because it can be none.
class EndOfName {
public:
    constexpr EndOfName()
    {
        for (const char16_t unit : illegalCharacters)
            isIllegal[unit] = true;
    }
    constexpr bool operator()(char16_t unit) const { return unit < std::size(isIllegal) && isIllegal[unit]; }

private:
    bool isIllegal[128] = {};
};
constexpr EndOfName endsName;

constexpr bool IsSeparator(char16_t unit)
{
    return unit == u'\\' || unit == u'/';
}

constexpr bool IsLetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

bool IsNetwork(std::u16string_view text)
{
    return text.size() >= 3 && IsSeparator(text[0]) && IsSeparator(text[1]) && !IsSeparator(text[2]);
}

bool IsOnDrive(std::u16string_view text)
{
    return text.size() >= 2 && IsLetter(text[0]) && text[1] == u':';
}

// A buffer for so many characters and a terminator.
char16_t* MakeRoom(WideString& text, std::size_t chars)
{
    constexpr std::size_t most = 0x7FFFFF00;
    char16_t* const room = chars < most
        ? text.CtorPrepareWriting(static_cast<std::uint32_t>((chars + 1) * sizeof(char16_t)))
        : nullptr;
    if (room == nullptr)
        throw std::bad_alloc();
    return room;
}

// Takes one name after the other off a text.
class Names {
public:
    explicit Names(std::u16string_view text) : at(text.data()), end(text.data() + text.size()) { }

    // The next name; empty at the end, and where there is none.
    std::u16string_view Next()
    {
        while (at != end && IsSeparator(*at))
            ++at;
        const char16_t* const begin = at;
        while (at != end && !endsName(*at))
            ++at;
        const std::size_t chars = static_cast<std::size_t>(at - begin);
        isLegal = (at == end || IsSeparator(*at)) && chars <= longestName;
        return {begin, isLegal ? chars : 0};
    }
    // Whether all that was taken so far were names.
    bool IsLegal() const { return isLegal; }
    std::u16string_view Rest() const { return {at, static_cast<std::size_t>(end - at)}; }

private:
    const char16_t* at;
    const char16_t* const end;
    bool isLegal = true;
};

// Grows a normalised path in a buffer that has room for all that can come.
class Builder {
public:
    explicit Builder(std::size_t chars) : end(MakeRoom(path, chars)) { }

    void Add(std::u16string_view piece) { end += piece.copy(end, piece.size()); }
    void EndRoot() { floor = end; }
    // Adds what the names say; false where they make no path.
    bool AddNames(std::u16string_view text)
    {
        Names names(text);
        for (std::u16string_view name = names.Next(); !name.empty(); name = names.Next()) {
            if (name == u"..") {
                if (!GoUp())
                    return false;
            } else if (name != u".") {
                *end++ = u'\\';
                Add(name);
            }
        }
        return names.IsLegal();
    }
    WideString Take()
    {
        *end = 0;
        return std::move(path);
    }

private:
    bool GoUp()
    {
        if (end == floor)
            return false;
        do
            --end;
        while (*end != u'\\');
        return true;
    }

    WideString path;
    char16_t* end;
    char16_t* floor = nullptr; // where the root ends
};

} // namespace

std::optional<WideString> NormalisePath(std::u16string_view text)
{
    if (IsNetwork(text)) {
        Names names(text);
        const std::u16string_view server = names.Next();
        const std::u16string_view share = server.empty() ? server : names.Next();
        if (share.empty())
            return {};
        Builder path(text.size());
        path.Add(u"\\\\");
        path.Add(server);
        path.Add(u"\\");
        path.Add(share);
        path.EndRoot();
        return path.AddNames(names.Rest()) ? std::optional(path.Take()) : std::nullopt;
    }
    if (IsOnDrive(text)) {
        Builder path(text.size() + 1); // C:a has a separator less
        const char16_t root[] = {static_cast<char16_t>(text[0] & ~0x20), u':'};
        path.Add({root, std::size(root)});
        path.EndRoot();
        return path.AddNames(text.substr(2)) ? std::optional(path.Take()) : std::nullopt;
    }
    const std::optional<WideString> folder = WorkingFolder();
    return folder ? NormaliseBelow(folder->c_str(), text) : std::nullopt;
}

std::optional<WideString> NormaliseBelow(std::u16string_view folder, std::u16string_view text)
{
    Builder path(folder.size() + 1 + text.size());
    const std::u16string_view root = RootOf(folder);
    path.Add(root);
    path.EndRoot();
    path.Add(folder.substr(root.size()));
    return path.AddNames(text) ? std::optional(path.Take()) : std::nullopt;
}

// The working folder may get a longer name between two calls.
std::optional<WideString> WorkingFolder()
{
    std::u16string name(260, u'\0');
    for (;;) {
        const std::uint32_t chars =
            Platform::GetFullPathNameW(u".", static_cast<std::uint32_t>(name.size()), name.data());
        const bool fits = chars < name.size();
        name.resize(chars);
        if (fits)
            break;
    }
    return IsOnDrive(name) || IsNetwork(name) ? NormalisePath(name) : std::nullopt;
}

std::u16string_view RootOf(std::u16string_view path) noexcept
{
    if (!IsNetwork(path))
        return path.substr(0, 2);
    const std::size_t share = path.find(u'\\', 2) + 1;
    return path.substr(0, path.find(u'\\', share));
}

std::size_t LastSeparator(std::u16string_view path) noexcept
{
    return RootOf(path).size() == path.size() ? path.npos : path.rfind(u'\\');
}

WideString Joined(std::u16string_view first, std::u16string_view second, std::u16string_view third)
{
    WideString joined;
    const std::size_t chars = first.size() + second.size() + third.size();
    if (chars == 0)
        return joined;
    char16_t* end = MakeRoom(joined, chars);
    for (const std::u16string_view piece : {first, second, third})
        end += piece.copy(end, piece.size());
    *end = 0;
    return joined;
}

} // namespace Io::Fs
