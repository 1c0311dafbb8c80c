// The process's manager.
#pragma once

#include "object/compound_factory.h"
#include <tessel/object/manager.h>

namespace Object {

class ManagerImpl : public Face<Manager> {
public:
    ManagerImpl();
    ~ManagerImpl();
    ManagerImpl(const ManagerImpl&) = delete;
    ManagerImpl& operator=(const ManagerImpl&) = delete;
    void OnFirstReference();

    FacePtr<BaseFace> CreateObject(const Clsid& clsid, const char16_t* wanted) override;
    bool IsRegistered(const Clsid& clsid) override;
    ClassInfo GetClassInfo(const Clsid& clsid) override;
    ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) override;
    void AddFactory(const FacePtr<Factory>& factory) override;

    // The one of this process, made if there is none.
    static FacePtr<Manager> Get();

    // The factory that serves the class by its name; null if none does, or there is no manager. Touches
    // nothing that other processors write: references to the manager itself would be counted in one word.
    static FacePtr<StaticFactory> FindFactory(const Clsid& clsid);

private:
    class SelfFactory;

    FacePtr<CompoundFactory> compound;
    FacePtr<Factory> self; // held here, for the compound does not keep it alive
};

} // namespace Object
