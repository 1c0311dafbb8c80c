// "CID_Io::Memory::File".
#pragma once

#include <tessel/object/factory.h>

namespace Io::Memory {

class MemoryFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Io::Memory
