// Xml::Element: a node with a name, attributes and children.
#pragma once

#include <tessel/xml/node.h>

namespace Xml {

// All names are compared by code units. What is missing is no failure.
struct Element : Face<ParentNode> {
    static constexpr Iid iid = u"IID_Xml::Element"_iid;

    enum NormalizeFlags : std::uint32_t {
        MergeText = 1, // neighbouring text nodes become one, the first of them; the others are taken out
        CDataToText = 2, // sections become text nodes, before those are merged
    };

    // Sorted by code units: attributes have no other order.
    virtual std::vector<WideString> GetAttributeNames() = 0;
    virtual bool HasAttribute(const WideString& name) = 0;
    // The value, or `missing` where there is no such attribute.
    virtual WideString GetAttribute(const WideString& name, const WideString& missing) = 0;
    // The value; a missing attribute looks like one whose value is empty.
    virtual WideString GetAttribute(const WideString& name) = 0;
    // Adds the attribute or replaces its value. The name is not checked before the document is written.
    virtual void SetAttribute(const WideString& name, const WideString& value) = 0;
    // The number of attributes removed: 0 or 1.
    virtual std::uint64_t RemoveAttribute(const WideString& name) = 0;
    // The first child element of the name. Null if there is none, or a new one at the end with `create`.
    virtual FacePtr<Element> GetChildElement(const WideString& name, bool create) = 0;
    // Reserved: both throw "xml-find-notimpl".
    virtual std::vector<FacePtr<Element>> FindElements(const WideString& path) = 0;
    virtual FacePtr<Element> FindElement(const WideString& path) = 0;
    // Tidies everything below. Flags are NormalizeFlags; others are ignored. For want of memory a part of it
    // may be left undone; no text is lost.
    virtual void Normalize(std::uint32_t flags) = 0;
};

} // namespace Xml
