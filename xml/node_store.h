// NodeStore: one document in memory, and the trees that were taken out of it.
//
// Nodes are records in the store's memory, linked with their neighbours. A record lives as long as its tree,
// and a tree as long as one of its nodes is pinned by a facade. So that neither end of that needs a search, a
// node is also pinned by each child that is pinned:
//
// 1. pins of a node = its facades + its children whose pins are not 0.
// 2. A tree whose top has no pins is dead. Nobody can reach it any more.
// 3. The store dies with the last of its trees.
//
// The tree of one document belongs to one thread at a time, but facades are released in any thread: only pins
// and what the section guards change then. The section is the store's as a heap's lock is the heap's.
#pragma once

#include "xml/arena.h"
#include "xml/attributes.h"
#include "xml/names.h"
#include "xml/text.h"
#include <tessel/base/critical_section.h>
#include <tessel/xml/node.h>

#include <atomic>
#include <cstdint>

namespace Xml {

struct ParentRecord;

struct DomNode {
    explicit DomNode(NodeType its) noexcept : kind(its) { }

    bool IsText() const noexcept { return kind == NodeType::Text; }
    bool IsElement() const noexcept { return kind == NodeType::Element; }
    bool IsParent() const noexcept { return IsElement() || kind == NodeType::Document; }

    std::atomic<std::uint32_t> pins{0};
    NodeType kind; // decides which of the records below this is
    ParentRecord* parent = nullptr; // null at the top of a tree
    DomNode* previous = nullptr;
    DomNode* next = nullptr;
};

struct LeafRecord : DomNode {
    using DomNode::DomNode;

    Text text;
};

struct ParentRecord : DomNode {
    using DomNode::DomNode;

    DomNode* first = nullptr;
    DomNode* last = nullptr;
};

struct ElementRecord : ParentRecord {
    explicit ElementRecord(Name& its) noexcept : ParentRecord(NodeType::Element), name(&its) { }

    Name* name;
    Attributes attributes;
};

struct DocumentRecord : ParentRecord {
    DocumentRecord() noexcept : ParentRecord(NodeType::Document) { }

    ElementRecord* root = nullptr;
};

static_assert(sizeof(LeafRecord) == 40 && sizeof(ElementRecord) == 64);

class NodeStore {
public:
    // With an empty document that is not yet pinned; deletes itself.
    NodeStore() noexcept : names(records) { }
    NodeStore(const NodeStore&) = delete;
    NodeStore& operator=(const NodeStore&) = delete;

    // ---- Pins

    // Keeps (1): only the first pin of a node is told to its parent.
    static void Pin(DomNode& node) noexcept
    {
        // relaxed: whoever pins got here through a node that is pinned
        DomNode* at = &node;
        while (at->pins.fetch_add(1, std::memory_order_relaxed) == 0 && at->parent != nullptr)
            at = at->parent;
    }
    void Unpin(DomNode& node) noexcept;
    // A node with pins was taken out of its parent: it is the top of a tree of its own.
    void AddTree() noexcept;

    // ---- Records, for whoever holds the section or has made the store and shown it to nobody

    LeafRecord& MakeLeaf(NodeType kind, Text text)
    {
        auto& leaf = *::new (records.Take(sizeof(LeafRecord))) LeafRecord(kind);
        leaf.text = text;
        return leaf;
    }
    ElementRecord& MakeElement(Name& name)
    {
        return *::new (records.Take(sizeof(ElementRecord))) ElementRecord(name);
    }
    // A node without parent and pins, with all below it.
    void FreeTree(DomNode& top) noexcept;

    // Up to a length the characters are packed, beyond it they become a string.
    Text MakeText(std::u16string_view view)
    {
        return view.size() <= Text::Packed::longest ? Pack(view) : Own(MakeString(view), view.size());
    }
    Text MakeText(const WideString& string);
    Text Own(WideString string, std::size_t length);
    void Free(Text text) noexcept;

    CriticalSection section; // guards all that follows; nothing is taken under it
    DocumentRecord document;
    RecordPool records;
    NameTable names;
    Attributes::Tree* attributeTrees = nullptr;

private:
    ~NodeStore();

    void EndTree(DomNode& top) noexcept;
    void FreeNode(DomNode& node) noexcept;
    Text Pack(std::u16string_view view);

    Arena texts;
    Text::Owned* ownedTexts = nullptr;
    std::size_t trees = 1; // that are alive
};

} // namespace Xml
