// The code pages that the C library's iconv converts. A descriptor lives for one call: opening one is
// cheap once its converter is loaded, and it holds state that no two threads may share.
#include "platform/linux/seam.h"
#include "platform/linux/text/code_page.h"
#include "platform/linux/text/utf_scalar.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iconv.h>
#include <iterator>

namespace Platform::CodePages {

namespace {

constexpr const char* wideName = "UTF-16LE";
constexpr char16_t replacement[] = {0xFFFD};

struct PageName {
    std::uint32_t codePage;
    const char* name;
};

// Code pages that iconv knows, but not as CP and their number.
constexpr PageName names[] = {
    {708, "ASMO-708"},
    {10000, "MACINTOSH"},
    {20127, "ASCII"},
    {20866, "KOI8-R"},
    {20932, "EUC-JP"},
    {21866, "KOI8-U"},
    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28603, "ISO-8859-13"},
    {28605, "ISO-8859-15"},
    {50220, "ISO-2022-JP"},
    {50225, "ISO-2022-KR"},
    {51932, "EUC-JP"},
    {51936, "EUC-CN"},
    {51949, "EUC-KR"},
    {54936, "GB18030"},
    {65000, "UTF-7"},
};

class Converter {
public:
    Converter(const char* to, const char* from) noexcept
        : descriptor(Seam::Guarded(none, [=] { return iconv_open(to, from); })),
          failure(descriptor != none ? Outcome::Done
                  : errno == EINVAL  ? Outcome::Unknown
                                     : Outcome::NoMemory)
    {
    }
    ~Converter()
    {
        if (descriptor != none)
            iconv_close(descriptor);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Done, or why there is no converter.
    Outcome Opening() const noexcept { return failure; }
    bool Step(char** source, std::size_t* sourceLeft, char** target, std::size_t* targetLeft) noexcept
    {
        return iconv(descriptor, source, sourceLeft, target, targetLeft) != static_cast<std::size_t>(-1);
    }

private:
    static inline const auto none = reinterpret_cast<iconv_t>(-1);
    iconv_t descriptor;
    Outcome failure;
};

struct Name {
    char text[16];
};

Name NameOf(std::uint32_t codePage) noexcept
{
    Name name{};
    const auto* const found = std::find_if(
        std::begin(names), std::end(names), [codePage](const PageName& n) { return n.codePage == codePage; });
    if (found != std::end(names))
        std::strncpy(name.text, found->name, sizeof(name.text) - 1);
    else
        std::snprintf(name.text, sizeof(name.text), "CP%03u", codePage);
    return name;
}

// Collects what the converter gives in a block of its own, so that measuring and writing are one road.
class Collector {
public:
    Collector(void* start, std::size_t capacityBytes) noexcept
        : target(static_cast<char*>(start)), capacity(capacityBytes)
    {
    }

    char* Block() noexcept { return block; }
    static constexpr std::size_t BlockSize() noexcept { return blockSize; }
    // Takes over what the block holds up to `end`; false if the target is full.
    bool Take(const char* end) noexcept
    {
        const auto bytes = static_cast<std::size_t>(end - block);
        if (target != nullptr) {
            if (bytes > capacity - written)
                return false;
            std::memcpy(target + written, block, bytes);
        }
        written += bytes;
        return true;
    }
    std::size_t Written() const noexcept { return written; }

private:
    static constexpr std::size_t blockSize = 1024;
    char* target;
    std::size_t capacity;
    std::size_t written = 0;
    char block[blockSize]{};
};

// Runs the converter until it stands still; true when all of the source went through. iconv wants a
// source that it may change, but never does.
bool Run(
    Converter& converter, const char** source, std::size_t* left, Collector& collector, bool* full) noexcept
{
    for (;;) {
        char* next = collector.Block();
        std::size_t room = Collector::BlockSize();
        const bool through = converter.Step(const_cast<char**>(source), left, &next, &room);
        const int why = errno;
        *full = !collector.Take(next);
        if (through || *full || why != E2BIG)
            return through;
    }
}

// Bytes that begin a wrong character; with one a step, iconv finds the next good place by itself.
std::size_t WrongLength(const char*, std::size_t, char) noexcept
{
    return 1;
}
std::size_t WrongLength(const char* source, std::size_t left, char16_t) noexcept
{
    char16_t units[2]{};
    std::memcpy(units, source, std::min(left, sizeof(units)));
    return sizeof(char16_t) * Utf::Decode(units, left / sizeof(char16_t)).length;
}

template <class From, class To>
Conversion Convert(Converter& converter, const From* start, std::size_t count, Target<To> target,
    const char* substitute, std::size_t substituteBytes) noexcept
{
    if (converter.Opening() != Outcome::Done)
        return {converter.Opening(), 0};
    Collector collector(target.start, target.capacity * sizeof(To));
    const char* source = reinterpret_cast<const char*>(start);
    std::size_t left = count * sizeof(From);
    bool full = false;
    while (!Run(converter, &source, &left, collector, &full) && !full) {
        if (target.strict)
            return {Outcome::Untranslatable, 0};
        const std::size_t wrong = std::min(left, WrongLength(source, left, From{}));
        source += wrong;
        left -= wrong;
        if (sizeof(To) == sizeof(char16_t)) {
            std::memcpy(collector.Block(), substitute, substituteBytes);
            full = !collector.Take(collector.Block() + substituteBytes);
        } else {
            const char* text = substitute; // through the converter: it may be in another shift state
            std::size_t textLeft = substituteBytes;
            Run(converter, &text, &textLeft, collector, &full);
        }
        if (full)
            break;
    }
    if (!full)
        Run(converter, nullptr, nullptr, collector, &full); // back to the initial shift state
    if (full)
        return {Outcome::TooSmall, 0};
    return {Outcome::Done, collector.Written() / sizeof(To)};
}

} // namespace

bool IsLibraryPage(std::uint32_t codePage) noexcept
{
    const Name name = NameOf(codePage);
    return Converter(wideName, name.text).Opening() == Outcome::Done
        && Converter(name.text, wideName).Opening() == Outcome::Done;
}

Conversion FromLibraryPage(std::uint32_t codePage, Bytes source, Target<char16_t> target) noexcept
{
    Converter converter(wideName, NameOf(codePage).text);
    return Convert(converter, source.start, source.count, target, reinterpret_cast<const char*>(replacement),
        sizeof(replacement));
}

Conversion ToLibraryPage(std::uint32_t codePage, Chars source, Target<char> target) noexcept
{
    static constexpr char16_t questionMark[] = {u'?'};
    Converter converter(NameOf(codePage).text, wideName);
    return Convert(converter, source.start, source.count, target, reinterpret_cast<const char*>(questionMark),
        sizeof(questionMark));
}

} // namespace Platform::CodePages
