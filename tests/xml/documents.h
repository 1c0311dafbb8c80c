// Documents in tests: what they hold and how they fail, each as a short text.
#pragma once

#include <tessel/object/factory.h>
#include <tessel/xml/document.h>
#include <tessel/xml/reader.h>
#include <tessel/xml/writer.h>

#include <functional>
#include <string>

// The library's classes, for a program that is linked from its rooms.
FacePtr<Xml::Reader> GetReader();
FacePtr<Xml::Writer> GetWriter();
FacePtr<Xml::Document> MakeEmptyDocument();

// While it lives, the class of documents is another one than the library's own.
class ForeignDocuments {
public:
    ForeignDocuments();
    ~ForeignDocuments();
    ForeignDocuments(const ForeignDocuments&) = delete;
    ForeignDocuments& operator=(const ForeignDocuments&) = delete;

private:
    FacePtr<Object::Factory> factory;
};

std::string Narrow(const WideString& text);
WideString Wide(const std::string& text);

// An element as name, {attribute=value ...}, (children ...); a text as 'text', a section as [text], a comment
// as !text!.
std::string Tell(const FacePtr<Xml::Node>& node);
std::string Tell(const FacePtr<Xml::Document>& document);

// The token of the internal error that the operation throws, "" if it throws none.
std::string FailureOf(const std::function<void()>& operation);

// What reading gives: the document or the failure.
std::string OutcomeOf(const std::function<FacePtr<Xml::Document>()>& read);
std::string Outcome(const std::string& text);
std::string Written(const FacePtr<Xml::Document>& document);

FacePtr<Xml::Element> ReadRoot(const std::string& text);
