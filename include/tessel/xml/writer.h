// Xml::Writer: makes XML text from a document.
//
// The layout is fixed: a header, one line for each element, comment and section, two spaces of indentation a
// level, attributes sorted by name, no line end behind the last tag. Text stands exactly in its place: where
// it touches a tag there is no line break, so what is written reads back as the same tree, but for text nodes
// that are empty, blank or next to one another.
//
// A name that the reader would not take, or two hyphens in a comment, throw "xml-writer-comment"; "]]>" in
// a section throws "xml-writer-cdata". Line breaks deeper than 10,000 levels throw "xml-writer-depth": the
// indentation would outgrow everything else. A null document fails as one that is none.
//
// Any number of threads may write at once, different documents. A document is not changed meanwhile.
#pragma once

#include <tessel/xml/document.h>

namespace Xml {

// "CID_Xml::Writer" gives it.
struct Writer : Face<> {
    static constexpr Iid iid = u"IID_Xml::Writer"_iid;

    // Throws "xml-writer-size" for a text that no string can hold.
    virtual WideString Write(const FacePtr<Document>& document) = 0;
    // Into a file of UTF-8 text without a mark, which is emptied first. Half a surrogate pair is written as
    // U+FFFD. Throws "read-io-err" if the file cannot be opened, written or closed; after any failure the
    // file holds what had been written so far.
    virtual void WriteFile(const FacePtr<Document>& document, const WideString& path) = 0;
};

constexpr const char16_t* writerClass = u"CID_Xml::Writer";

} // namespace Xml
