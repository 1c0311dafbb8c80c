// "CID_Io::Fs::PathFactory".
#pragma once

#include <tessel/io/path_factory.h>
#include <tessel/object/factory.h>

namespace Io::Fs {

class PathFactoryImpl : public Face<Object::StaticFactory, PathFactory> {
public:
    FacePtr<Path> CreatePath(PathType type, const Value& value, bool quiet) override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Io::Fs
