#include "object/manager_impl.h"

#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/global.h>
#include <tessel/object/library.h>

namespace Object {

namespace {

// The manager of the process, for a look without a reference: it stays whole as long as the section is held,
// for leaving this place is the first thing that its destructor does. Guarded by the section of the static
// factories, which the look needs anyway.
constinit ManagerImpl* current = nullptr;

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

void ManagerImpl::OnFirstReference()
{
    const CompoundFactory::StaticMap::Writing lock;
    current = this;
}

ManagerImpl::~ManagerImpl()
{
    const CompoundFactory::StaticMap::Writing lock;
    if (current == this) // else a successor stands there
        current = nullptr;
}

FacePtr<StaticFactory> ManagerImpl::FindFactory(const Clsid& clsid)
{
    const CompoundFactory::StaticMap::Reading held;
    return current != nullptr ? current->compound->FindStatic(clsid, held) : nullptr;
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
    const FacePtr<StaticFactory> factory = ManagerImpl::FindFactory(clsid);
    if (!factory)
        return ManagerImpl::Get()->CreateObject(clsid, iid);
    // As the manager would: a static factory ends the search whatever it answers.
    FacePtr<BaseFace> result;
    factory->CreateObject(clsid, iid, result);
    if (!result)
        ThrowNotFound(clsid);
    return result;
}

FacePtr<Library> FindLibrary(const Clsid& clsid)
{
    return ManagerImpl::FindFactory(clsid).TryCast<Library>();
}

} // namespace Object
