#include "object/manager_impl.h"

#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/global.h>
#include <tessel/object/library.h>

namespace Object {

namespace {

[[noreturn]] void ThrowNotFound(const Clsid& clsid)
{
    throw Error("clsid-not-found(%s)", "object", clsid);
}

} // namespace

// Serves "CID_Object::Manager", so that the manager is reached like any other class.
class ManagerImpl::SelfFactory : public Face<StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == managerClass)
            out = Get().Cast<BaseFace>("object");
    }
    void ListClasses(ClassInfoList& out) override { out.push_back(DescribeClass<Manager>(managerClass)); }
};

FacePtr<Manager> ManagerImpl::Get()
{
    return ImplGlobal<ManagerImpl, Module>::Get();
}

ManagerImpl::ManagerImpl()
    : compound(MakeFace<Impl<CompoundFactory, Module>>()), self(MakeFace<Impl<SelfFactory, Module>>())
{
    compound->AddFactory(self);
}

FacePtr<BaseFace> ManagerImpl::CreateObject(const Clsid& clsid, const char16_t* wanted)
{
    FacePtr<BaseFace> result;
    compound->CreateObject(clsid, wanted, result);
    if (!result)
        ThrowNotFound(clsid);
    return result;
}

bool ManagerImpl::IsRegistered(const Clsid& clsid)
{
    return !compound->GetClassInfo(clsid).clsid.IsEmpty();
}

ClassInfo ManagerImpl::GetClassInfo(const Clsid& clsid)
{
    ClassInfo described = compound->GetClassInfo(clsid);
    if (described.clsid.IsEmpty())
        ThrowNotFound(clsid);
    return described;
}

ClassInfoList ManagerImpl::FindClasses(const Clsid& pattern, const WideString& interface)
{
    return compound->FindClasses(pattern, interface);
}

void ManagerImpl::AddFactory(const FacePtr<Factory>& factory)
{
    compound->AddFactory(factory);
}

FacePtr<BaseFace> CreateObject(const Clsid& clsid, const char16_t* iid)
{
    return ManagerImpl::Get()->CreateObject(clsid, iid);
}

FacePtr<Library> FindLibrary(const Clsid& clsid)
{
    const FacePtr<ManagerImpl> manager = ImplGlobal<ManagerImpl, Module>::Get();
    return manager->FindFactory(clsid).TryCast<Library>();
}

} // namespace Object
