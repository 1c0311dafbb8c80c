// Layout: the parts of an XML text as they are written.
#pragma once

#include "xml/output.h"
#include "xml/scan.h"

#include <cstdint>
#include <string_view>

namespace Xml {

class Layout {
public:
    explicit Layout(Output& its) noexcept : output(its) { }

    void Header();
    // Ends a line and indents the next one. Throws "xml-writer-depth" where that gets too deep.
    void BreakLine(std::uint32_t depth);
    void BeginTag(std::u16string_view name);
    void BeginAttribute(std::u16string_view name);
    void EndAttribute();
    void EndTag(bool isEmpty);
    void Close(std::u16string_view name);
    // A text or a value, as a whole or in pieces.
    void AddText(std::u16string_view text) { Escape<u'&', u'<'>(text); }
    void AddValue(std::u16string_view value) { Escape<u'&', u'<', u'"'>(value); }
    // These two throw where the text would end what it stands in.
    void Section(std::u16string_view text);
    void Comment(std::u16string_view text);

    static void RequireName(bool isValid);

private:
    template <char16_t... escaped>
    void Escape(std::u16string_view text);

    Output& output;
};

template <char16_t... escaped>
void Layout::Escape(std::u16string_view text)
{
    const char16_t* at = text.data();
    const char16_t* const end = at + text.size();
    for (;;) {
        const char16_t* const found = Scan::FirstOf<escaped...>(at, end);
        output.Add({at, static_cast<std::size_t>(found - at)});
        if (found == end)
            return;
        output.Add(*found == u'&' ? u"&amp;" : *found == u'<' ? u"&lt;" : u"&quot;");
        at = found + 1;
    }
}

} // namespace Xml
