// Changes to the tree of a document, by the one thread that uses it.
#pragma once

#include "xml/node_store.h"

namespace Xml {

// A new node without parent. Throws std::bad_alloc.
DomNode& MakeNode(NodeStore& store, NodeType type, const WideString& value);
// Puts a node without parent in front of a child, or at the end (null).
void Link(ParentRecord& parent, DomNode& node, DomNode* before) noexcept;
// Takes a node out of its parent. It becomes the top of a tree of its own, or is freed if nobody holds it.
void Unlink(NodeStore& store, DomNode& child) noexcept;

// The next node in document order, null behind the last one below `top`.
inline DomNode* NextBelow(DomNode& top, DomNode& node) noexcept
{
    if (node.IsParent())
        if (DomNode* const first = static_cast<ParentRecord&>(node).first)
            return first;
    DomNode* at = &node;
    while (at != &top && at->next == nullptr)
        at = at->parent;
    return at != &top ? at->next : nullptr;
}

// Flags are Element::NormalizeFlags. Throws std::bad_alloc, with no text lost.
void Normalize(NodeStore& store, ElementRecord& top, std::uint32_t flags);

} // namespace Xml
