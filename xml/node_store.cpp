#include "xml/node_store.h"

#include "xml/member_list.h"

#include <new>
#include <utility>

namespace Xml {

void NodeStore::Unpin(DomNode& node) noexcept
{
    for (DomNode* at = &node;;) {
        // Read first: as soon as the pin is gone, another thread may end the tree.
        DomNode* const parent = at->parent;
        // release: what was done through this facade happens before the end of the tree; acquire: for the end
        if (at->pins.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        if (parent == nullptr)
            return EndTree(*at);
        at = parent;
    }
}

void NodeStore::AddTree() noexcept
{
    const SectionLock lock(section);
    ++trees;
}

void NodeStore::EndTree(DomNode& top) noexcept
{
    {
        const SectionLock lock(section);
        if (--trees != 0)
            return FreeTree(top);
    }
    delete this;
}

// Nothing is done node by node: what owns memory of its own is in a list.
NodeStore::~NodeStore()
{
    while (attributeTrees != nullptr)
        delete std::exchange(attributeTrees, attributeTrees->next);
    for (Text::Owned* owned = ownedTexts; owned != nullptr; owned = owned->next)
        owned->string.~WideString();
    texts.Wipe();
}

void NodeStore::FreeTree(DomNode& top) noexcept
{
    for (DomNode* node = &top; node != nullptr;) {
        auto* const parent = node->IsParent() ? static_cast<ParentRecord*>(node) : nullptr;
        if (parent != nullptr && parent->first != nullptr) {
            node = std::exchange(parent->first, nullptr);
            continue;
        }
        DomNode* const following = node == &top ? nullptr : node->next != nullptr ? node->next : node->parent;
        FreeNode(*node);
        node = following;
    }
}

void NodeStore::FreeNode(DomNode& node) noexcept
{
    if (node.IsElement()) {
        auto& element = static_cast<ElementRecord&>(node);
        names.EndUse(*element.name);
        element.attributes.Free(*this);
        records.GiveBack(&element, sizeof(ElementRecord));
    } else if (node.kind != NodeType::Document) { // which is a part of the store
        auto& leaf = static_cast<LeafRecord&>(node);
        Free(leaf.text);
        records.GiveBack(&leaf, sizeof(LeafRecord));
    }
}

Text NodeStore::Pack(std::u16string_view view)
{
    if (view.empty())
        return {};
    void* const place = texts.Reserve(sizeof(Text::Packed) + view.size() * sizeof(char16_t));
    texts.Take(Text::Pack(view, place));
    return Text(static_cast<const Text::Packed*>(place));
}

Text NodeStore::MakeText(const WideString& string)
{
    return string.IsEmpty() ? Text() : Own(string, string.GetLength());
}

Text NodeStore::Own(WideString string, std::size_t length)
{
    auto* const owned =
        ::new (records.Take(sizeof(Text::Owned))) Text::Owned{std::move(string), length, nullptr, nullptr};
    PutFirst(ownedTexts, *owned);
    return Text(owned);
}

void NodeStore::Free(Text text) noexcept
{
    Text::Owned* const owned = text.GetOwned();
    if (owned == nullptr)
        return text.WipePacked(); // its memory goes with the store
    TakeOut(*owned);
    owned->~Owned();
    records.GiveBack(owned, sizeof(Text::Owned));
}

} // namespace Xml
