// Documents in tests: what they hold and how they fail, each as a short text.
#pragma once

#include "xml/document_factory.h"
#include "xml/facades.h"
#include "xml/reader_writer.h"
#include <tessel/base/error.h>
#include <tessel/base/utf8.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>
#include <tessel/object/manager.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>

// What a start of the library does with its registrations, for a program that is linked from its rooms.
struct Classes {
    Classes()
    {
        manager->AddFactory(readerWriter.Cast<Object::Factory>("test"));
        manager->AddFactory(documents);
    }

    FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    FacePtr<Xml::Reader> readerWriter = MakeFace<Impl<Xml::ReaderWriterFactory, Module>>();
    FacePtr<Object::Factory> documents = MakeFace<Impl<Xml::DocumentFactory, Module>>();
};
inline const Classes* const classes = new Classes; // for as long as the process lives

inline FacePtr<Xml::Reader> GetReader()
{
    return FacePtr<Xml::Reader>(Clsid(Xml::readerClass));
}
inline FacePtr<Xml::Writer> GetWriter()
{
    return FacePtr<Xml::Writer>(Clsid(Xml::writerClass));
}
inline FacePtr<Xml::Document> MakeEmptyDocument()
{
    return FacePtr<Xml::Document>(Clsid(Xml::documentClass));
}

// A document that a client could have written: only the nodes below it are the library's. Where there are
// none it has a null pointer in their place.
class ForeignDocument : public Face<Xml::Document> {
public:
    Xml::NodeType GetType() override { return inner->GetType(); }
    WideString GetValue() override { return inner->GetValue(); }
    void SetValue(const WideString& value) override { inner->SetValue(value); }
    FacePtr<Xml::Node> GetParent() override { return nullptr; }
    std::vector<FacePtr<Xml::Node>> GetChildren() override
    {
        std::vector<FacePtr<Xml::Node>> children = inner->GetChildren();
        return children.empty() ? std::vector<FacePtr<Xml::Node>>(1) : children;
    }
    void RemoveChild(const FacePtr<Xml::Node>& child) override { inner->RemoveChild(child); }
    FacePtr<Xml::Node> InsertChild(
        Xml::NodeType type, const WideString& value, const FacePtr<Xml::Node>& before) override
    {
        return inner->InsertChild(type, value, before);
    }
    FacePtr<Xml::Element> GetRootElement() override { return inner->GetRootElement(); }

private:
    FacePtr<Xml::Document> inner = Xml::MakeDocument();
};

class ForeignFactory : public Xml::DocumentFactory {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == Xml::documentClass)
            out = MakeFace<Impl<ForeignDocument, Module>>();
    }
};
// While it lives, the class of documents is another one than the library's own.
struct ForeignDocuments {
    ForeignDocuments() { classes->manager->AddFactory(factory); }
    ~ForeignDocuments() { classes->manager->AddFactory(classes->documents); }

    const FacePtr<Object::Factory> factory = MakeFace<Impl<ForeignFactory, Module>>();
};

inline std::string Narrow(const WideString& text)
{
    return reinterpret_cast<const char*>(StringToUtf8(text).GetData());
}
inline WideString Wide(const std::string& text)
{
    return StringFromUtf8(text.c_str());
}

// An element as name, {attribute=value ...}, (children ...); a text as 'text', a section as [text], a comment
// as !text!.
inline std::string Tell(const FacePtr<Xml::Node>& node);
inline std::string TellChildren(Xml::ParentNode& parent)
{
    std::string told;
    for (const FacePtr<Xml::Node>& child : parent.GetChildren())
        told += (told.empty() ? "" : " ") + Tell(child);
    return told;
}
inline std::string Tell(const FacePtr<Xml::Node>& node)
{
    const std::string value = Narrow(node->GetValue());
    switch (node->GetType()) {
    case Xml::NodeType::Text:
        return "'" + value + "'";
    case Xml::NodeType::CData:
        return "[" + value + "]";
    case Xml::NodeType::Comment:
        return "!" + value + "!";
    default:;
    }
    const FacePtr<Xml::Element> element = node.Cast<Xml::Element>("test");
    std::string attributes;
    for (const WideString& name : element->GetAttributeNames())
        attributes +=
            (attributes.empty() ? "" : " ") + Narrow(name) + "=" + Narrow(element->GetAttribute(name));
    const std::string children = TellChildren(*element);
    return value + (attributes.empty() ? "" : "{" + attributes + "}")
        + (children.empty() ? "" : "(" + children + ")");
}
inline std::string Tell(const FacePtr<Xml::Document>& document)
{
    return TellChildren(*document);
}

// The token of the internal error that the operation throws, "" if it throws none.
inline std::string FailureOf(const std::function<void()>& operation)
{
    try {
        operation();
        return "";
    } catch (const Error& error) {
        const std::string text = Narrow(error.GetLayerText(0));
        const std::string tag = "xml: ";
        const std::size_t begin = text.find(tag);
        EXPECT_EQ(error.GetLayerCode(0), Error::internal);
        EXPECT_NE(begin, text.npos) << text;
        return text.substr(begin + tag.size(), text.rfind(')') - begin - tag.size());
    }
}

// What reading gives: the document or the failure.
inline std::string OutcomeOf(const std::function<FacePtr<Xml::Document>()>& read)
{
    std::string told;
    const std::string failure = FailureOf([&] { told = Tell(read()); });
    return failure.empty() ? told : failure;
}
inline std::string Outcome(const std::string& text)
{
    return OutcomeOf([&] { return GetReader()->Read(Wide(text)); });
}
inline std::string Written(const FacePtr<Xml::Document>& document)
{
    return Narrow(GetWriter()->Write(document));
}

inline FacePtr<Xml::Element> ReadRoot(const std::string& text)
{
    return GetReader()->Read(Wide(text))->GetRootElement();
}
