// Xml::Reader: makes a document from XML text.
//
// Read are a header, elements, attributes, text, sections, comments, the five predefined entities and
// references to characters of 16 bits. There are no document types, no processing instructions and no
// namespaces: a colon is a character of names like any other. Text and values are taken as they stand, line
// ends included. White space alone between two tags or comments is dropped; next to text it belongs to it.
// Of two attributes with one name the last one counts. Names have no characters beyond U+FFFF.
//
// What cannot be read throws an Error that names the kind of fault with line and column, both counted from 1,
// columns in UTF-16 code units; the line feed alone ends a line:
//
//  - xml-parser-syntax-header(L:C)   in the header
//  - xml-parser-syntax-struc(L:C)    elements that do not nest, text outside of the root, no root or a second
//  one
//  - xml-parser-syntax-entity(L:C)   behind an ampersand
//  - xml-parser-syntax-attval(L:C)   in a value, the end of the text included
//  - xml-parser-syntax-comment(L:C)  in the markers of a comment
//  - xml-parser-syntax-cdata(L:C)    in the opening marker of a section
//  - xml-parser-syntax-eof(L:C)      the end of the text in a comment or a section, also right behind two
//  hyphens
//  - xml-parser-syntax(L:C)          in any other markup
//
// Any number of threads may read at once; each document belongs to its caller.
#pragma once

#include <tessel/xml/document.h>

namespace Xml {

// "CID_Xml::Reader" gives it.
struct Reader : Face<> {
    static constexpr Iid iid = u"IID_Xml::Reader"_iid;

    virtual FacePtr<Document> Read(const WideString& text) = 0;
    // A file of UTF-8 text, with or without a mark at its start, by its plain name in the file system. Bytes
    // that are no UTF-8 become U+FFFD, a zero byte ends the text, and so does a last character that is cut
    // off. Throws "read-io-err" if the file cannot be opened or read.
    virtual FacePtr<Document> ReadFile(const WideString& path) = 0;
};

constexpr const char16_t* readerClass = u"CID_Xml::Reader";

} // namespace Xml
