#include "object/registration_cache.h"

#include "base/text_builder.h"

#include <algorithm>
#include <string_view>

namespace Object {

namespace {

using View = std::u16string_view;

constexpr View whiteSpace = u" \n\r";

// ASCII characters that end something; so does the terminator.
class Delimiters {
public:
    constexpr explicit Delimiters(View characters) noexcept
    {
        for (const char16_t character : characters)
            (character < 64 ? low : high) |= std::uint64_t{1} << character % 64;
    }
    constexpr bool Contain(char16_t character) const noexcept
    {
        return character < 128 && ((character < 64 ? low : high) >> character % 64 & 1) != 0;
    }

private:
    std::uint64_t low = 1;
    std::uint64_t high = 0;
};
constexpr Delimiters behindName(u"|");
constexpr Delimiters behindStamp(u"|}");
constexpr Delimiters behindType(u",|");
constexpr Delimiters behindClassToken(u",;}");

enum class State { betweenRecords, types, startOfClass, interface, end, damage };

class Parser {
    struct Spelled {
        View token;
        WideString text;
    };

public:
    explicit Parser(const WideString& text) noexcept : at(text.c_str()) { }

    bool Run(std::vector<CacheRecord>& records)
    {
        State state = State::betweenRecords;
        while (state != State::end && state != State::damage)
            state = Step(state, records);
        return state == State::end;
    }

private:
    State Step(State state, std::vector<CacheRecord>& records)
    {
        switch (state) {
        case State::betweenRecords:
            return BeginRecord(records);
        case State::types:
            return Type(records.back());
        case State::startOfClass:
            return Class(records.back());
        default:
            return Interface(records.back());
        }
    }

    State BeginRecord(std::vector<CacheRecord>& records)
    {
        const char16_t first = Next();
        if (first == 0)
            return State::end;
        if (first != u'{')
            return State::damage;
        CacheRecord& record = records.emplace_back();
        record.name = Text(Token(behindName));
        if (Next() != u'|')
            return State::damage;
        record.stamp = Text(Token(behindStamp));
        const char16_t delimiter = Next();
        record.isModule = delimiter == u'|';
        return record.isModule ? State::types : delimiter == u'}' ? State::betweenRecords : State::damage;
    }

    State Type(CacheRecord& record)
    {
        if (const View type = Token(behindType); !type.empty())
            record.types.insert(Text(type));
        const char16_t delimiter = Next();
        return delimiter == u',' ? State::types : delimiter == u'|' ? State::startOfClass : State::damage;
    }

    State Class(CacheRecord& record)
    {
        if (const View clsid = Token(behindClassToken); !clsid.empty()) {
            neighbours.swap(interfaces);
            interfaces.clear();
            record.classes.push_back({Text(clsid), {}, {}});
            record.classes.back().interfaces.reserve(std::min<std::size_t>(neighbours.size(), 8));
        }
        return BehindClassToken();
    }

    State Interface(CacheRecord& record)
    {
        if (const View interface = Token(behindClassToken); !interface.empty()) {
            if (record.classes.empty())
                return State::damage;
            interfaces.push_back(InterfaceText(interface));
            record.classes.back().interfaces.push_back(interfaces.back().text);
        }
        return BehindClassToken();
    }

    // A class mostly has the interfaces of the one in front of it, and then their texts are shared.
    Spelled InterfaceText(View interface) const
    {
        const std::size_t place = interfaces.size();
        if (place < neighbours.size() && neighbours[place].token == interface)
            return neighbours[place];
        return {interface, Text(interface)};
    }

    State BehindClassToken()
    {
        switch (Next()) {
        case u',':
            return State::interface;
        case u';':
            return State::startOfClass;
        case u'}':
            return State::betweenRecords;
        default:
            return State::damage;
        }
    }

    void SkipWhiteSpace()
    {
        while (*at != 0 && whiteSpace.find(*at) != View::npos)
            ++at;
    }

    // The next character behind white space; 0 at the end of the text, which is not passed.
    char16_t Next()
    {
        SkipWhiteSpace();
        return *at != 0 ? *at++ : u'\0';
    }

    // All up to a delimiter or the end of the text; white space at its end belongs to it.
    View Token(const Delimiters& delimiters)
    {
        SkipWhiteSpace();
        const char16_t* const begin = at;
        while (!delimiters.Contain(*at))
            ++at;
        return {begin, static_cast<std::size_t>(at - begin)};
    }

    static WideString Text(View token) { return {token.data(), token.data() + token.size()}; }

    const char16_t* at;
    std::vector<Spelled> interfaces; // of the last class
    std::vector<Spelled> neighbours; // of the class in front of it
};

// Whether a token is read again as it was written.
bool Survives(const WideString& token, const Delimiters& delimiters) noexcept
{
    const View text(token.c_str());
    return !text.empty() && whiteSpace.find(text.front()) == View::npos
        && std::none_of(
            text.begin(), text.end(), [&](char16_t character) { return delimiters.Contain(character); });
}

bool Survives(const ClassInfo& described) noexcept
{
    return Survives(described.clsid, behindClassToken)
        && std::all_of(described.interfaces.begin(), described.interfaces.end(),
            [](const WideString& interface) { return Survives(interface, behindClassToken); });
}

} // namespace

std::optional<std::vector<CacheRecord>> ParseCache(const WideString& text)
{
    std::vector<CacheRecord> records;
    if (text.IsEmpty() || !Parser(text).Run(records))
        return std::nullopt;
    return records;
}

WideString FormatCache(const std::vector<CacheRecord>& records)
{
    TextBuilder text;
    for (const CacheRecord& record : records) {
        text.Add(u"{").Add(record.name).Add(u"|").Add(record.stamp);
        if (record.isModule) {
            const char16_t* separator = u"|";
            for (const WideString& type : record.types) {
                text.Add(separator).Add(type);
                separator = u",";
            }
            text.Add(record.types.empty() ? u"||" : u"|");
            separator = u"";
            for (const ClassInfo& described : record.classes) {
                text.Add(separator).Add(described.clsid);
                for (const WideString& interface : described.interfaces)
                    text.Add(u",").Add(interface);
                separator = u";";
            }
        }
        text.Add(u"}\n");
    }
    return text.Take();
}

bool IsStorable(const CacheRecord& record) noexcept
{
    return Survives(record.name, behindName)
        && std::all_of(record.types.begin(), record.types.end(),
            [](const WideString& type) { return Survives(type, behindType); })
        && std::all_of(record.classes.begin(), record.classes.end(),
            [](const ClassInfo& described) { return Survives(described); });
}

} // namespace Object
