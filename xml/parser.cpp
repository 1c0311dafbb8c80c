// The text is read once from its start to its end, and every decision rests on the character at hand. The
// states of a parse are functions: Content, and what it finds one for each kind of markup. The open elements
// are the builder's, so that the depth of a document costs no stack.
#include "xml/parser.h"

#include "xml/builder.h"
#include "xml/cursor.h"
#include "xml/facades.h"
#include "xml/scan.h"
#include <tessel/base/error.h>

#include <string_view>

namespace Xml {

namespace {

enum class Fault { Header, Structure, Syntax, Value, Entity, Comment, Section, End, Name };

[[noreturn]] void ThrowFault(Fault fault, const Cursor::Position& at)
{
    switch (fault) {
    case Fault::Header:
        throw Error("xml-parser-syntax-header(%d:%d)", "xml", at.line, at.column);
    case Fault::Structure:
        throw Error("xml-parser-syntax-struc(%d:%d)", "xml", at.line, at.column);
    case Fault::Value:
        throw Error("xml-parser-syntax-attval(%d:%d)", "xml", at.line, at.column);
    case Fault::Entity:
        throw Error("xml-parser-syntax-entity(%d:%d)", "xml", at.line, at.column);
    case Fault::Comment:
        throw Error("xml-parser-syntax-comment(%d:%d)", "xml", at.line, at.column);
    case Fault::Section:
        throw Error("xml-parser-syntax-cdata(%d:%d)", "xml", at.line, at.column);
    case Fault::End:
        throw Error("xml-parser-syntax-eof(%d:%d)", "xml", at.line, at.column);
    case Fault::Name:
        throw Error("xml-parser-syntax-name(%d:%d)", "xml", at.line, at.column);
    case Fault::Syntax:
        break;
    }
    throw Error("xml-parser-syntax(%d:%d)", "xml", at.line, at.column);
}

// The value of a digit; what is none has a higher one than any.
unsigned DigitOf(char16_t character) noexcept
{
    if (character >= u'0' && character <= u'9')
        return character - u'0';
    if ((character >= u'a' && character <= u'f') || (character >= u'A' && character <= u'F'))
        return (character & 0xF) + 9;
    return 16;
}

template <class Builder>
class Parser {
public:
    Parser(StringReadingStream& stream, Builder& its) : cursor(stream), builder(its) { }

    void Run();

private:
    // Each begins at the first character that concerns it and ends behind the last one.
    bool Header();
    std::u16string_view HeaderName();
    void HeaderValue();
    bool Content();
    void Markup();
    void StartTag();
    void AttributeAndValue();
    void EndTag();
    void Comment();
    void Section();
    std::u16string_view Name();
    std::u16string_view TextToken();
    std::u16string_view Value();
    void Reference();
    char16_t NumberReference();
    char16_t EntityReference();

    char16_t Current() const noexcept { return cursor.Current(); }
    void SkipBlanks() { cursor.AdvanceTo(Scan::NoBlank); }
    void Require(bool holds, Fault fault) const
    {
        if (!holds)
            ThrowFault(fault, cursor.GetPosition());
    }
    void Expect(char16_t character, Fault fault)
    {
        Require(Current() == character, fault);
        cursor.Advance();
    }

    Cursor cursor;
    Builder& builder;
    bool hasRoot = false;
};

template <class Builder>
void Parser<Builder>::Run()
{
    if (Header())
        Markup();
    while (Content())
        Markup();
}

// True if there is no header and the first character of a tag has been read. A header is one only at the
// very start of the text. Its attributes may be missing, but not out of order, and nobody looks at the
// values.
template <class Builder>
bool Parser<Builder>::Header()
{
    if (Current() != u'<')
        return false;
    cursor.Advance();
    if (Current() != u'?')
        return true;
    cursor.Advance();
    Require(IsNameStart(Current()) && Name() == u"xml", Fault::Header);
    std::u16string_view name = HeaderName();
    for (const std::u16string_view optional : {u"version", u"encoding"})
        if (name == optional) {
            HeaderValue();
            name = HeaderName();
        }
    if (name == u"standalone")
        HeaderValue();
    else
        Require(name.empty(), Fault::Header);
    SkipBlanks();
    Expect(u'?', Fault::Header);
    Expect(u'>', Fault::Header);
    return false;
}

// Empty if there is none.
template <class Builder>
std::u16string_view Parser<Builder>::HeaderName()
{
    SkipBlanks();
    return IsNameStart(Current()) ? Name() : std::u16string_view();
}

template <class Builder>
void Parser<Builder>::HeaderValue()
{
    SkipBlanks();
    Expect(u'=', Fault::Header);
    SkipBlanks();
    Require(IsQuote(Current()), Fault::Header);
    Value();
    Require(!IsNameStart(Current()), Fault::Header);
}

// Reads up to the next markup, and its first character; false at the end of the text. White space belongs to
// the text behind it, and to nothing if there is none.
template <class Builder>
bool Parser<Builder>::Content()
{
    cursor.BeginToken();
    SkipBlanks();
    if (Current() != u'<' && Current() != 0) {
        Require(!builder.IsAtTop(), Fault::Structure);
        builder.AddLeaf(NodeType::Text, TextToken());
    }
    if (Current() == 0) {
        Require(builder.IsAtTop() && hasRoot, Fault::Structure);
        return false;
    }
    cursor.DropToken();
    cursor.Advance();
    return true;
}

// The rest of a text of which the white space has been read.
template <class Builder>
std::u16string_view Parser<Builder>::TextToken()
{
    for (;;) {
        cursor.AdvanceTo(Scan::FirstOf<u'<', u'&'>);
        if (Current() != u'&')
            return cursor.EndToken();
        Reference();
    }
}

template <class Builder>
void Parser<Builder>::Markup()
{
    if (IsNameStart(Current())) {
        Require(!builder.IsAtTop() || !hasRoot, Fault::Structure);
        hasRoot = true;
        return StartTag();
    }
    const char16_t kind = Current();
    Require(kind == u'!' || kind == u'/', Fault::Syntax);
    cursor.Advance();
    if (kind == u'/')
        return EndTag();
    if (Current() == u'-')
        return Comment();
    Require(Current() == u'[', Fault::Syntax);
    Require(!builder.IsAtTop(), Fault::Structure);
    Section();
}

template <class Builder>
void Parser<Builder>::StartTag()
{
    builder.AddElement(Name());
    for (;;) {
        SkipBlanks();
        if (IsNameStart(Current())) {
            AttributeAndValue();
            continue;
        }
        const bool isEmpty = Current() == u'/';
        if (isEmpty)
            cursor.Advance();
        Expect(u'>', Fault::Syntax);
        return builder.EndStartTag(isEmpty);
    }
}

template <class Builder>
void Parser<Builder>::AttributeAndValue()
{
    builder.AddAttributeName(Name());
    SkipBlanks();
    Expect(u'=', Fault::Syntax);
    SkipBlanks();
    const std::u16string_view value = Value();
    Require(!IsNameStart(Current()), Fault::Syntax);
    builder.AddAttributeValue(value);
}

template <class Builder>
void Parser<Builder>::EndTag()
{
    Require(IsNameStart(Current()) && builder.Close(Name()), Fault::Structure);
    SkipBlanks();
    Expect(u'>', Fault::Syntax);
}

// Two hyphens end a comment, and nothing else may follow them.
template <class Builder>
void Parser<Builder>::Comment()
{
    Expect(u'-', Fault::Comment);
    Expect(u'-', Fault::Comment);
    cursor.BeginToken();
    std::size_t length = 0;
    do {
        cursor.AdvanceTo(Scan::FirstOf<u'-'>);
        Require(Current() != 0, Fault::End);
        length = cursor.GetTokenLength();
        cursor.Advance();
    } while (Current() != u'-');
    cursor.Advance();
    Require(Current() != 0, Fault::End);
    Expect(u'>', Fault::Comment);
    builder.AddLeaf(NodeType::Comment, cursor.EndToken().substr(0, length));
}

// Two closing brackets with the greater-than sign behind them end a section; further ones before that are
// text.
template <class Builder>
void Parser<Builder>::Section()
{
    for (const char16_t character : std::u16string_view(u"[CDATA["))
        Expect(character, Fault::Section);
    cursor.BeginToken();
    std::size_t length = 0;
    do {
        cursor.AdvanceTo(Scan::FirstOf<u']'>);
        Require(Current() != 0, Fault::End);
        length = cursor.GetTokenLength();
        std::size_t brackets = 0;
        for (; Current() == u']'; ++brackets)
            cursor.Advance();
        if (brackets >= 2 && Current() == u'>') {
            length += brackets - 2;
            break;
        }
    } while (true);
    cursor.Advance();
    builder.AddLeaf(NodeType::CData, cursor.EndToken().substr(0, length));
}

template <class Builder>
std::u16string_view Parser<Builder>::Name()
{
    Require(IsNameStart(Current()), Fault::Name);
    cursor.BeginToken();
    cursor.AdvanceTo(Scan::NoNameCharacter);
    return cursor.EndToken();
}

template <class Builder>
std::u16string_view Parser<Builder>::Value()
{
    const char16_t quote = Current();
    Require(IsQuote(quote), Fault::Value);
    cursor.Advance();
    cursor.BeginToken();
    for (;;) {
        if (quote == u'"')
            cursor.AdvanceTo(Scan::FirstOf<u'"', u'<', u'&'>);
        else
            cursor.AdvanceTo(Scan::FirstOf<u'\'', u'<', u'&'>);
        if (Current() != u'&')
            break;
        Reference();
    }
    Require(Current() == quote, Fault::Value);
    const std::size_t length = cursor.GetTokenLength();
    cursor.Advance();
    return cursor.EndToken().substr(0, length);
}

// Puts a character into the token in place of a reference. The character 0 adds nothing.
template <class Builder>
void Parser<Builder>::Reference()
{
    cursor.PauseToken();
    cursor.Advance();
    const bool isNumber = Current() == u'#';
    if (isNumber)
        cursor.Advance();
    if (const char16_t character = isNumber ? NumberReference() : EntityReference())
        cursor.AddToToken(character);
    cursor.ResumeToken();
}

// Numbers wrap round at 16 bits.
template <class Builder>
char16_t Parser<Builder>::NumberReference()
{
    const bool isHexadecimal = Current() == u'x';
    if (isHexadecimal)
        cursor.Advance();
    const unsigned base = isHexadecimal ? 16 : 10;
    Require(DigitOf(Current()) < base, Fault::Entity);
    unsigned value = 0;
    for (; DigitOf(Current()) < base; cursor.Advance())
        value = (value * base + DigitOf(Current())) & 0xFFFF;
    Expect(u';', Fault::Entity);
    return static_cast<char16_t>(value);
}

template <class Builder>
char16_t Parser<Builder>::EntityReference()
{
    static constexpr struct {
        std::u16string_view name;
        char16_t character;
    } entities[] = {{u"amp;", u'&'}, {u"apos;", u'\''}, {u"gt;", u'>'}, {u"lt;", u'<'}, {u"quot;", u'"'}};
    auto candidate = std::begin(entities);
    for (std::size_t i = 0;; ++i) { // characters that the candidate shares with the text
        const std::u16string_view matched = candidate->name.substr(0, i);
        while (candidate->name[i] != Current()) {
            ++candidate;
            Require(
                candidate != std::end(entities) && candidate->name.substr(0, i) == matched, Fault::Entity);
        }
        cursor.Advance();
        if (candidate->name[i] == u';')
            return candidate->character;
    }
}

template <class Builder>
void Fill(StringReadingStream& stream, Builder builder)
{
    Parser<Builder>(stream, builder).Run();
}

} // namespace

FacePtr<Document> Parse(StringReadingStream& stream)
{
    FacePtr<Document> document(Clsid{documentClass});
    const FacePtr<ParentNode> top = document.Cast<ParentNode>("xml");
    const StoredNode stored = FindStored(top.Get());
    if (stored.store != nullptr && stored.store->document.first == nullptr)
        Fill(stream, StoreBuilder(*stored.store));
    else // a class that a client has registered
        Fill(stream, FaceBuilder(top));
    return document;
}

} // namespace Xml
