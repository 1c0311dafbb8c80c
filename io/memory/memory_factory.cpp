#include "io/memory/memory_factory.h"

#include "io/memory/file_impl.h"
#include <tessel/module.h>
#include <tessel/object/impl.h>

namespace Io::Memory {

void MemoryFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == memoryFileClass)
        out = MakeFace<Impl<FileImpl, Module>>();
}

void MemoryFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<File>(memoryFileClass));
}

} // namespace Io::Memory
