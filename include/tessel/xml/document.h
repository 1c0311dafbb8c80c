// Xml::Document: the top of a tree, with comments and at most one element directly below it.
//
//     FacePtr<Xml::Document> document(Xml::documentClass);   // a new, empty one
//     FacePtr<Xml::Node> root = document->InsertChild(Xml::NodeType::Element, u"settings", nullptr);
#pragma once

#include <tessel/xml/element.h>

namespace Xml {

struct Document : Face<ParentNode> {
    static constexpr Iid iid = u"IID_Xml::Document"_iid;

    // The root element, or null if there is none.
    virtual FacePtr<Element> GetRootElement() = 0;
};

constexpr const char16_t* documentClass = u"CID_Xml::Document";

} // namespace Xml
