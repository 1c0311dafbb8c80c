// One client module as a factory that need not have it in memory.
#pragma once

#include "object/compound_factory.h"
#include "object/dll.h"
#include <tessel/object/cleanup.h>
#include <tessel/object/library.h>

#include <atomic>

namespace Object {

// Any thread may call it. Each operation that may load the module holds a reference to the Dll while it asks
// the module's factories, so that a cleanup in another thread cannot unmap what is running.
class LibraryImpl : public Face<Library, Cleanup::Item> {
public:
    // Loads the module, or gives null if it is none or offers nothing.
    static FacePtr<Library> Create(const WideString& path);
    static FacePtr<Library> CreateCached(const WideString& path, ClassInfoList classes, TypeSet types);

    WideString GetPath() override { return path; }

    void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) override;
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    // Replaces what stands in `out`.
    void ListClasses(ClassInfoList& out) override;
    void ListTypes(TypeSet& out) override;
    ClassInfo GetClassInfo(const Clsid& clsid) override;
    ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) override;

    bool Cleanup(bool force) override;

    // For the two above.
    LibraryImpl(const WideString& itsPath, ClassInfoList&& knownClasses, TypeSet&& knownTypes);
    ~LibraryImpl();
    LibraryImpl(const LibraryImpl&) = delete;
    LibraryImpl& operator=(const LibraryImpl&) = delete;

private:
    static FacePtr<Impl<LibraryImpl, Module>> Make(
        const WideString& path, ClassInfoList&& classes, TypeSet&& types);
    FacePtr<Dll> Load(bool must);
    FacePtr<Dll> LoadNow(bool must);
    bool ServesType(const Clsid& clsid);

    const WideString path;
    FacePtr<CompoundFactory> compound; // the module's own factories, while it is loaded
    // Guards all here but `busy`; the compound, which only a load changes, is also there for whoever is busy
    // and has the Dll. Held while the module is loaded and initialised, and so always taken behind the
    // loader's lock there: a module's constructor, which runs under that lock, may ask another library.
    CriticalSection section;
    std::atomic<std::uint32_t> busy{0}; // calls under way that may run in the module
    ClassInfoList classes;
    TypeSet types;
    FacePtr<Dll> dll; // null while the module is not loaded
};

} // namespace Object
