// Layout: the parts of an XML text as they are written.
#pragma once

#include "xml/output.h"

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
    void AddAttribute(std::u16string_view name, std::u16string_view value);
    void EndTag(bool isEmpty);
    void Close(std::u16string_view name);
    void Text(std::u16string_view text);
    // These two throw where the text would end what it stands in.
    void Section(std::u16string_view text);
    void Comment(std::u16string_view text);

    static void RequireName(bool isValid);

private:
    template <char16_t... escaped>
    void Escape(std::u16string_view text);

    Output& output;
};

} // namespace Xml
