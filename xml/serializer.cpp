// Both walks go through a tree of any depth without recursion: one along the links of the records, the other
// with a list of what is open, through interfaces alone, for documents of classes that clients have
// registered.
#include "xml/serializer.h"

#include "xml/characters.h"
#include "xml/facades.h"
#include "xml/layout.h"

#include <utility>
#include <vector>

namespace Xml {

namespace {

bool StandsBehindText(const DomNode& node) noexcept
{
    return node.previous != nullptr && node.previous->IsText();
}

void WriteTag(Layout& layout, const ElementRecord& element)
{
    Layout::RequireName(element.name->isValid);
    element.attributes.ForEach(
        [](const Attribute& attribute) { Layout::RequireName(attribute.name->isValid); });
    layout.BeginTag(element.name->View());
    element.attributes.ForEach([&layout](const Attribute& attribute) {
        layout.BeginAttribute(attribute.name->View());
        attribute.value.ForEachPiece([&layout](std::u16string_view piece) { layout.AddValue(piece); });
        layout.EndAttribute();
    });
    layout.EndTag(element.first == nullptr);
}

void WriteNode(Layout& layout, DomNode& node, std::uint32_t depth)
{
    if (!node.IsText() && !StandsBehindText(node))
        layout.BreakLine(depth);
    if (node.IsElement())
        return WriteTag(layout, static_cast<ElementRecord&>(node));
    const Text text = static_cast<LeafRecord&>(node).text;
    if (node.kind == NodeType::Text)
        text.ForEachPiece([&layout](std::u16string_view piece) { layout.AddText(piece); });
    else if (node.kind == NodeType::CData)
        layout.Section(text.Get().c_str());
    else if (node.kind == NodeType::Comment)
        layout.Comment(text.Get().c_str());
}

void WriteStored(Layout& layout, const DocumentRecord& document)
{
    layout.Header();
    std::uint32_t depth = 0;
    for (DomNode* node = document.first; node != nullptr; node = node->next) {
        WriteNode(layout, *node, depth);
        for (; node->IsElement() && static_cast<ElementRecord*>(node)->first != nullptr; ++depth) {
            node = static_cast<ElementRecord*>(node)->first;
            WriteNode(layout, *node, depth + 1);
        }
        for (; node->next == nullptr && node->parent != &document; --depth) {
            const bool endsInText = node->IsText();
            node = node->parent;
            if (!endsInText)
                layout.BreakLine(depth - 1);
            layout.Close(static_cast<ElementRecord*>(node)->name->View());
        }
    }
}

// A list of children that somebody else has made may hold a null pointer.
void RequireNode(const FacePtr<Node>& node)
{
    if (!node)
        ThrowCastFailure(Node::iid, "xml");
}

class FaceWalk {
public:
    explicit FaceWalk(Layout& its) noexcept : layout(its) { }

    void Run(const FacePtr<Node>& top)
    {
        Write(top, 0, true);
        while (!open.empty())
            WriteNext();
    }

private:
    struct Level {
        std::vector<FacePtr<Node>> children;
        bool isDocument;
        std::uint32_t depth; // of the children
        WideString name;
        std::size_t next = 0;
        bool mayBreak = true; // before the next child, or before the end
    };

    void WriteNext();
    void Write(const FacePtr<Node>& node, std::uint32_t depth, bool mayBreak);
    void WriteElement(const FacePtr<Element>& element, std::uint32_t depth);

    Layout& layout;
    std::vector<Level> open;
};

void FaceWalk::WriteNext()
{
    Level& level = open.back();
    if (level.next < level.children.size()) {
        const FacePtr<Node> child = std::move(level.children[level.next++]);
        RequireNode(child);
        const bool mayBreak = level.mayBreak;
        level.mayBreak = level.isDocument || child->GetType() != NodeType::Text;
        return Write(child, level.depth, mayBreak);
    }
    if (!level.isDocument) {
        if (level.mayBreak)
            layout.BreakLine(level.depth - 1);
        layout.Close(level.name.c_str());
    }
    open.pop_back();
}

void FaceWalk::Write(const FacePtr<Node>& node, std::uint32_t depth, bool mayBreak)
{
    const NodeType type = node->GetType();
    if (mayBreak && type != NodeType::Document && type != NodeType::Text)
        layout.BreakLine(depth);
    switch (type) {
    case NodeType::Document:
        layout.Header();
        open.push_back({node.Cast<ParentNode>("xml")->GetChildren(), true, 0, {}});
        break;
    case NodeType::Element:
        WriteElement(node.Cast<Element>("xml"), depth);
        break;
    case NodeType::Text:
        layout.AddText(node->GetValue().c_str());
        break;
    case NodeType::CData:
        layout.Section(node->GetValue().c_str());
        break;
    case NodeType::Comment:
        layout.Comment(node->GetValue().c_str());
        break;
    }
}

void FaceWalk::WriteElement(const FacePtr<Element>& element, std::uint32_t depth)
{
    const WideString name = element->GetValue();
    Layout::RequireName(IsValidName(name.c_str()));
    const std::vector<WideString> attributes = element->GetAttributeNames();
    for (const WideString& attribute : attributes)
        Layout::RequireName(IsValidName(attribute.c_str()));
    std::vector<FacePtr<Node>> children = element->GetChildren();
    layout.BeginTag(name.c_str());
    for (const WideString& attribute : attributes) {
        layout.BeginAttribute(attribute.c_str());
        layout.AddValue(element->GetAttribute(attribute).c_str());
        layout.EndAttribute();
    }
    layout.EndTag(children.empty());
    if (!children.empty())
        open.push_back({std::move(children), false, depth + 1, name});
}

void Write(Layout& layout, const FacePtr<Document>& document)
{
    const StoredNode stored = FindStored(document.Get());
    if (stored.store != nullptr)
        WriteStored(layout, stored.store->document);
    else
        FaceWalk(layout).Run(document);
}

} // namespace

void Serialize(StringWritingStream& stream, const FacePtr<Document>& document)
{
    Output output(stream);
    Layout layout(output);
    try {
        Write(layout, document);
    } catch (...) {
        try {
            output.Flush();
        } catch (...) { // the first failure is the one to tell
        }
        throw;
    }
    output.Flush();
}

} // namespace Xml
