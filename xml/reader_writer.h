// "CID_Xml::Reader" and "CID_Xml::Writer": two faces of one object without state.
#pragma once

#include <tessel/object/factory.h>
#include <tessel/xml/reader.h>
#include <tessel/xml/writer.h>

namespace Xml {

class ReaderWriterFactory : public Face<Reader, Writer, Object::StaticFactory> {
public:
    FacePtr<Document> Read(const WideString& text) override;
    FacePtr<Document> ReadFile(const WideString& path) override;

    WideString Write(const FacePtr<Document>& document) override;
    void WriteFile(const FacePtr<Document>& document, const WideString& path) override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Xml
