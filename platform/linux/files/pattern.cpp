#include "platform/linux/files/pattern.h"

#include "platform/text.h"

#include <algorithm>
#include <new>

namespace Platform {

namespace {

// A pattern is a row of rules: a char that matches itself in either case, or one of these.
constexpr std::uint32_t anyChars = 0x10000; // *
constexpr std::uint32_t anyCharsToLastDot = 0x10001; // * before a dot: stays within the name's last one
constexpr std::uint32_t oneChar = 0x10002; // ?: none before a dot and at the end of the name
constexpr std::uint32_t dotOrEnd = 0x10003; // a dot before a wildcard: nothing at the end of the name

constexpr bool IsWildcard(char16_t unit)
{
    return unit == u'*' || unit == u'?';
}

std::uint32_t RuleFor(char16_t unit, char16_t following) noexcept
{
    if (unit == u'*')
        return following == u'.' ? anyCharsToLastDot : anyChars;
    if (unit == u'?')
        return oneChar;
    if (unit == u'.' && IsWildcard(following))
        return dotOrEnd;
    return ToLower(unit);
}

constexpr bool IsStar(std::uint32_t rule)
{
    return rule == anyChars || rule == anyCharsToLastDot;
}

// Whether the rule may use up no char of the name, before this one or at the end.
constexpr bool MatchesNothing(std::uint32_t rule, bool atEnd, char16_t unit)
{
    return IsStar(rule) || (rule == oneChar && (atEnd || unit == u'.')) || (rule == dotOrEnd && atEnd);
}

// Whether the rule may use up this char.
bool MatchesUnit(std::uint32_t rule, char16_t unit, bool withinLastDot) noexcept
{
    switch (rule) {
    case anyChars:
        return true;
    case anyCharsToLastDot:
        return withinLastDot;
    case oneChar:
        return unit != u'.';
    case dotOrEnd:
        return unit == u'.';
    default:
        return rule == ToLower(unit);
    }
}

} // namespace

bool HasWildcard(const char16_t* text, std::size_t chars) noexcept
{
    return std::any_of(text, text + chars, IsWildcard);
}

bool Pattern::Reserve(std::size_t count) noexcept
{
    rules.reset(new (std::nothrow) std::uint32_t[count]);
    reached.reset(new (std::nothrow) bool[2 * (count + 1)]);
    return rules && reached;
}

bool Pattern::Set(const char16_t* text, std::size_t chars) noexcept
{
    ruleCount = 0;
    all = std::all_of(text, text + chars, [](char16_t unit) { return unit == u'*'; })
        || (chars == 3 && std::equal(text, text + 3, u"*.*"));
    if (!Reserve(chars))
        return false;
    for (std::size_t i = 0; i < chars; ++i) {
        const char16_t following = i + 1 < chars ? text[i + 1] : u'\0';
        // A dot at the end says that the name has none; the rule before it sees to that.
        if (text[i] == u'.' && following == u'\0')
            break;
        if (text[i] != u'*' || following != u'*') // stars in a row are one
            rules[ruleCount++] = RuleFor(text[i], following);
    }
    return true;
}

// All ways to match are followed at once, one char of the name after the other: the time is bounded by
// the product of the two lengths, whatever the pattern.
bool Pattern::Matches(const char16_t* name, std::size_t chars) noexcept
{
    if (all)
        return true;
    std::size_t lastDot = chars;
    while (lastDot > 0 && name[lastDot - 1] != u'.')
        --lastDot;
    lastDot = lastDot == 0 ? chars : lastDot - 1;
    bool* now = reached.get();
    bool* next = now + ruleCount + 1;
    std::fill_n(now, ruleCount + 1, false);
    now[0] = true;
    for (std::size_t i = 0;; ++i, std::swap(now, next)) {
        const bool atEnd = i == chars;
        const char16_t unit = atEnd ? u'\0' : name[i];
        std::fill_n(next, ruleCount + 1, false);
        for (std::size_t rule = 0; rule < ruleCount; ++rule) {
            if (!now[rule])
                continue;
            now[rule + 1] = now[rule + 1] || MatchesNothing(rules[rule], atEnd, unit);
            if (!atEnd && MatchesUnit(rules[rule], unit, i <= lastDot))
                next[IsStar(rules[rule]) ? rule : rule + 1] = true;
        }
        if (atEnd)
            return now[ruleCount];
    }
}

} // namespace Platform
