#include "object/system.h"

#include "object/manager_impl.h"
#include <tessel/object/system.h>
#include <tessel/object/system_main.h>

namespace Object {

namespace {

std::uint32_t livingSystems = 0;
bool loaderMade = false; // set before the work and never again clear: a scan that failed is not repeated

void MakeStartupObjects(Manager& manager)
{
    for (const ClassInfo& described : manager.FindClasses({}, Startup::iid.text)) {
        FacePtr<Startup> startup;
        startup = Clsid(described.clsid);
    }
}

} // namespace

System::System(FactoryRegistration* list) : staticList(list), manager(ManagerImpl::Get())
{
    for (FactoryRegistration* node = staticList; node != nullptr; node = node->next)
        manager->AddFactory(node->factory);
    if (!loaderMade) {
        loaderMade = true;
        loader = MakeFace<Impl<Loader, Module>>();
    }
    if (livingSystems++ == 0)
        MakeStartupObjects(*manager);
}

System::~System()
{
    loader = nullptr;
    for (FactoryRegistration* node = staticList; node != nullptr; node = node->next)
        node->factory = nullptr;
    manager = nullptr;
    --livingSystems;
}

void* SystemMain(Module::StateType state, void* param)
{
    switch (state) {
    case Module::StateType::started:
        return MakeFace<Impl<System, Module>>(static_cast<FactoryRegistration*>(param)).Detach();
    case Module::StateType::stopped:
        FacePtr<System>::Adopt(static_cast<Impl<System, Module>*>(param));
        return nullptr;
    default:
        return nullptr;
    }
}

} // namespace Object

int TesselInitialize()
{
    static bool called = false; // set before the work: a start that failed is not repeated
    if (!called) {
        called = true;
        Module::Start();
    }
    return 0;
}
