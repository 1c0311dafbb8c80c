// "CID_Xml::Document".
#pragma once

#include <tessel/object/factory.h>

namespace Xml {

class DocumentFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Xml
