#include "platform/linux/text/printf.h"

#include "platform/linux/text/utf.h"
#include "platform/linux/text/utf_scalar.h"
#include "platform/linux/text/wide.h"
#include "platform/text.h"

#include <algorithm>
#include <iterator>

namespace Platform {

namespace Printf {

namespace {

template <class Char>
bool IsDigit(Char unit) noexcept
{
    return unit >= '0' && unit <= '9';
}

// Digits, perhaps none; false if the number is no int.
template <class Char>
bool ReadNumber(const Char*& format, std::uint32_t& number) noexcept
{
    std::uint64_t value = 0;
    for (; IsDigit(*format); ++format) {
        value = value * 10 + static_cast<unsigned>(*format - '0');
        if (value > INT_MAX)
            return false;
    }
    number = static_cast<std::uint32_t>(value);
    return true;
}

template <class Char>
const Char* ReadFlags(const Char* format, Conversion& conversion) noexcept
{
    for (;; ++format) {
        switch (*format) {
        case '-':
            conversion.left = true;
            break;
        case '+':
            conversion.plus = true;
            break;
        case ' ':
            conversion.blank = true;
            break;
        case '0':
            conversion.zero = true;
            break;
        case '#':
            conversion.alternative = true;
            break;
        default:
            return format;
        }
    }
}

template <class Char>
bool ReadWidth(const Char*& format, Conversion& conversion, Arguments& arguments) noexcept
{
    if (*format != '*')
        return ReadNumber(format, conversion.width);
    ++format;
    const std::int64_t width = arguments.Int();
    conversion.left |= width < 0;
    conversion.width = static_cast<std::uint32_t>(width < 0 ? -width : width);
    return true;
}

template <class Char>
bool ReadPrecision(const Char*& format, Conversion& conversion, Arguments& arguments) noexcept
{
    if (*format != '.')
        return true;
    ++format;
    if (*format == '*') {
        ++format;
        conversion.precision = arguments.Int();
        return true;
    }
    std::uint32_t precision = 0;
    const bool isInt = ReadNumber(format, precision);
    conversion.precision = static_cast<std::int32_t>(precision);
    return isInt;
}

template <class Char>
Size ReadSize(const Char*& format) noexcept
{
    const auto take = [&format](int units, Size size) {
        format += units;
        return size;
    };
    switch (*format) {
    case 'h':
        return format[1] == 'h' ? take(2, Size::Byte) : take(1, Size::Short);
    case 'l':
        return format[1] == 'l' ? take(2, Size::Quad) : take(1, Size::Long);
    case 'I':
        if (format[1] == '3' && format[2] == '2')
            return take(3, Size::Long);
        return format[1] == '6' && format[2] == '4' ? take(3, Size::Quad) : take(1, Size::Quad);
    case 'j':
    case 'z':
    case 't':
        return take(1, Size::Quad);
    case 'w':
        return take(1, Size::Wide);
    case 'L':
        return take(1, Size::LongDouble);
    default:
        return Size::Default;
    }
}

// Whether the argument of %c, %s and their like is wide, in a format of chars of `ownBytes`.
bool TakesWideText(const Conversion& conversion, std::size_t ownBytes) noexcept
{
    switch (conversion.size) {
    case Size::Byte:
    case Size::Short:
        return false;
    case Size::Long:
    case Size::Wide:
        return true;
    default:
        break;
    }
    if (conversion.type == 'Z')
        return false;
    const bool isOwnWidth = conversion.type == 's' || conversion.type == 'c';
    return isOwnWidth == (ownBytes == sizeof(char16_t));
}

// ---- Texts. Each has a start and a length in its own units.

template <class Unit>
struct Text {
    const Unit* start;
    std::size_t length;
    bool isCut = false; // by the precision: the last character may be incomplete
};

// The length of a text of which no more than `limit` units may be read.
std::size_t BoundedLength(const char* text, std::size_t limit) noexcept
{
    const void* const end = std::memchr(text, 0, limit);
    return end == nullptr ? limit : static_cast<std::size_t>(static_cast<const char*>(end) - text);
}
std::size_t BoundedLength(const char16_t* text, std::size_t limit) noexcept
{
    std::size_t length = 0;
    while (length < limit && text[length] != u'\0')
        ++length;
    return length;
}

std::size_t Length(const char* text) noexcept
{
    return std::strlen(text);
}
std::size_t Length(const char16_t* text) noexcept
{
    return wcslen(text);
}

// The length without a character at the end of which only a part is there.
std::size_t WholeCharacters(const char* text, std::size_t length) noexcept
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    std::size_t last = length;
    for (int back = 0; back < 3 && last > 0; ++back) {
        --last;
        if (Utf::IsContinuation(bytes[last]))
            continue;
        const Utf::Character character = Utf::Decode(bytes + last, length - last);
        const bool isLead = bytes[last] >= 0xC2 && bytes[last] <= 0xF4;
        const bool isPart = isLead && !character.valid && last + character.length == length;
        return isPart ? last : length;
    }
    return length;
}
std::size_t WholeCharacters(const char16_t* text, std::size_t length) noexcept
{
    return length > 0 && Utf::IsHighSurrogate(text[length - 1]) ? length - 1 : length;
}

template <class Unit>
Text<Unit> TextArgument(const Conversion& conversion, const Unit* text) noexcept
{
    static constexpr Unit null[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    if (text == nullptr)
        text = null;
    if (!conversion.HasPrecision())
        return {text, Length(text)};
    const auto limit = static_cast<std::size_t>(conversion.precision);
    const std::size_t length = BoundedLength(text, limit);
    return {text, length, length == limit};
}

template <class Unit>
Text<Unit> CountedTextArgument(const Conversion& conversion, const void* argument) noexcept
{
    const auto* const counted = static_cast<const COUNTED_STRING*>(argument);
    if (counted == nullptr || counted->buffer == nullptr)
        return TextArgument<Unit>(conversion, nullptr);
    const std::size_t length = counted->length / sizeof(Unit);
    const auto limit = static_cast<std::size_t>(std::max(conversion.precision, 0));
    const bool isCut = conversion.HasPrecision() && limit < length;
    return {static_cast<const Unit*>(counted->buffer), isCut ? limit : length, isCut};
}

// Text of the output's own width goes through as it is.
template <class Char>
void WriteText(Output<Char>& output, const Conversion& conversion, Text<Char> text) noexcept
{
    const std::uint64_t padding = conversion.width > text.length ? conversion.width - text.length : 0;
    if (!conversion.left)
        output.Fill(conversion.zero ? '0' : ' ', padding);
    output.Write(text.start, text.length);
    if (conversion.left)
        output.Fill(' ', padding);
}

Utf::Conversion Convert(Text<char> text, char16_t* target, std::size_t capacity) noexcept
{
    return Utf::ToUtf16(text.start, text.length, target, capacity);
}
Utf::Conversion Convert(Text<char16_t> text, char* target, std::size_t capacity) noexcept
{
    return Utf::ToUtf8(text.start, text.length, target, capacity);
}
std::size_t ConvertedLength(Text<char> text) noexcept
{
    return Utf8ToUtf16Length(text.start, text.length);
}
std::size_t ConvertedLength(Text<char16_t> text) noexcept
{
    return Utf16ToUtf8Length(text.start, text.length);
}

// Text of the other width is converted piece by piece.
template <class Char, class Other>
void WriteOtherText(Output<Char>& output, const Conversion& conversion, Text<Other> text) noexcept
{
    if (text.isCut)
        text.length = WholeCharacters(text.start, text.length);
    const std::size_t length = conversion.width > 0 ? ConvertedLength(text) : 0;
    const std::uint64_t padding = conversion.width > length ? conversion.width - length : 0;
    if (!conversion.left)
        output.Fill(conversion.zero ? '0' : ' ', padding);
    while (text.length > 0) {
        Char piece[256];
        const Utf::Conversion done = Convert(text, piece, std::size(piece));
        output.Write(piece, done.written);
        text.start += done.read;
        text.length -= done.read;
    }
    if (conversion.left)
        output.Fill(' ', padding);
}

template <class Char, class Unit>
void WriteEitherText(Output<Char>& output, const Conversion& conversion, Text<Unit> text) noexcept
{
    if constexpr (sizeof(Char) == sizeof(Unit))
        WriteText(output, conversion, text);
    else
        WriteOtherText(output, conversion, text);
}

// %c, %s, %Z with an argument made of Units.
template <class Unit, class Char>
void WriteTextArgument(Output<Char>& output, const Conversion& conversion, Arguments& arguments) noexcept
{
    if (conversion.type == 'c' || conversion.type == 'C') {
        const Unit unit = static_cast<Unit>(arguments.Int());
        WriteEitherText(output, conversion, Text<Unit>{&unit, 1});
    } else if (conversion.type == 'Z') {
        WriteEitherText(output, conversion, CountedTextArgument<Unit>(conversion, arguments.Pointer()));
    } else {
        WriteEitherText(
            output, conversion, TextArgument(conversion, static_cast<const Unit*>(arguments.Pointer())));
    }
}

template <class Char>
void WriteNumber(Output<Char>& output, const Conversion& conversion, const NumberText& number) noexcept
{
    const std::uint64_t length = number.signLength + number.leadingZeros + number.digitsLength
        + number.trailingZeros + number.suffixLength;
    const std::uint64_t padding = conversion.width > length ? conversion.width - length : 0;
    const bool withZeros = conversion.zero && !conversion.left && number.mayLeadWithZeros;
    if (!conversion.left && !withZeros)
        output.Fill(' ', padding);
    output.WriteAscii(number.sign, number.signLength);
    output.Fill('0', number.leadingZeros + (withZeros ? padding : 0));
    output.WriteAscii(number.digits, number.digitsLength);
    output.Fill('0', number.trailingZeros);
    output.WriteAscii(number.suffix, number.suffixLength);
    if (conversion.left)
        output.Fill(' ', padding);
}

const char* FindPercent(const char* format) noexcept
{
    return strchrnul(format, '%');
}
const char16_t* FindPercent(const char16_t* format) noexcept
{
    return FindOrEnd(format, u'%');
}

// Often there is none: conversions stand at the start, at the end and side by side.
template <class Char>
const Char* EndOfPlainText(const Char* format) noexcept
{
    return *format == '%' || *format == '\0' ? format : FindPercent(format);
}

template <class Char>
bool FormatAll(Output<Char>& output, const Char* format, Arguments& arguments) noexcept
{
    for (;;) {
        const Char* const plainEnd = EndOfPlainText(format);
        output.Write(format, static_cast<std::size_t>(plainEnd - format));
        if (*plainEnd == '\0')
            return true;
        format = plainEnd + 1;
        if (*format == '%') {
            output.Put('%');
            ++format;
            continue;
        }
        Conversion conversion;
        format = ReadConversion(format, conversion, arguments);
        if (format == nullptr)
            return false;
        WriteConversion(output, conversion, arguments);
    }
}

template <class Char>
int Format(Char* buffer, std::size_t capacity, const Char* format, Arguments& arguments) noexcept
{
    Output<Char> output(buffer, capacity);
    const int length = FormatAll(output, format, arguments) ? output.Finish() : -1;
    if (length < 0 && capacity > 0)
        *buffer = Char{};
    return length;
}

} // namespace

template <class Char>
const Char* ReadConversion(const Char* format, Conversion& conversion, Arguments& arguments) noexcept
{
    format = ReadFlags(format, conversion);
    if (!ReadWidth(format, conversion, arguments) || !ReadPrecision(format, conversion, arguments))
        return nullptr;
    conversion.size = ReadSize(format);
    conversion.kind = KindOf(*format);
    conversion.type = static_cast<char>(*format);
    return conversion.kind == Kind::None ? nullptr : format + 1;
}

template <class Char>
void WriteConversion(Output<Char>& output, const Conversion& conversion, Arguments& arguments) noexcept
{
    if (conversion.kind == Kind::Text) {
        if (TakesWideText(conversion, sizeof(Char)))
            WriteTextArgument<char16_t>(output, conversion, arguments);
        else
            WriteTextArgument<char>(output, conversion, arguments);
        return;
    }
    char space[NumberText::capacity];
    WriteNumber(output, conversion,
        conversion.kind == Kind::FloatingPoint ? FloatText(conversion, arguments, space)
                                               : IntegerText(conversion, arguments, space));
}

template const char* ReadConversion(const char*, Conversion&, Arguments&) noexcept;
template const char16_t* ReadConversion(const char16_t*, Conversion&, Arguments&) noexcept;
template void WriteConversion(Output<char>&, const Conversion&, Arguments&) noexcept;
template void WriteConversion(Output<char16_t>&, const Conversion&, Arguments&) noexcept;

} // namespace Printf

int FormatPrintf(char16_t* buffer, std::size_t capacity, const char16_t* format, std::va_list list) noexcept
{
    Printf::Arguments arguments(list);
    return Printf::Format(buffer, capacity, format, arguments);
}

int FormatPrintf(char* buffer, std::size_t capacity, const char* format, std::va_list list) noexcept
{
    Printf::Arguments arguments(list);
    return Printf::Format(buffer, capacity, format, arguments);
}

} // namespace Platform
