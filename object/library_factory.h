// "CID_Object::Library_Creator".
#pragma once

#include <tessel/object/library.h>

namespace Object {

class LibraryCreator : public Face<Library::Creator> {
public:
    FacePtr<Library> Create(const WideString& path) override;
    FacePtr<Library> CreateCached(
        const WideString& path, const ClassInfoList& classes, const TypeSet& types) override;
    WideString GetStamp(const WideString& path) override;
};

class LibraryFactory : public Face<StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(ClassInfoList& out) override;
};

} // namespace Object
