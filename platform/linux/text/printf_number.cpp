// Numbers of the printf dialect as ASCII.
#include "platform/linux/text/printf.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>

namespace Platform::Printf {

namespace {

bool IsUpper(char type) noexcept
{
    return type >= 'A' && type <= 'Z';
}

void ToUpper(char* text, std::size_t length) noexcept
{
    for (std::size_t i = 0; i < length; ++i)
        if (text[i] >= 'a' && text[i] <= 'z')
            text[i] = static_cast<char>(text[i] - ('a' - 'A'));
}

void AddSign(NumberText& number, const Conversion& conversion, bool isNegative) noexcept
{
    if (isNegative)
        number.sign[number.signLength++] = '-';
    else if (conversion.plus)
        number.sign[number.signLength++] = '+';
    else if (conversion.blank)
        number.sign[number.signLength++] = ' ';
}

void AddBase(NumberText& number, char x) noexcept
{
    number.sign[number.signLength++] = '0';
    number.sign[number.signLength++] = x;
}

// ---- Integers

std::int64_t SignedArgument(Size size, Arguments& arguments) noexcept
{
    switch (size) {
    case Size::Quad:
        return static_cast<std::int64_t>(arguments.Word());
    case Size::Short:
        return static_cast<std::int16_t>(arguments.Int());
    case Size::Byte:
        return static_cast<std::int8_t>(arguments.Int());
    default:
        return arguments.Int();
    }
}

std::uint64_t UnsignedArgument(Size size, Arguments& arguments) noexcept
{
    switch (size) {
    case Size::Quad:
        return arguments.Word();
    case Size::Short:
        return static_cast<std::uint16_t>(arguments.Int());
    case Size::Byte:
        return static_cast<std::uint8_t>(arguments.Int());
    default:
        return static_cast<std::uint32_t>(arguments.Int());
    }
}

// Writes the digits so that they end before `end`, and gives their start; no digits for 0.
char* DecimalDigits(std::uint64_t value, char* end) noexcept
{
    static constexpr char pairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    for (; value >= 10; value /= 100) {
        end -= 2;
        std::memcpy(end, pairs + value % 100 * 2, 2);
    }
    if (value > 0)
        *--end = static_cast<char>('0' + value);
    return end;
}

char* PowerOfTwoDigits(std::uint64_t value, unsigned bits, bool upper, char* end) noexcept
{
    const char* const digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    for (; value != 0; value >>= bits)
        *--end = digits[value & ((1U << bits) - 1)];
    return end;
}

} // namespace

NumberText IntegerText(
    const Conversion& conversion, Arguments& arguments, char (&space)[NumberText::capacity]) noexcept
{
    constexpr std::size_t longest = 24; // 64 bits in octal are 22 digits
    NumberText number;
    char* const end = space + longest;
    char* start;
    std::int64_t leastDigits = conversion.HasPrecision() ? conversion.precision : 1;
    switch (conversion.type) {
    case 'd':
    case 'i': {
        const std::int64_t value = SignedArgument(conversion.size, arguments);
        AddSign(number, conversion, value < 0);
        const auto magnitude = static_cast<std::uint64_t>(value);
        start = DecimalDigits(value < 0 ? 0 - magnitude : magnitude, end);
        break;
    }
    case 'u':
        start = DecimalDigits(UnsignedArgument(conversion.size, arguments), end);
        break;
    case 'o':
        start = PowerOfTwoDigits(UnsignedArgument(conversion.size, arguments), 3, false, end);
        if (conversion.alternative)
            leastDigits = std::max<std::int64_t>(leastDigits, end - start + 1);
        break;
    case 'p':
        start = PowerOfTwoDigits(arguments.Word(), 4, true, end);
        leastDigits = 2 * sizeof(void*);
        if (conversion.alternative)
            AddBase(number, 'X');
        break;
    default:
        start =
            PowerOfTwoDigits(UnsignedArgument(conversion.size, arguments), 4, conversion.type == 'X', end);
        if (conversion.alternative && start != end)
            AddBase(number, conversion.type);
        break;
    }
    number.digits = start;
    number.digitsLength = static_cast<std::size_t>(end - start);
    number.leadingZeros = static_cast<std::uint64_t>(std::max<std::int64_t>(leastDigits - (end - start), 0));
    number.mayLeadWithZeros = !conversion.HasPrecision();
    return number;
}

namespace {

// ---- Floating point numbers

// No double has more digits behind the point, or in all: what is asked beyond this is zeros.
constexpr int mostDigits = 1100;

// What is not finite is told as the runtime tells it, with the two kinds that are no ordinary NaN.
const char* NotFinite(double value) noexcept
{
    if (std::isinf(value))
        return "inf";
    constexpr std::uint64_t quietBit = std::uint64_t{1} << 51;
    constexpr std::uint64_t indefinite = 0xFFF8'0000'0000'0000;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if ((bits & quietBit) == 0)
        return "nan(snan)";
    return bits == indefinite ? "nan(ind)" : "nan";
}

struct Parts {
    char* start;
    char* mantissaEnd;
    char* end; // of the exponent
};

Parts Split(char* start, char* end) noexcept
{
    return {start, std::find(start, end, 'e'), end};
}

// %g with # keeps its zeros, which to_chars does not: the choice of the form is made here.
Parts GeneralWithZeros(double value, int precision, char (&space)[NumberText::capacity]) noexcept
{
    char* end =
        std::to_chars(space, std::end(space), value, std::chars_format::scientific, precision - 1).ptr;
    const Parts parts = Split(space, end);
    int exponent = 0;
    std::from_chars(parts.mantissaEnd + (parts.mantissaEnd[1] == '+' ? 2 : 1), end, exponent);
    if (exponent < -4 || exponent >= precision)
        return parts;
    end =
        std::to_chars(space, std::end(space), value, std::chars_format::fixed, precision - 1 - exponent).ptr;
    return {space, end, end};
}

Parts DecimalParts(
    double value, char type, int precision, bool keepsZeros, char (&space)[NumberText::capacity]) noexcept
{
    if (type == 'g' && keepsZeros)
        return GeneralWithZeros(value, precision, space);
    const std::chars_format form = type == 'f' ? std::chars_format::fixed
        : type == 'e'                          ? std::chars_format::scientific
                                               : std::chars_format::general;
    return Split(space, std::to_chars(space, std::end(space), value, form, precision).ptr);
}

void DecimalText(NumberText& number, const Conversion& conversion, double value,
    char (&space)[NumberText::capacity]) noexcept
{
    const char type = static_cast<char>(conversion.type | 0x20);
    int precision = conversion.HasPrecision() ? conversion.precision : 6;
    if (type == 'g' && precision == 0)
        precision = 1;
    const int exact = std::min(precision, mostDigits);
    const Parts parts = DecimalParts(value, type, exact, conversion.alternative, space);
    number.digits = parts.start;
    number.digitsLength = static_cast<std::size_t>(parts.mantissaEnd - parts.start);
    number.suffix = parts.mantissaEnd;
    number.suffixLength = static_cast<std::size_t>(parts.end - parts.mantissaEnd);
    if (type != 'g' || conversion.alternative)
        number.trailingZeros = static_cast<std::uint64_t>(precision - exact);
    if (conversion.alternative && std::find(parts.start, parts.mantissaEnd, '.') == parts.mantissaEnd) {
        // Makes room for the point between the digits and the exponent.
        std::memmove(parts.mantissaEnd + 1, parts.mantissaEnd, number.suffixLength);
        *parts.mantissaEnd = '.';
        ++number.digitsLength;
        ++number.suffix;
    }
}

// The 52 bits of the fraction are 13 digits; fewer are rounded to the nearest, ties to even.
void HexadecimalText(NumberText& number, const Conversion& conversion, double value,
    char (&space)[NumberText::capacity]) noexcept
{
    constexpr int fractionDigits = 13;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int biased = static_cast<int>(bits >> 52);
    const int exponent = bits == 0 ? 0 : biased == 0 ? -1022 : biased - 1023;
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
    mantissa |= biased == 0 ? 0 : std::uint64_t{1} << 52;
    const int precision = conversion.HasPrecision() ? conversion.precision : fractionDigits;
    const int shown = std::min(precision, fractionDigits);
    const int dropped = 4 * (fractionDigits - shown);
    if (dropped > 0) {
        const std::uint64_t half = std::uint64_t{1} << (dropped - 1);
        const bool isOdd = ((mantissa >> dropped) & 1) != 0;
        mantissa = (mantissa + half - (isOdd ? 0 : 1)) >> dropped << dropped;
    }
    AddBase(number, 'x');
    char* next = space;
    *next++ = static_cast<char>('0' + (mantissa >> 52)); // 2 after rounding up
    if (precision > 0 || conversion.alternative)
        *next++ = '.';
    for (int i = 0; i < shown; ++i)
        *next++ = "0123456789abcdef"[(mantissa >> (48 - 4 * i)) & 0xF];
    number.digits = space;
    number.digitsLength = static_cast<std::size_t>(next - space);
    number.trailingZeros = static_cast<std::uint64_t>(precision - shown);
    number.suffix = next;
    *next++ = 'p';
    *next++ = exponent < 0 ? '-' : '+';
    next = std::to_chars(next, next + 4, std::abs(exponent)).ptr;
    number.suffixLength = static_cast<std::size_t>(next - number.suffix);
}

} // namespace

NumberText FloatText(
    const Conversion& conversion, Arguments& arguments, char (&space)[NumberText::capacity]) noexcept
{
    const double value = conversion.size == Size::LongDouble ? static_cast<double>(arguments.LongDouble())
                                                             : arguments.Double();
    NumberText number;
    AddSign(number, conversion, std::signbit(value));
    if (!std::isfinite(value)) {
        const char* const text = NotFinite(value);
        number.digitsLength = std::strlen(text);
        std::memcpy(space, text, number.digitsLength);
        number.digits = space;
        number.mayLeadWithZeros = false;
    } else if ((conversion.type | 0x20) == 'a') {
        HexadecimalText(number, conversion, std::fabs(value), space);
    } else {
        DecimalText(number, conversion, std::fabs(value), space);
    }
    if (IsUpper(conversion.type)) {
        ToUpper(number.sign, number.signLength);
        ToUpper(space, number.digitsLength + number.suffixLength);
    }
    return number;
}

} // namespace Platform::Printf
