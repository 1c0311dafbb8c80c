// The process's manager.
#pragma once

#include "object/compound_factory.h"
#include <tessel/object/manager.h>

namespace Object {

class ManagerImpl : public Face<Manager> {
public:
    ManagerImpl();

    FacePtr<BaseFace> CreateObject(const Clsid& clsid, const char16_t* wanted) override;
    bool IsRegistered(const Clsid& clsid) override;
    ClassInfo GetClassInfo(const Clsid& clsid) override;
    ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) override;
    void AddFactory(const FacePtr<Factory>& factory) override;

    // The factory that serves the class by its name; null if none does.
    FacePtr<StaticFactory> FindFactory(const Clsid& clsid) { return compound->FindStatic(clsid); }

    // The one of this process, made if there is none.
    static FacePtr<Manager> Get();

private:
    class SelfFactory;

    FacePtr<CompoundFactory> compound;
    FacePtr<Factory> self; // held here, for the compound does not keep it alive
};

} // namespace Object
