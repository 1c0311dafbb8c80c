#include "platform/linux/registry/file_name.h"

#include "platform/linux/registry/sha256.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace Platform::Registry {

namespace {

constexpr char valueMark = '=';
constexpr std::string_view digestMark = "%~";
constexpr std::size_t nothing = ~std::size_t{0};

constexpr bool IsHigh(char16_t unit)
{
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLow(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Bytes with an end that is never overrun; what does not fit is told at the end.
class ByteWriter {
public:
    ByteWriter(char* bytes, std::size_t capacity) noexcept : start(bytes), room(capacity) { }

    void Add(char byte) noexcept
    {
        if (used < room)
            start[used] = byte;
        ++used;
    }
    void AddHex(unsigned value, int digits) noexcept
    {
        for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
            Add("0123456789abcdef"[value >> shift & 15]);
    }
    void AddUtf8(char32_t character) noexcept
    {
        if (character < 0x80) {
            Add(static_cast<char>(character));
            return;
        }
        const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
        Add(static_cast<char>(0xF80 >> more | character >> 6 * more));
        for (int left = more - 1; left >= 0; --left)
            Add(static_cast<char>(0x80 | (character >> 6 * left & 0x3F)));
    }
    // The bytes written; `nothing` if they did not fit.
    std::size_t Finish() const noexcept { return used <= room ? used : nothing; }

private:
    char* start;
    std::size_t room;
    std::size_t used = 0;
};

bool NeedsEscape(char16_t unit, bool first)
{
    return unit < 0x20 || unit == 0x7F || unit == u'/' || unit == u'%' || (first && unit == u'.');
}

void Encode(std::u16string_view name, bool fold, ByteWriter& out) noexcept
{
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char16_t unit = fold ? ToLower(name[i]) : name[i];
        if (NeedsEscape(unit, i == 0)) {
            out.Add('%');
            out.AddHex(unit, 2);
        } else if (IsHigh(unit) && i + 1 < name.size() && IsLow(name[i + 1])) {
            out.AddUtf8(0x10000 + (char32_t{unit} - 0xD800) * 0x400 + (name[++i] - 0xDC00U));
        } else if (IsHigh(unit) || IsLow(unit)) {
            out.Add('%');
            out.Add('u');
            out.AddHex(unit, 4);
        } else {
            out.AddUtf8(unit);
        }
    }
}

void EncodeDigest(std::u16string_view name, ByteWriter& out) noexcept
{
    Sha256 hash;
    for (const char16_t unit : name) {
        const char16_t folded = ToLower(unit);
        hash.Add(static_cast<std::uint8_t>(folded));
        hash.Add(static_cast<std::uint8_t>(folded >> 8));
    }
    for (const char mark : digestMark)
        out.Add(mark);
    out.AddHex(static_cast<unsigned>(name.size()), 4);
    for (const std::uint8_t byte : hash.Finish())
        out.AddHex(byte, 2);
}

FileName MakeFileName(std::u16string_view name, std::size_t markChars) noexcept
{
    FileName made;
    std::memset(made.text, valueMark, markChars);
    char* const start = made.text + markChars;
    const std::size_t room = longestFileName - markChars;
    ByteWriter plain(start, room);
    Encode(name, true, plain);
    std::size_t length = plain.Finish();
    if (length == nothing) {
        ByteWriter digest(start, room);
        EncodeDigest(name, digest);
        length = digest.Finish();
    }
    start[length] = '\0';
    return made;
}

bool HexValue(std::string_view digits, unsigned& value)
{
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return error == std::errc{} && end == digits.data() + digits.size();
}

// Takes one escape, behind its '%'.
bool DecodeEscape(std::string_view& rest, char16_t& unit)
{
    const bool wide = rest.starts_with('u');
    const std::size_t digits = wide ? 4 : 2;
    unsigned value = 0;
    if (rest.size() < digits + wide || !HexValue(rest.substr(wide, digits), value))
        return false;
    rest.remove_prefix(digits + wide);
    unit = static_cast<char16_t>(value);
    return true;
}

// The chars of an encoded text; what is not encoded as Encode does it may come out as anything. With no
// `target` they are only counted. `nothing` if it is no encoding or has more than `capacity` chars.
std::size_t Decode(std::string_view text, char16_t* target, std::size_t capacity) noexcept
{
    std::size_t chars = 0;
    while (!text.empty()) {
        if (text.front() == '%') {
            text.remove_prefix(1);
            char16_t unit = 0;
            if (chars == capacity || !DecodeEscape(text, unit))
                return nothing;
            if (target)
                target[chars] = unit;
            ++chars;
            continue;
        }
        const std::string_view plain = text.substr(0, text.find('%'));
        const std::size_t length = Utf8ToUtf16Length(plain.data(), plain.size());
        if (length > capacity - chars)
            return nothing;
        if (target)
            Utf8ToUtf16(plain.data(), plain.size(), target + chars, length);
        chars += length;
        text.remove_prefix(plain.size());
    }
    return chars;
}

std::size_t CharsOf(std::string_view encoded) noexcept
{
    unsigned value = 0;
    if (!encoded.starts_with(digestMark))
        return Decode(encoded, nullptr, valueNameLimit);
    return HexValue(encoded.substr(digestMark.size(), 4), value) ? value : nothing;
}

std::string_view BehindMark(std::string_view fileName)
{
    return fileName.substr(1);
}

} // namespace

FileName FileNameOfKey(std::u16string_view name) noexcept
{
    return MakeFileName(name, 0);
}

FileName FileNameOfValue(std::u16string_view name) noexcept
{
    return MakeFileName(name, 1);
}

bool IsFileNameOfKey(std::string_view fileName) noexcept
{
    return !fileName.empty() && fileName.front() != '.' && CharsOf(fileName) <= keyNameLimit;
}

bool IsFileNameOfValue(std::string_view fileName) noexcept
{
    return fileName.starts_with(valueMark) && CharsOf(BehindMark(fileName)) <= valueNameLimit;
}

std::size_t CharsOfKey(std::string_view fileName) noexcept
{
    return CharsOf(fileName);
}

std::size_t CharsOfValue(std::string_view fileName) noexcept
{
    return CharsOf(BehindMark(fileName));
}

bool IsDigest(const FileName& keyFolder) noexcept
{
    return std::string_view(keyFolder.text).starts_with(digestMark);
}

NameText TextOfName(std::u16string_view name) noexcept
{
    NameText made;
    ByteWriter text(made.text, longestNameText);
    Encode(name, false, text);
    made.text[text.Finish()] = '\0';
    return made;
}

std::u16string_view NameInText(std::string_view text, char16_t* room) noexcept
{
    const std::size_t chars = Decode(text, room, keyNameLimit);
    if (chars == nothing)
        return {};
    const std::u16string_view name(room, chars);
    // A name has one text and no other.
    return TextOfName(name).text == text ? name : std::u16string_view();
}

bool EqualNames(std::u16string_view left, std::u16string_view right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
        [](char16_t one, char16_t other) { return ToLower(one) == ToLower(other); });
}

std::uint64_t HashOfName(std::u16string_view name) noexcept
{
    std::uint64_t hash = 0xCBF29CE484222325 + name.size();
    for (const char16_t unit : name)
        hash = (hash ^ ToLower(unit)) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
}

} // namespace Platform::Registry
