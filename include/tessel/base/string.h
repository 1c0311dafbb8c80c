// BaseString: the string of the system. One pointer wide, shared by reference count, copied before it is
// written through, and zeroed in memory when its last reference goes.
//
// The text is terminated and ends at its first terminator; its length is not stored, so whoever needs it
// often keeps it. Several strings that share a buffer may be used in several threads; one string object is
// for one thread at a time. Strings throw nothing: for want of memory a string becomes empty and the
// operation says so by a null result where it has one.
#pragma once

#include <tessel/base/printf_format.h>
#include <tessel/base/string_buffer.h>
#include <tessel/base/string_traits.h>

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdarg>
#include <cstring>
#include <utility>

template <class Traits>
class BaseString {
public:
    using Char = typename Traits::Char;
    using OtherChar = typename Traits::OtherChar;

    BaseString() noexcept : text(Traits::Empty()) { }
    // A copy of a terminated text; null is the empty text.
    BaseString(const Char* source) noexcept : BaseString() // NOLINT(google-explicit-constructor)
    {
        if (source != nullptr && *source != 0)
            Construct(source, Traits::Length(source));
    }
    // The other flavour's text, converted by code page 0; what cannot be converted becomes a substitute.
    explicit BaseString(const OtherChar* source) noexcept : BaseString() { *this = source; }
    // The characters from begin up to end; an empty or reversed range is the empty text.
    BaseString(const Char* begin, const Char* end) noexcept : BaseString()
    {
        if (begin < end)
            Construct(begin, static_cast<std::size_t>(end - begin));
    }
    BaseString(const BaseString& other) noexcept : text(other.text) { Header()->Share(); }
    BaseString(BaseString&& other) noexcept : text(std::exchange(other.text, Traits::Empty())) { }
    ~BaseString() { Header()->Release(); }

    BaseString& operator=(const BaseString& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
    {
        other.Header()->Share(); // before the release, for other may be this
        Header()->Release();
        text = other.text;
        return *this;
    }
    BaseString& operator=(BaseString&& other) noexcept
    {
        std::swap(text, other.text);
        return *this;
    }
    // These keep a private buffer that is large enough. The source may lie inside this string's own text.
    BaseString& operator=(const Char* source) noexcept;
    BaseString& operator=(const OtherChar* source) noexcept;

    // The terminated characters; valid until the string is changed or destroyed.
    const Char* c_str() const noexcept { return text; }
    bool IsEmpty() const noexcept { return *text == 0; }
    // Characters without terminator; counted anew at each call.
    std::size_t GetLength() const noexcept { return Traits::Length(text); }
    // Bytes of the text with its terminator; counted anew at each call.
    std::size_t GetSize() const noexcept { return (GetLength() + 1) * sizeof(Char); }
    // Bytes of the buffer, terminator included.
    std::uint32_t GetCapacity() const noexcept { return Header()->capacity; }

    // The empty text. A private buffer stays, with the old characters behind the first one in memory.
    void Clear() noexcept;

    // A private, writable buffer of at least so many bytes, terminator included: the only way to write into
    // a string. With `keep` the text stays, and `bytes` is at least its size or 0, which asks for exactly its
    // size. Without it the characters of a new buffer are undefined, and the caller writes them and the
    // terminator. Null for want of memory, and then the string is empty.
    Char* PrepareWriting(std::uint32_t bytes, bool keep) noexcept;
    // A first buffer for a string that has no text yet: as PrepareWriting without keeping.
    Char* CtorPrepareWriting(std::uint32_t bytes) noexcept;

    // Adds one character `count` times.
    BaseString& Append(Char character, std::size_t count = 1) noexcept;
    // The source may lie inside this string's own text.
    BaseString& operator+=(const Char* source) noexcept;
    BaseString& operator+=(const BaseString& source) noexcept { return *this += source.text; }
    friend BaseString operator+(BaseString left, const Char* right) noexcept
    {
        return std::move(left += right);
    }
    friend BaseString operator+(BaseString left, const BaseString& right) noexcept
    {
        return std::move(left += right);
    }

    // Replaces the text by a formatted one, into which the old text may go as an argument. A format that is
    // refused clears the string.
    template <class... Arguments>
    void Printf(Formatting::Format<Char, Char, std::type_identity_t<Arguments>...> format,
        const Arguments&... arguments) noexcept
    {
        PrintfRaw(format.text, Formatting::Passed(arguments)...);
    }
    template <class... Arguments>
    static BaseString FromPrintf(Formatting::Format<Char, Char, std::type_identity_t<Arguments>...> format,
        const Arguments&... arguments) noexcept
    {
        BaseString made;
        made.PrintfRaw(format.text, Formatting::Passed(arguments)...);
        return made;
    }
    // The same for a format that is known only at run time; nobody checks it against the arguments.
    void PrintfV(const Char* format, std::va_list list) noexcept;

    // Replaces the text by a message with inserts %1 to %99, by default texts of this flavour; %1!d! and the
    // like take numbers of at most 64 bits. The format must not ask for more inserts than there are
    // arguments, which nobody checks: a format is the program's own text. A null or empty format, or one that
    // cannot be carried out, clears the string.
    template <class... Arguments>
    void Format(const Char* format, const Arguments&... arguments) noexcept
    {
        static_assert(((Formatting::SlotOf<Arguments>() != Formatting::Slot::real
                           && Formatting::SlotOf<Arguments>() != Formatting::Slot::longReal
                           && Formatting::SlotOf<Arguments>() != Formatting::Slot::unusable)
                          && ...),
            "an insert is a text, a pointer or a whole number");
        FormatRaw(format, Formatting::Passed(arguments)...);
    }
    template <class... Arguments>
    static BaseString FromFormat(const Char* format, const Arguments&... arguments) noexcept
    {
        BaseString made;
        made.Format(format, arguments...);
        return made;
    }
    void FormatV(const Char* format, std::va_list list) noexcept;

    // The system's text for an error number behind an optional prefix; empty for a number without a text.
    void SystemError(std::uint32_t code, const Char* prefix = nullptr) noexcept;

    // The stored form: 4 bytes of zero for the empty text, else size, code page and the terminated text.
    std::uint32_t GetSerializedSize() const noexcept;
    // Lays the stored form down in a buffer of GetSerializedSize bytes (null: none) and returns its size.
    std::uint32_t Serialize(void* target) const noexcept;
    // Both for a text whose number of characters is known.
    static constexpr std::uint32_t GetSerializedSize(std::size_t length) noexcept
    {
        return length == 0 ? 4 : SizeOf(length) + 8;
    }
    static void SerializeText(void* target, const Char* source, std::size_t length) noexcept;
    // Takes a stored form of at most `available` bytes and returns how many it used; 0 where the bytes are no
    // stored text, cannot be converted, lack their terminator, or memory is out: the string is empty then.
    std::uint32_t Deserialize(const void* source, std::uint32_t available) noexcept;

    friend bool operator==(const BaseString& left, const BaseString& right) noexcept
    {
        return left.text == right.text || Traits::Compare(left.text, right.text) == 0;
    }
    friend bool operator==(const BaseString& left, const Char* right) noexcept
    {
        return Traits::Compare(left.text, right) == 0;
    }
    friend std::strong_ordering operator<=>(const BaseString& left, const BaseString& right) noexcept
    {
        return left.text == right.text ? std::strong_ordering::equal
                                       : Traits::Compare(left.text, right.text) <=> 0;
    }

private:
    StringHeader* Header() const noexcept { return reinterpret_cast<StringHeader*>(text) - 1; }

    // 16, 32, 64, 128, 256, then multiples of 256; 0 where that is beyond 32 bits.
    static constexpr std::uint32_t StepUp(std::uint32_t bytes) noexcept
    {
        return bytes <= 256 ? std::max(16U, std::bit_ceil(bytes)) : (bytes + 255U) & ~255U;
    }

    static constexpr bool FitsBuffer(std::size_t length) noexcept
    {
        return length < (0xFFFFFF00U - sizeof(Char)) / sizeof(Char);
    }
    static constexpr std::uint32_t SizeOf(std::size_t length) noexcept
    {
        return static_cast<std::uint32_t>((length + 1) * sizeof(Char));
    }

    void Construct(const Char* source, std::size_t length) noexcept;
    Char* Adopt(StringHeader* header) noexcept;
    void PrintfRaw(const Char* format, ...) noexcept;
    void FormatRaw(const Char* format, ...) noexcept;
    void Take(const Char* source, std::size_t length, std::uint32_t firstSize) noexcept;

    Char* text; // behind a StringHeader; never null
};

using WideString = BaseString<WcsTraits>;
using NarrowString = BaseString<SbcsTraits>;
static_assert(sizeof(WideString) == sizeof(void*));

template <class Traits>
void BaseString<Traits>::Construct(const Char* source, std::size_t length) noexcept
{
    if (!FitsBuffer(length) || CtorPrepareWriting(SizeOf(length)) == nullptr)
        return;
    std::memcpy(text, source, length * sizeof(Char));
    text[length] = 0;
}

// A null header is an allocation that failed. Returns what the caller may write into.
template <class Traits>
auto BaseString<Traits>::Adopt(StringHeader* header) noexcept -> Char*
{
    Header()->Release();
    text = header != nullptr ? static_cast<Char*>(header->Characters()) : Traits::Empty();
    return header != nullptr ? text : nullptr;
}

template <class Traits>
auto BaseString<Traits>::PrepareWriting(std::uint32_t bytes, bool keep) noexcept -> Char*
{
    StringHeader* const old = Header();
    if (bytes <= old->capacity && !old->IsShared())
        return text;
    // The text fits 32 bits, for it stands in a buffer that does.
    const std::uint32_t size = keep || bytes == 0 ? static_cast<std::uint32_t>(GetSize()) : 0;
    const std::uint32_t capacity = bytes == 0 ? size : StepUp(std::max(bytes, size));
    StringHeader* const fresh = capacity != 0 ? StringHeader::Allocate(capacity) : nullptr;
    if (fresh != nullptr && keep)
        std::memcpy(fresh->Characters(), text, size);
    return Adopt(fresh);
}

template <class Traits>
auto BaseString<Traits>::CtorPrepareWriting(std::uint32_t bytes) noexcept -> Char*
{
    const std::uint32_t capacity = StepUp(bytes);
    return Adopt(capacity != 0 ? StringHeader::Allocate(capacity) : nullptr);
}

template <class Traits>
void BaseString<Traits>::Clear() noexcept
{
    if (IsEmpty())
        return;
    if (Header()->IsShared())
        *this = BaseString();
    else
        *text = 0;
}

// The one way in which a finished text comes in: `firstSize` is the least size that is asked for. The source
// may lie in the present buffer, as this moves within it or keeps it until the copy is made.
template <class Traits>
void BaseString<Traits>::Take(const Char* source, std::size_t length, std::uint32_t firstSize) noexcept
{
    const std::uint32_t size = FitsBuffer(length) ? std::max(SizeOf(length), firstSize) : 0xFFFFFFFF;
    if (size > GetCapacity() || Header()->IsShared()) {
        BaseString fresh;
        if (fresh.CtorPrepareWriting(size) != nullptr)
            fresh.Take(source, length, 0);
        *this = std::move(fresh);
        return;
    }
    std::memmove(text, source, length * sizeof(Char));
    text[length] = 0;
}

template <class Traits>
BaseString<Traits>& BaseString<Traits>::operator=(const Char* source) noexcept
{
    if (source == nullptr || *source == 0)
        Clear();
    else
        Take(source, Traits::Length(source), 0);
    return *this;
}

template <class Traits>
BaseString<Traits>& BaseString<Traits>::operator=(const OtherChar* source) noexcept
{
    if (source == nullptr || *source == 0) {
        Clear();
        return *this;
    }
    const std::size_t length = Traits::ConvertedLength(source);
    if (PrepareWriting(FitsBuffer(length) ? SizeOf(length) : 0xFFFFFFFF, false) == nullptr)
        return *this;
    Traits::Convert(text, length, source);
    text[length] = 0;
    return *this;
}

template <class Traits>
BaseString<Traits>& BaseString<Traits>::Append(Char character, std::size_t count) noexcept
{
    const std::size_t length = GetLength();
    if (character == 0 || count == 0)
        return *this;
    const bool fits = FitsBuffer(count) && FitsBuffer(length + count);
    if (PrepareWriting(fits ? SizeOf(length + count) : 0xFFFFFFFF, true) == nullptr)
        return *this;
    std::fill_n(text + length, count, character);
    text[length + count] = 0;
    return *this;
}

template <class Traits>
BaseString<Traits>& BaseString<Traits>::operator+=(const Char* source) noexcept
{
    if (source == nullptr || *source == 0)
        return *this;
    const std::size_t length = GetLength();
    const std::size_t added = Traits::Length(source);
    const std::size_t offset = static_cast<std::size_t>(source - text);
    const bool own = source >= text && offset <= length;
    if (PrepareWriting(FitsBuffer(length + added) ? SizeOf(length + added) : 0xFFFFFFFF, true) == nullptr)
        return *this;
    std::memcpy(text + length, own ? text + offset : source, added * sizeof(Char));
    text[length + added] = 0;
    return *this;
}

template <class Traits>
void BaseString<Traits>::PrintfRaw(const Char* format, ...) noexcept
{
    std::va_list list;
    va_start(list, format);
    PrintfV(format, list);
    va_end(list);
}

template <class Traits>
void BaseString<Traits>::FormatRaw(const Char* format, ...) noexcept
{
    std::va_list list;
    va_start(list, format);
    FormatV(format, list);
    va_end(list);
}

template <class Traits>
void BaseString<Traits>::PrintfV(const Char* format, std::va_list list) noexcept
{
    if (format == nullptr || *format == 0)
        return Clear();
    const std::size_t formatLength = Traits::Length(format);
    const std::uint32_t firstSize = FitsBuffer(formatLength) ? SizeOf(formatLength) : 0xFFFFFFFF;
    constexpr std::uint32_t onStack = 256;
    Char first[onStack];
    std::va_list copy;
    va_copy(copy, list);
    const int length = Traits::FormatPrintf(first, onStack, format, copy);
    va_end(copy);
    if (length < 0)
        return Clear();
    if (static_cast<std::uint32_t>(length) < onStack)
        return Take(first, static_cast<std::size_t>(length), firstSize);
    BaseString fresh; // not in place: an argument may be this text
    const std::uint32_t size =
        FitsBuffer(static_cast<std::size_t>(length)) ? SizeOf(static_cast<std::size_t>(length)) : 0xFFFFFFFF;
    if (Char* const target = fresh.CtorPrepareWriting(std::max(size, firstSize)))
        Traits::FormatPrintf(target, static_cast<std::uint32_t>(length) + 1, format, list);
    *this = std::move(fresh);
}

template <class Traits>
void BaseString<Traits>::FormatV(const Char* format, std::va_list list) noexcept
{
    if (format == nullptr || *format == 0)
        return Clear();
    const std::size_t firstLength = Traits::Length(format) * 4 / sizeof(Char);
    const std::uint32_t firstSize = FitsBuffer(firstLength) ? SizeOf(firstLength) : 0xFFFFFFFF;
    Char first[256];
    std::va_list copy;
    va_copy(copy, list);
    const int result = Traits::FormatMessageV(first, format, sizeof(first), copy);
    va_end(copy);
    if (result == 1)
        return Take(first, Traits::Length(first), firstSize);
    if (result < 0)
        return Clear();
    va_copy(copy, list);
    const std::uint32_t size = Traits::FormatMessageSize(format, copy);
    va_end(copy);
    BaseString fresh; // not in place: an insert may be this text
    Char* const target = size != 0 ? fresh.CtorPrepareWriting(std::max(size, firstSize)) : nullptr;
    if (target != nullptr && Traits::FormatMessageV(target, format, fresh.GetCapacity(), list) != 1)
        *target = 0;
    *this = std::move(fresh);
}

template <class Traits>
void BaseString<Traits>::SystemError(std::uint32_t code, const Char* prefix) noexcept
{
    const std::size_t length = prefix != nullptr ? Traits::Length(prefix) : 0;
    if (!FitsBuffer(length + 64))
        return Clear();
    BaseString fresh; // not in place: the prefix may be this text
    std::uint32_t size = static_cast<std::uint32_t>(length * sizeof(Char)) + 64;
    for (;;) {
        Char* const target = fresh.PrepareWriting(size, false);
        if (target == nullptr)
            break;
        const std::uint32_t room = fresh.GetCapacity() - static_cast<std::uint32_t>(length * sizeof(Char));
        const int result = Traits::SystemError(target + length, code, room);
        if (result == 1) {
            if (length != 0)
                std::memcpy(target, prefix, length * sizeof(Char));
            break;
        }
        *target = 0;
        if (result < 0)
            break;
        size = fresh.GetCapacity() + 2;
    }
    *this = std::move(fresh);
}

template <class Traits>
std::uint32_t BaseString<Traits>::GetSerializedSize() const noexcept
{
    return GetSerializedSize(GetLength());
}

template <class Traits>
std::uint32_t BaseString<Traits>::Serialize(void* target) const noexcept
{
    const std::size_t length = GetLength();
    if (target != nullptr)
        SerializeText(target, text, length);
    return GetSerializedSize(length);
}

template <class Traits>
void BaseString<Traits>::SerializeText(void* target, const Char* source, std::size_t length) noexcept
{
    auto* const bytes = static_cast<unsigned char*>(target);
    const std::uint32_t size = length == 0 ? 0 : SizeOf(length);
    const std::uint32_t page = Traits::codePage;
    std::memcpy(bytes, &size, 4);
    if (size == 0)
        return;
    std::memcpy(bytes + 4, &page, 4);
    std::memcpy(bytes + 8, source, size);
}

template <class Traits>
std::uint32_t BaseString<Traits>::Deserialize(const void* source, std::uint32_t available) noexcept
{
    const auto swapped = [](std::uint32_t number) { return __builtin_bswap32(number); };
    const auto* const bytes = static_cast<const unsigned char*>(source);
    std::uint32_t size = 0;
    std::uint32_t page = 0;
    Clear();
    if (available < 4)
        return 0;
    std::memcpy(&size, bytes, 4);
    if (size == 0)
        return 4;
    if (available < 8)
        return 0;
    std::memcpy(&page, bytes + 4, 4);
    if (page > 0xFFFF) { // a writer of the other byte order: its two numbers are turned, its text is not
        page = swapped(page);
        size = swapped(size);
    }
    if (size > 0xFFFFFFF7 || size + 8 > available)
        return 0;
    const std::uint32_t needed = Traits::GetSerializedSize(bytes + 8, page, Traits::codePage, size);
    if (needed == 0 || PrepareWriting(needed, false) == nullptr)
        return 0;
    Traits::SerializeFrom(text, bytes + 8, page, Traits::codePage, needed);
    // Where a conversion failed for want of memory the text is empty although one was announced. Text that is
    // taken as it stands is copied, and may well end long before its buffer does.
    const bool isConverted = (page == WcsTraits::codePage) != (Traits::codePage == WcsTraits::codePage);
    return isConverted && needed > sizeof(Char) && IsEmpty() ? 0 : size + 8;
}
