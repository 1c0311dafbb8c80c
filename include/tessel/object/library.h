// Libraries: client modules as factories that know their classes without being in memory.
#pragma once

#include <tessel/object/factory.h>

namespace Object {

// One client module. Making an object loads it. Asking what it offers does not, unless only the module can
// tell: which classes there are of a type that it serves. ListClasses replaces what stands in the list.
struct Library : Face<StaticFactory, DynamicFactory> {
    static constexpr Iid iid = u"IID_Object::Library"_iid;

    struct Creator;

    // The full path of the module's file.
    virtual WideString GetPath() = 0;
};

// "CID_Object::Library_Creator" gives one.
struct Library::Creator : Face<> {
    static constexpr Iid iid = u"IID_Object::Library::Creator"_iid;

    // Loads the module now, to see what it offers. Null if the file is no module of this system, or offers
    // nothing; why is told by GetLoadFailure.
    virtual FacePtr<Library> Create(const WideString& path) = 0;
    // From lists that are known already; the file is not touched.
    virtual FacePtr<Library> CreateCached(
        const WideString& path, const ClassInfoList& classes, const TypeSet& types) = 0;
    // The file's last write time as 16 hexadecimal digits, the low word first; empty if there is no such
    // file.
    virtual WideString GetStamp(const WideString& path) = 0;
};

constexpr const char16_t* libraryCreatorClass = u"CID_Object::Library_Creator";

// The client module that serves the class, which is not loaded for that; null for the classes of the library
// and of the host, and for those that nobody knows by name.
TESSEL_API FacePtr<Library> FindLibrary(const Clsid& clsid);

// Why the calling thread's last attempt to load a module failed, in the words of the system's loader; empty
// if it did not, or if loads of many other threads have failed since. For tools and logs: it is not
// translated.
TESSEL_API WideString GetLoadFailure();

} // namespace Object
