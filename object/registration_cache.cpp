#include "object/registration_cache.h"

#include "base/text_builder.h"

#include <algorithm>
#include <string_view>

namespace Object {

namespace {

using View = std::u16string_view;

constexpr View whiteSpace = u" \n\r";

enum class State { betweenRecords, types, startOfClass, interface, end, damage };

class Parser {
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
        record.name = Text(Token(u"|"));
        if (Next() != u'|')
            return State::damage;
        record.stamp = Text(Token(u"|}"));
        const char16_t delimiter = Next();
        record.isModule = delimiter == u'|';
        return record.isModule ? State::types : delimiter == u'}' ? State::betweenRecords : State::damage;
    }

    State Type(CacheRecord& record)
    {
        if (const View type = Token(u",|"); !type.empty())
            record.types.insert(Text(type));
        const char16_t delimiter = Next();
        return delimiter == u',' ? State::types : delimiter == u'|' ? State::startOfClass : State::damage;
    }

    State Class(CacheRecord& record)
    {
        if (const View clsid = Token(u",;}"); !clsid.empty())
            record.classes.push_back({Text(clsid), {}, {}});
        return BehindClassToken();
    }

    State Interface(CacheRecord& record)
    {
        if (const View interface = Token(u",;}"); !interface.empty()) {
            if (record.classes.empty())
                return State::damage;
            record.classes.back().interfaces.push_back(Text(interface));
        }
        return BehindClassToken();
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
    View Token(View delimiters)
    {
        SkipWhiteSpace();
        const char16_t* const begin = at;
        while (*at != 0 && delimiters.find(*at) == View::npos)
            ++at;
        return {begin, static_cast<std::size_t>(at - begin)};
    }

    static WideString Text(View token) { return {token.data(), token.data() + token.size()}; }

    const char16_t* at;
};

// Whether a token is read again as it was written.
bool Survives(const WideString& token, View delimiters) noexcept
{
    const View text(token.c_str());
    return !text.empty() && whiteSpace.find(text.front()) == View::npos
        && text.find_first_of(delimiters) == View::npos;
}

bool Survives(const ClassInfo& described) noexcept
{
    return Survives(described.clsid, u",;}")
        && std::all_of(described.interfaces.begin(), described.interfaces.end(),
            [](const WideString& interface) { return Survives(interface, u",;}"); });
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
    return Survives(record.name, u"|")
        && std::all_of(record.types.begin(), record.types.end(),
            [](const WideString& type) { return Survives(type, u"|,"); })
        && std::all_of(record.classes.begin(), record.classes.end(),
            [](const ClassInfo& described) { return Survives(described); });
}

} // namespace Object
