#include "xml/facades.h"

#include "xml/rollback.h"
#include "xml/tree.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

namespace Xml {

namespace {

// What the library asks an object for to learn whether it is one of its own facades. Those know the text by
// its address; to all others it is an interface that they do not have.
constexpr char16_t ownFacade[] = u"IID_Xml::DomNode";

bool IsSame(const char16_t* left, const char16_t* right) noexcept
{
    for (; *left == *right; ++left, ++right)
        if (*left == 0)
            return true;
    return false;
}

// Whether that is the identifier of the interface or of one that it is based on.
template <class Interface>
bool IsOrDerivesFrom(const char16_t* wanted) noexcept
{
    if constexpr (HasOwnIdentifier<Interface>())
        if (IsSame(wanted, Interface::iid))
            return true;
    if constexpr (std::is_same_v<Interface, BaseFace>)
        return false;
    else
        return IsOrDerivesFrom<std::remove_pointer_t<decltype(FirstBase(typename Interface::Bases{}))>>(
            wanted);
}

template <class T>
class FacadeObject final : public ImplHeap<T, FacadeObject<T>, Module> {
public:
    using ImplHeap<T, FacadeObject<T>, Module>::ImplHeap;

    // Its interfaces stand in one line, so all its faces are the primary one. For the short texts at hand
    // this is faster than their hashes, and who walks a document asks for each node.
    BaseFace* Cast(const char16_t* wanted) noexcept override
    {
        if (wanted != nullptr && wanted != ownFacade && !IsOrDerivesFrom<T>(wanted))
            return nullptr;
        this->AddRef();
        return Primary(this);
    }

    static void operator delete(FacadeObject* dying, std::destroying_delete_t) noexcept
    {
        FacadeBlock& block = dying->block;
        dying->~FacadeObject();
        block.GiveBackSlot();
    }
};

template <class T, class Record>
FacePtr<T> MakeFacade(FacadeBlock& block, std::size_t slot, NodeStore& store, Record& record) noexcept
{
    static_assert(sizeof(FacadeObject<T>) == FacadeBlock::slotBytes);
    auto* const made = ::new (block.GetSlot(slot)) FacadeObject<T>(store, record, block);
    made->AddRef(); // here the compiler knows which one
    return FacePtr<T>::Adopt(made);
}

FacePtr<Node> MakeFacadeOfKind(FacadeBlock& block, std::size_t slot, NodeStore& store, DomNode& node) noexcept
{
    switch (node.kind) {
    case NodeType::Document:
        return MakeFacade<DocumentNode>(block, slot, store, static_cast<DocumentRecord&>(node));
    case NodeType::Element:
        return MakeFacade<ElementNode>(block, slot, store, static_cast<ElementRecord&>(node));
    default:
        return MakeFacade<LeafNode>(block, slot, store, static_cast<LeafRecord&>(node));
    }
}

FacePtr<Element> WrapElement(NodeStore& store, ElementRecord& element)
{
    return MakeFacade<ElementNode>(FacadeBlock::Make(1), 0, store, element);
}

// The node if it is a child of this parent, else null.
DomNode* FindChild(const ParentRecord& parent, const FacePtr<Node>& shown) noexcept
{
    const StoredNode stored = FindStored(shown.Get());
    return stored.node != nullptr && stored.node->parent == &parent ? stored.node : nullptr;
}

std::vector<FacePtr<Node>> WrapChildren(NodeStore& store, ParentRecord& parent)
{
    std::size_t count = 0;
    for (DomNode* child = parent.first; child != nullptr; child = child->next)
        ++count;
    std::vector<FacePtr<Node>> children;
    children.reserve(count);
    DomNode* child = parent.first;
    while (const std::size_t slots = std::min(count - children.size(), FacadeBlock::mostSlots)) {
        FacadeBlock& block = FacadeBlock::Make(slots);
        for (std::size_t slot = 0; slot < slots; ++slot, child = child->next)
            children.push_back(MakeFacadeOfKind(block, slot, store, *child));
    }
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
    NodeStore::Pin(store->document); // so that the store is not lost if the facade cannot be made
    Rollback unpin([store]() noexcept { store->Unpin(store->document); });
    return MakeFacade<DocumentNode>(FacadeBlock::Make(1), 0, *store, store->document);
}

// What answers is asked, not what was given: it may be another object.
StoredNode FindStored(Node* shown) noexcept
{
    BaseFace* const found = shown != nullptr ? shown->Cast(ownFacade) : nullptr;
    if (found == nullptr)
        return {};
    FacePtr<Node> facade = FacePtr<Node>::Adopt(FromPrimary<Node>(found));
    const auto storedIn = [&facade](const auto& own) {
        return StoredNode{std::move(facade), &own.GetStore(), &own.GetRecord()};
    };
    switch (facade->GetType()) {
    case NodeType::Document:
        return storedIn(static_cast<DocumentNode&>(*facade));
    case NodeType::Element:
        return storedIn(static_cast<ElementNode&>(*facade));
    default:
        return storedIn(static_cast<LeafNode&>(*facade));
    }
}

FacePtr<Node> Wrap(NodeStore& store, DomNode& node)
{
    return MakeFacadeOfKind(FacadeBlock::Make(1), 0, store, node);
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
