// A printf format that is checked against its arguments while the program is compiled.
//
// The dialect: `%s` and `%c` take the text's own character width, `%hs` or `%S` the other one (in wide text),
// `l` means 32 bits, and 64-bit numbers need `ll`, `I64`, `j`, `z` or `t`. `%n` does not exist.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

template <class Traits>
class BaseString;

namespace Formatting {

// What a variadic call hands over for an argument; the unit in which formats are checked.
enum class Slot { number32, number64, real, longReal, narrowText, wideText, pointer, unusable };

template <class Argument>
consteval Slot SlotOf()
{
    using Plain = std::decay_t<Argument>;
    if constexpr (std::is_enum_v<Plain>)
        return SlotOf<std::underlying_type_t<Plain>>();
    else if constexpr (std::is_integral_v<Plain>)
        return sizeof(Plain) <= 4 ? Slot::number32 : Slot::number64;
    else if constexpr (std::is_same_v<Plain, float> || std::is_same_v<Plain, double>)
        return Slot::real;
    else if constexpr (std::is_same_v<Plain, long double>)
        return Slot::longReal;
    else if constexpr (std::is_convertible_v<Plain, const char16_t*>)
        return Slot::wideText;
    else if constexpr (std::is_convertible_v<Plain, const char*>)
        return Slot::narrowText;
    else if constexpr (requires(const Plain& text) { text.c_str(); })
        return SlotOf<decltype(std::declval<const Plain&>().c_str())>();
    else if constexpr (std::is_pointer_v<Plain> || std::is_null_pointer_v<Plain>)
        return Slot::pointer;
    else
        return Slot::unusable;
}

// The form in which an argument goes into a variadic call: strings as their characters, enumerations as
// their numbers, everything else as it is.
template <class Argument>
constexpr auto Passed(const Argument& argument) noexcept
{
    if constexpr (std::is_enum_v<Argument>)
        return static_cast<std::underlying_type_t<Argument>>(argument);
    else if constexpr (requires { argument.c_str(); })
        return argument.c_str();
    else
        return static_cast<std::decay_t<const Argument>>(argument);
}

// Walks a format and checks it against the slots of the arguments. A fault ends in a throw, which a
// compiler reports as an error at the place of the literal.
template <class FormatChar, class TextChar>
class Checker {
public:
    constexpr Checker(const FormatChar* checkedFormat, const Slot* argumentSlots, std::size_t slotCount)
        : at(checkedFormat), slots(argumentSlots), count(slotCount)
    {
    }

    constexpr void Run()
    {
        while (*at != 0) {
            if (*at++ != '%')
                continue;
            if (*at == '%')
                ++at;
            else
                Conversion();
        }
        if (next != count)
            throw "more arguments than the format has conversions";
    }

private:
    constexpr void Conversion()
    {
        while (IsOneOf(*at, "-+ #0"))
            ++at;
        Number();
        if (*at == '.') {
            ++at;
            Number();
        }
        const std::size_t prefix = Prefix();
        Check(*at, prefix);
        ++at;
    }

    constexpr void Number()
    {
        if (*at == '*') {
            ++at;
            Take(Slot::number32);
        }
        while (*at >= '0' && *at <= '9')
            ++at;
    }

    // 0 none, 4 a 32-bit prefix, 8 a 64-bit prefix, 1 narrow (h), 2 wide (l, w), 16 long double
    constexpr std::size_t Prefix()
    {
        if (Skip("I64") || Skip("ll") || Skip("j") || Skip("z") || Skip("t"))
            return 8;
        if (Skip("I32"))
            return 4;
        if (Skip("hh") || Skip("h"))
            return 1;
        if (Skip("L"))
            return 16;
        return Skip("l") || Skip("w") ? 2 : 0;
    }

    constexpr void Check(FormatChar conversion, std::size_t prefix)
    {
        constexpr Slot own = sizeof(TextChar) == 2 ? Slot::wideText : Slot::narrowText;
        constexpr Slot other = sizeof(TextChar) == 2 ? Slot::narrowText : Slot::wideText;
        if (IsOneOf(conversion, "diouxX"))
            Take(prefix == 8 ? Slot::number64 : Slot::number32);
        else if (IsOneOf(conversion, "eEfFgGaA"))
            Take(prefix == 16 ? Slot::longReal : Slot::real);
        else if (prefix > 2)
            throw "a size of numbers in front of another conversion";
        else if (IsOneOf(conversion, "cC"))
            Take(Slot::number32);
        else if (IsOneOf(conversion, "sS"))
            Take(prefix == 1            ? Slot::narrowText
                    : prefix == 2       ? Slot::wideText
                    : conversion == 's' ? own
                                        : other);
        else if (conversion == 'p')
            TakePointer();
        else
            throw "a conversion that the dialect does not have";
    }

    constexpr void Take(Slot wanted)
    {
        if (next == count)
            throw "more conversions than arguments";
        if (slots[next++] != wanted)
            throw "an argument's type does not fit its conversion";
    }

    constexpr void TakePointer()
    {
        if (next == count)
            throw "more conversions than arguments";
        const Slot slot = slots[next++];
        if (slot != Slot::pointer && slot != Slot::wideText && slot != Slot::narrowText)
            throw "%p takes a pointer";
    }

    constexpr bool Skip(std::string_view prefix)
    {
        for (std::size_t i = 0; i < prefix.size(); ++i)
            if (at[i] != static_cast<FormatChar>(prefix[i]))
                return false;
        at += prefix.size();
        return true;
    }

    static constexpr bool IsOneOf(FormatChar character, std::string_view set)
    {
        for (const char member : set)
            if (character == static_cast<FormatChar>(member))
                return true;
        return false;
    }

    const FormatChar* at;
    const Slot* slots;
    std::size_t count;
    std::size_t next = 0;
};

// A literal format for text of TextChar; FormatChar is what the literal itself is written in.
template <class FormatChar, class TextChar, class... Arguments>
struct Format {
    consteval Format(const FormatChar* literal) : text(literal) // NOLINT(google-explicit-constructor)
    {
        constexpr Slot slots[] = {SlotOf<Arguments>()..., Slot::unusable};
        Checker<FormatChar, TextChar>(literal, slots, sizeof...(Arguments)).Run();
    }
    const FormatChar* text;
};

} // namespace Formatting
