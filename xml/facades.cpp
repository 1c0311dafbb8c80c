#include "xml/facades.h"

#include "xml/rollback.h"
#include "xml/tree.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <utility>

namespace Xml {

namespace {

// What the library asks an object for to learn whether it is one of its own facades. Those know the text by
// its address; to all others it is an interface that they do not have.
constexpr char16_t ownFacade[] = u"IID_Xml::DomNode";

template <class T>
class FacadeObject final : public ImplHeap<T, FacadeObject<T>, Module> {
public:
    using ImplHeap<T, FacadeObject<T>, Module>::ImplHeap;

    BaseFace* Cast(const char16_t* wanted) noexcept override
    {
        return ImplHeap<T, FacadeObject<T>, Module>::Cast(wanted != ownFacade ? wanted : nullptr);
    }
};

FacePtr<Element> WrapElement(NodeStore& store, ElementRecord& element)
{
    return MakeFace<FacadeObject<ElementNode>>(store, element);
}

// The node if it is a child of this parent, else null.
DomNode* FindChild(const ParentRecord& parent, const FacePtr<Node>& shown) noexcept
{
    DomNode* const node = FindStored(shown.Get()).node;
    return node != nullptr && node->parent == &parent ? node : nullptr;
}

std::vector<FacePtr<Node>> WrapChildren(NodeStore& store, ParentRecord& parent)
{
    std::size_t count = 0;
    for (DomNode* child = parent.first; child != nullptr; child = child->next)
        ++count;
    std::vector<FacePtr<Node>> children;
    children.reserve(count);
    for (DomNode* child = parent.first; child != nullptr; child = child->next)
        children.push_back(Wrap(store, *child));
    return children;
}

// The facade is made before the node is linked: then nothing can fail any more.
template <class Shown, class MakeFacade>
FacePtr<Shown> Insert(NodeStore& store, ParentRecord& parent, NodeType type, const WideString& value,
    DomNode* before, MakeFacade makeFacade)
{
    DomNode& made = MakeNode(store, type, value);
    Rollback rollback([&]() noexcept {
        const SectionLock lock(store.section);
        store.FreeTree(made);
    });
    FacePtr<Shown> facade = makeFacade(store, made);
    rollback.Disarm();
    Link(parent, made, before);
    return facade;
}

void RefuseMisplaced(const ParentRecord& parent, NodeType type)
{
    bool isAllowed = type != NodeType::Document;
    if (parent.kind == NodeType::Document)
        isAllowed = type == NodeType::Comment
            || (type == NodeType::Element && static_cast<const DocumentRecord&>(parent).root == nullptr);
    if (!isAllowed)
        throw Error("xml-domnode-err", "xml");
}

} // namespace

FacePtr<Document> MakeDocument()
{
    auto* const store = new NodeStore;
    store->Pin(store->document); // so that the store is not lost if the facade cannot be made
    Rollback unpin([store]() noexcept { store->Unpin(store->document); });
    return MakeFace<FacadeObject<DocumentNode>>(*store, store->document);
}

StoredNode FindStored(Node* shown) noexcept
{
    if (shown == nullptr || !FacePtr<BaseFace>::Adopt(shown->Cast(ownFacade)))
        return {};
    switch (shown->GetType()) {
    case NodeType::Document:
        return static_cast<DocumentNode*>(shown)->GetStored();
    case NodeType::Element:
        return static_cast<ElementNode*>(shown)->GetStored();
    default:
        return static_cast<LeafNode*>(shown)->GetStored();
    }
}

FacePtr<Node> Wrap(NodeStore& store, DomNode& node)
{
    switch (node.kind) {
    case NodeType::Document:
        return MakeFace<FacadeObject<DocumentNode>>(store, static_cast<DocumentRecord&>(node));
    case NodeType::Element:
        return MakeFace<FacadeObject<ElementNode>>(store, static_cast<ElementRecord&>(node));
    default:
        return MakeFace<FacadeObject<LeafNode>>(store, static_cast<LeafRecord&>(node));
    }
}

template <class Interface, class Record>
FacePtr<Node> Facade<Interface, Record>::GetParent()
{
    return record.parent != nullptr ? Wrap(store, *record.parent) : nullptr;
}

template <class Interface, class Record>
std::vector<FacePtr<Node>> ParentFacade<Interface, Record>::GetChildren()
{
    return WrapChildren(this->store, this->record);
}

template <class Interface, class Record>
void ParentFacade<Interface, Record>::RemoveChild(const FacePtr<Node>& child)
{
    if (DomNode* const found = FindChild(this->record, child))
        Unlink(this->store, *found);
}

template <class Interface, class Record>
FacePtr<Node> ParentFacade<Interface, Record>::InsertChild(
    NodeType type, const WideString& value, const FacePtr<Node>& before)
{
    RefuseMisplaced(this->record, type);
    return Insert<Node>(this->store, this->record, type, value, FindChild(this->record, before), Wrap);
}

FacePtr<Element> DocumentNode::GetRootElement()
{
    return record.root != nullptr ? WrapElement(store, *record.root) : nullptr;
}

void ElementNode::SetValue(const WideString& value)
{
    const SectionLock lock(store.section);
    Name& fresh = store.names.Use(value);
    store.names.EndUse(*std::exchange(record.name, &fresh));
}

std::vector<WideString> ElementNode::GetAttributeNames()
{
    std::vector<WideString> names;
    names.reserve(record.attributes.GetCount());
    record.attributes.ForEach(
        [&names](const Attribute& attribute) { names.push_back(attribute.name->text); });
    return names;
}

bool ElementNode::HasAttribute(const WideString& name)
{
    return record.attributes.Find(name.c_str()) != nullptr;
}

WideString ElementNode::GetAttribute(const WideString& name, const WideString& missing)
{
    const Text* const value = record.attributes.Find(name.c_str());
    return value != nullptr ? value->Get() : missing;
}

WideString ElementNode::GetAttribute(const WideString& name)
{
    return GetAttribute(name, WideString());
}

void ElementNode::SetAttribute(const WideString& name, const WideString& value)
{
    const SectionLock lock(store.section);
    record.attributes.Set(store, name, value);
}

std::uint64_t ElementNode::RemoveAttribute(const WideString& name)
{
    const SectionLock lock(store.section);
    return record.attributes.Remove(store, name.c_str()) ? 1 : 0;
}

FacePtr<Element> ElementNode::GetChildElement(const WideString& name, bool create)
{
    const std::u16string_view sought(name.c_str());
    for (DomNode* child = record.first; child != nullptr; child = child->next)
        if (child->IsElement() && static_cast<ElementRecord*>(child)->name->Is(sought))
            return WrapElement(store, *static_cast<ElementRecord*>(child));
    if (!create)
        return nullptr;
    return Insert<Element>(
        store, record, NodeType::Element, name, nullptr, [](NodeStore& itsStore, DomNode& made) {
            return WrapElement(itsStore, static_cast<ElementRecord&>(made));
        });
}

std::vector<FacePtr<Element>> ElementNode::FindElements(const WideString& /*path*/)
{
    throw Error("xml-find-notimpl", "xml");
}

FacePtr<Element> ElementNode::FindElement(const WideString& /*path*/)
{
    throw Error("xml-find-notimpl", "xml");
}

void ElementNode::Normalize(std::uint32_t flags)
{
    Xml::Normalize(store, record, flags);
}

void LeafNode::SetValue(const WideString& value)
{
    const SectionLock lock(store.section);
    const Text fresh = store.MakeText(value);
    store.Free(std::exchange(record.text, fresh));
}

} // namespace Xml
