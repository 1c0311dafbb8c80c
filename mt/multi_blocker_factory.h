// "CID_Mt::MultiBlocker" and "CID_Mt::MultiBlockerAll".
#pragma once

#include <tessel/object/factory.h>

namespace Mt {

class MultiBlockerFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Mt
