#include "xml/document_factory.h"

#include "xml/facades.h"

namespace Xml {

void DocumentFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == documentClass)
        out = MakeDocument();
}

void DocumentFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<DocumentNode>(documentClass));
}

} // namespace Xml
