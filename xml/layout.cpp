#include "xml/layout.h"

#include <tessel/base/error.h>

namespace Xml {

void Layout::Header()
{
    output.Add(u"<?xml version=\"1.0\" encoding=\"utf-8\"?>");
}

void Layout::BreakLine(std::uint32_t depth)
{
    constexpr std::uint32_t deepest = 10'000; // the lines down to here have 100 million blanks already
    if (depth > deepest)
        throw Error("xml-writer-depth", "xml");
    output.Add(u'\n');
    output.AddBlanks(std::size_t{depth} * 2);
}

void Layout::RequireName(bool isValid)
{
    if (!isValid)
        throw Error("xml-writer-comment", "xml");
}

void Layout::BeginTag(std::u16string_view name)
{
    output.Add(u'<');
    output.Add(name);
}

void Layout::BeginAttribute(std::u16string_view name)
{
    output.Add(u' ');
    output.Add(name);
    output.Add(u"=\"");
}

void Layout::EndAttribute()
{
    output.Add(u'"');
}

void Layout::EndTag(bool isEmpty)
{
    output.Add(isEmpty ? u"/>" : u">");
}

void Layout::Close(std::u16string_view name)
{
    output.Add(u"</");
    output.Add(name);
    output.Add(u'>');
}

void Layout::Section(std::u16string_view text)
{
    if (text.find(u"]]>") != text.npos)
        throw Error("xml-writer-cdata", "xml");
    output.Add(u"<![CDATA[");
    output.Add(text);
    output.Add(u"]]>");
}

void Layout::Comment(std::u16string_view text)
{
    if (text.find(u"--") != text.npos)
        throw Error("xml-writer-comment", "xml");
    output.Add(u"<!--");
    output.Add(text);
    output.Add(u"-->");
}

} // namespace Xml
