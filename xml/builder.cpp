#include "xml/builder.h"

#include "xml/tree.h"

#include <utility>

namespace Xml {

// As Link at the end, for nodes that no facade pins.
void StoreBuilder::Append(DomNode& node) noexcept
{
    node.parent = open;
    node.previous = open->last;
    (open->last != nullptr ? open->last->next : open->first) = &node;
    open->last = &node;
}

void StoreBuilder::AddLeaf(NodeType type, std::u16string_view value)
{
    Append(store.MakeLeaf(type, store.MakeText(value)));
}

void StoreBuilder::AddElement(std::u16string_view name)
{
    started = &store.MakeElement(store.names.Use(name));
    Append(*started);
    if (IsAtTop())
        store.document.root = started;
}

void StoreBuilder::EndStartTag(bool isEmpty)
{
    if (!attributes.empty()) {
        started->attributes.Fill(store, attributes.data(), attributes.size());
        attributes.clear();
    }
    if (!isEmpty)
        open = started;
}

bool StoreBuilder::Close(std::u16string_view name) noexcept
{
    if (IsAtTop() || !static_cast<ElementRecord*>(open)->name->Is(name))
        return false;
    open = open->parent;
    return true;
}

void FaceBuilder::AddLeaf(NodeType type, std::u16string_view value)
{
    open.back()->InsertChild(type, MakeString(value), nullptr);
}

void FaceBuilder::AddElement(std::u16string_view name)
{
    started = open.back()->InsertChild(NodeType::Element, MakeString(name), nullptr).Cast<Element>("xml");
    if (!started)
        ThrowCastFailure(Element::iid, "xml");
}

void FaceBuilder::EndStartTag(bool isEmpty)
{
    FacePtr<Element> ended = std::exchange(started, nullptr);
    if (!isEmpty)
        open.push_back(std::move(ended));
}

bool FaceBuilder::Close(std::u16string_view name)
{
    if (IsAtTop() || open.back()->GetValue() != MakeString(name))
        return false;
    open.pop_back();
    return true;
}

} // namespace Xml
