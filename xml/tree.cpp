#include "xml/tree.h"

#include "base/text_builder.h"
#include "xml/rollback.h"
#include <tessel/xml/element.h>

#include <utility>

namespace Xml {

DomNode& MakeNode(NodeStore& store, NodeType type, const WideString& value)
{
    const SectionLock lock(store.section);
    if (type == NodeType::Element) {
        Name& name = store.names.Use(value);
        Rollback rollback([&]() noexcept { store.names.EndUse(name); });
        ElementRecord& element = store.MakeElement(name);
        rollback.Disarm();
        return element;
    }
    const Text text = store.MakeText(value);
    Rollback rollback([&]() noexcept { store.Free(text); });
    LeafRecord& leaf = store.MakeLeaf(type, text);
    rollback.Disarm();
    return leaf;
}

void Link(ParentRecord& parent, DomNode& node, DomNode* before) noexcept
{
    node.parent = &parent;
    node.next = before;
    node.previous = before != nullptr ? before->previous : parent.last;
    (node.previous != nullptr ? node.previous->next : parent.first) = &node;
    (before != nullptr ? before->previous : parent.last) = &node;
    if (parent.kind == NodeType::Document && node.IsElement())
        static_cast<DocumentRecord&>(parent).root = static_cast<ElementRecord*>(&node);
    if (node.pins.load(std::memory_order_relaxed) != 0) // and so counts as one pin of the parent
        parent.pins.fetch_add(1, std::memory_order_relaxed);
}

void Unlink(NodeStore& store, DomNode& child) noexcept
{
    ParentRecord& parent = *std::exchange(child.parent, nullptr);
    DomNode* const previous = std::exchange(child.previous, nullptr);
    DomNode* const next = std::exchange(child.next, nullptr);
    (previous != nullptr ? previous->next : parent.first) = next;
    (next != nullptr ? next->previous : parent.last) = previous;
    if (parent.kind == NodeType::Document && static_cast<DocumentRecord&>(parent).root == &child)
        static_cast<DocumentRecord&>(parent).root = nullptr;
    if (child.pins.load(std::memory_order_acquire) != 0) {
        store.AddTree();
        store.Unpin(parent);
    } else {
        const SectionLock lock(store.section);
        store.FreeTree(child);
    }
}

namespace {

// Gives the first of a run of text nodes the text of them all, and takes the others out.
void MergeRun(NodeStore& store, LeafRecord& first)
{
    const auto isContinued = [&first] { return first.next != nullptr && first.next->IsText(); };
    TextBuilder joined;
    for (DomNode* node = &first; node != nullptr && node->IsText(); node = node->next)
        static_cast<LeafRecord*>(node)->text.ForEachPiece(
            [&joined](std::u16string_view piece) { joined.Add(piece); });
    const SectionLock lock(store.section);
    const Text text = store.Own(MakeString(joined.View()), joined.GetLength());
    store.Free(std::exchange(first.text, text));
    while (isContinued())
        Unlink(store, *first.next);
}

void NormalizeChildren(NodeStore& store, ElementRecord& element, std::uint32_t flags)
{
    if ((flags & Element::CDataToText) != 0)
        for (DomNode* child = element.first; child != nullptr; child = child->next)
            if (child->kind == NodeType::CData)
                child->kind = NodeType::Text;
    if ((flags & Element::MergeText) != 0)
        for (DomNode* child = element.first; child != nullptr; child = child->next)
            if (child->IsText() && child->next != nullptr && child->next->IsText())
                MergeRun(store, *static_cast<LeafRecord*>(child));
}

} // namespace

void Normalize(NodeStore& store, ElementRecord& top, std::uint32_t flags)
{
    for (DomNode* node = &top; node != nullptr; node = NextBelow(top, *node))
        if (node->IsElement())
            NormalizeChildren(store, *static_cast<ElementRecord*>(node), flags);
}

} // namespace Xml
