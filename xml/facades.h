// The facades: what clients hold of a document.
//
// A facade is a few pointers and a pin on its node. It is made whenever a node is handed out, and answers to
// the interfaces of its kind and nothing else.
#pragma once

#include "xml/facade_block.h"
#include "xml/node_store.h"
#include <tessel/xml/document.h>

namespace Xml {

// A new, empty document.
FacePtr<Document> MakeDocument();

// The node that an object shows. Null for a null pointer and for an object that is no facade of this library
// and does not pass the question on to one.
struct StoredNode {
    FacePtr<Node> facade; // keeps the rest alive
    NodeStore* store = nullptr;
    DomNode* node = nullptr;
};
StoredNode FindStored(Node* shown) noexcept;

// A new facade of a node.
FacePtr<Node> Wrap(NodeStore& store, DomNode& node);

template <class Interface, class Record>
class Facade : public Face<Interface> {
public:
    Facade(NodeStore& itsStore, Record& its, FacadeBlock& itsBlock) noexcept
        : store(itsStore), record(its), block(itsBlock)
    {
        NodeStore::Pin(record);
    }
    Facade(const Facade&) = delete;
    Facade& operator=(const Facade&) = delete;

    NodeType GetType() override { return record.kind; }
    FacePtr<Node> GetParent() override;

    NodeStore& GetStore() const noexcept { return store; }
    Record& GetRecord() const noexcept { return record; }

protected:
    ~Facade() { store.Unpin(record); }

    NodeStore& store;
    Record& record;
    FacadeBlock& block; // that this one lies in
};

template <class Interface, class Record>
class ParentFacade : public Facade<Interface, Record> {
public:
    using Facade<Interface, Record>::Facade;

    std::vector<FacePtr<Node>> GetChildren() override;
    void RemoveChild(const FacePtr<Node>& child) override;
    FacePtr<Node> InsertChild(NodeType type, const WideString& value, const FacePtr<Node>& before) override;

protected:
    ~ParentFacade() = default;
};

class DocumentNode : public ParentFacade<Document, DocumentRecord> {
public:
    static constexpr Iid iid = u"IID_Xml::DocumentNode"_iid;

    using ParentFacade::ParentFacade;

    WideString GetValue() override { return {}; }
    void SetValue(const WideString& /*value*/) override { }
    FacePtr<Element> GetRootElement() override;

protected:
    ~DocumentNode() = default;
};

class ElementNode : public ParentFacade<Element, ElementRecord> {
public:
    using ParentFacade::ParentFacade;

    WideString GetValue() override { return record.name->text; }
    void SetValue(const WideString& value) override;
    std::vector<WideString> GetAttributeNames() override;
    bool HasAttribute(const WideString& name) override;
    WideString GetAttribute(const WideString& name, const WideString& missing) override;
    WideString GetAttribute(const WideString& name) override;
    void SetAttribute(const WideString& name, const WideString& value) override;
    std::uint64_t RemoveAttribute(const WideString& name) override;
    FacePtr<Element> GetChildElement(const WideString& name, bool create) override;
    std::vector<FacePtr<Element>> FindElements(const WideString& path) override;
    FacePtr<Element> FindElement(const WideString& path) override;
    void Normalize(std::uint32_t flags) override;

protected:
    ~ElementNode() = default;
};

class LeafNode : public Facade<Node, LeafRecord> {
public:
    using Facade::Facade;

    WideString GetValue() override { return record.text.Get(); }
    void SetValue(const WideString& value) override;

protected:
    ~LeafNode() = default;
};

} // namespace Xml
