// Builders: what the parser makes a document with.
//
// StoreBuilder writes the nodes of this library's documents. A client may have registered a document class of
// its own, which is filled through its interfaces: FaceBuilder does that. Both have the same operations.
#pragma once

#include "xml/node_store.h"
#include <tessel/xml/document.h>

#include <string_view>
#include <vector>

namespace Xml {

// The store belongs to a document that nobody else uses yet, so its section stays open. After a failure the
// whole document goes.
class StoreBuilder {
public:
    explicit StoreBuilder(NodeStore& its) noexcept : store(its), open(&its.document) { }

    // No element is open.
    bool IsAtTop() const noexcept { return open == &store.document; }
    // Adds a child to what is open.
    void AddLeaf(NodeType type, std::u16string_view value);
    // Adds an element, and starts its attributes.
    void AddElement(std::u16string_view name);
    void AddAttributeName(std::u16string_view name)
    {
        attributes.push_back({&store.names.Use(name), Text()});
    }
    void AddAttributeValue(std::u16string_view value) { attributes.back().value = store.MakeText(value); }
    // Ends its attributes; what follows goes into it, or, if it is empty, behind it.
    void EndStartTag(bool isEmpty);
    // Closes the open element, if that is its name.
    bool Close(std::u16string_view name) noexcept;

private:
    void Append(DomNode& node) noexcept;

    NodeStore& store;
    ParentRecord* open;
    ElementRecord* started = nullptr;
    std::vector<Attribute> attributes; // of `started`, in the order of the text
};

class FaceBuilder {
public:
    explicit FaceBuilder(FacePtr<ParentNode> document) { open.push_back(std::move(document)); }

    bool IsAtTop() const noexcept { return open.size() == 1; }
    void AddLeaf(NodeType type, std::u16string_view value);
    void AddElement(std::u16string_view name);
    void AddAttributeName(std::u16string_view name) { attributeName = MakeString(name); }
    void AddAttributeValue(std::u16string_view value)
    {
        started->SetAttribute(attributeName, MakeString(value));
    }
    void EndStartTag(bool isEmpty);
    bool Close(std::u16string_view name);

private:
    std::vector<FacePtr<ParentNode>> open;
    FacePtr<Element> started;
    WideString attributeName;
};

} // namespace Xml
