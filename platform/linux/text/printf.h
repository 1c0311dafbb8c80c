// The engine of the printf dialect, for both widths of text: an output that counts what it cannot
// hold, one conversion read from a format, and one conversion carried out.
//
//   printf_number.cpp   numbers, as ASCII and the same for both widths
//   printf.cpp          texts and characters, and the loop over a format
//   message.cpp         uses single conversions for its inserts
#pragma once

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Platform::Printf {

// Writes what fits and counts all: hostile widths and precisions cost no memory and no time.
template <class Char>
class Output {
public:
    // Capacity in chars, the terminator's place included.
    Output(Char* buffer, std::size_t capacity) noexcept
        : next(buffer), room(capacity == 0 ? 0 : capacity - 1), isTerminated(capacity != 0)
    {
    }

    void Put(Char unit) noexcept
    {
        ++length;
        if (room != 0) {
            *next++ = unit;
            --room;
        }
    }

    void Fill(char unit, std::uint64_t count) noexcept
    {
        length += count;
        for (std::size_t fits = Fitting(count); fits != 0; --fits)
            *next++ = static_cast<Char>(unit);
    }

    void Write(const Char* text, std::size_t count) noexcept
    {
        length += count;
        if (const std::size_t fits = Fitting(count); fits != 0) {
            std::memcpy(next, text, fits * sizeof(Char));
            next += fits;
        }
    }

    void WriteAscii(const char* text, std::size_t count) noexcept
    {
        length += count;
        for (std::size_t fits = Fitting(count); fits != 0; --fits)
            *next++ = static_cast<Char>(*text++);
    }

    // Puts the terminator and gives the length; -1 if it is no int.
    int Finish() noexcept
    {
        if (isTerminated)
            *next = Char{};
        return length > INT_MAX ? -1 : static_cast<int>(length);
    }

private:
    // Takes the room for at most `count` chars.
    std::size_t Fitting(std::uint64_t count) noexcept
    {
        const std::size_t fits = count < room ? static_cast<std::size_t>(count) : room;
        room -= fits;
        return fits;
    }

    Char* next;
    std::size_t room;
    bool isTerminated;
    std::uint64_t length = 0;
};

enum class Size {
    Default,
    Byte, // hh
    Short, // h
    Long, // l: 32 bits of an integer
    Wide, // w
    Quad, // ll I64 I j z t
    LongDouble, // L
};

// What a conversion prints.
enum class Kind {
    None, // there is no such conversion
    Text,
    Integer,
    FloatingPoint,
};
constexpr Kind KindOf(std::uint32_t type) noexcept
{
    switch (type) {
    case 's':
    case 'S':
    case 'c':
    case 'C':
    case 'Z':
        return Kind::Text;
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
    case 'p':
        return Kind::Integer;
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        return Kind::FloatingPoint;
    default:
        return Kind::None;
    }
}

struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool zero = false;
    bool alternative = false;
    std::uint32_t width = 0;
    std::int32_t precision = -1; // negative: none given
    Size size = Size::Default;
    char type = 0;
    Kind kind = Kind::None;

    bool HasPrecision() const noexcept { return precision >= 0; }
};

// A copy of the caller's list, which stays as it is.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it does not follow a list that is a member
class Arguments {
public:
    explicit Arguments(std::va_list original) noexcept { va_copy(list, original); }
    ~Arguments() { va_end(list); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    int Int() noexcept { return va_arg(list, int); }
    std::uint64_t Word() noexcept { return va_arg(list, std::uint64_t); }
    double Double() noexcept { return va_arg(list, double); }
    long double LongDouble() noexcept { return va_arg(list, long double); }
    const void* Pointer() noexcept { return va_arg(list, const void*); }

private:
    std::va_list list;
};
// NOLINTEND(clang-analyzer-valist.Uninitialized)

// Reads the conversion whose percent sign stands before `format`, with the arguments of its stars.
// Returns what follows it; null if there is no such conversion.
template <class Char>
const Char* ReadConversion(const Char* format, Conversion& conversion, Arguments& arguments) noexcept;

// Carries out a conversion that ReadConversion gave.
template <class Char>
void WriteConversion(Output<Char>& output, const Conversion& conversion, Arguments& arguments) noexcept;

// A number, ready to be written: prefix, zeros, digits, zeros, suffix.
struct NumberText {
    static constexpr std::size_t capacity = 1536; // the longest double has 309 digits and a fraction of 1074

    char sign[3]{}; // and the base
    unsigned signLength = 0;
    std::uint64_t leadingZeros = 0;
    const char* digits = nullptr;
    std::size_t digitsLength = 0;
    std::uint64_t trailingZeros = 0;
    const char* suffix = nullptr; // the exponent
    std::size_t suffixLength = 0;
    bool mayLeadWithZeros = true; // to fill the width, if the flag asks for it
};

// The result points into `space`.
NumberText IntegerText(
    const Conversion& conversion, Arguments& arguments, char (&space)[NumberText::capacity]) noexcept;
NumberText FloatText(
    const Conversion& conversion, Arguments& arguments, char (&space)[NumberText::capacity]) noexcept;

} // namespace Platform::Printf
