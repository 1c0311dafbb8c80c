// Xml::Node: one place in an XML document, and Xml::ParentNode, a place that has others below it.
//
// What a client holds are facades, made anew whenever a node is handed out: two of them for one node are two
// objects, which a comparison of FacePtrs tells apart. A facade keeps its node and the whole document alive,
// so the document may be let go while one element is still in use.
//
// A node that is taken out of the document becomes, with all below it, a tree of its own: every facade of a
// node in it keeps it alive as a whole. It cannot be put back. Its memory is part of the document's, and what
// it leaves is used again for new nodes; all of it is freed with the last facade of either.
//
// A document is used by one thread at a time, a tree taken out of it counts as another one. Facades may be
// released in any thread while nothing else touches the tree. Operations throw std::bad_alloc for want of
// memory, and have changed nothing then.
#pragma once

#include <tessel/base/string.h>
#include <tessel/object/face_ptr.h>

#include <cstdint>
#include <vector>

namespace Xml {

enum class NodeType : std::uint32_t {
    Document = 0, // its value is always empty
    Element = 1, // its value is the name
    Text = 2, // the text, with nothing escaped
    CData = 3, // the text of the section
    Comment = 4, // the text between the markers
};

struct Node : Face<> {
    static constexpr Iid iid = u"IID_Xml::Node"_iid;

    virtual NodeType GetType() = 0;
    virtual WideString GetValue() = 0;
    // The new text of a leaf, or name of an element, which is not checked before the document is written.
    // Does nothing to a document.
    virtual void SetValue(const WideString& value) = 0;
    // Null for a document and for a node that was taken out.
    virtual FacePtr<Node> GetParent() = 0;
};

// Nodes that are given as arguments count by what they show. A null pointer, an object of another kind and
// a node that is no child of this one are no child; that is no failure.
struct ParentNode : Face<Node> {
    static constexpr Iid iid = u"IID_Xml::ParentNode"_iid;

    // A facade for each child, in document order; who walks a large tree holds on to the vector.
    virtual std::vector<FacePtr<Node>> GetChildren() = 0;
    // Takes a child out. Does not search.
    virtual void RemoveChild(const FacePtr<Node>& child) = 0;
    // Makes a node in front of a child, or at the end where `before` is none. Throws "xml-domnode-err" for
    // type Document, and in a document for anything but comments and one single element.
    virtual FacePtr<Node> InsertChild(
        NodeType type, const WideString& value, const FacePtr<Node>& before) = 0;
};

} // namespace Xml
