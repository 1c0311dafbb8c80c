// The part of Module that is the same in the library, in hosts and in client modules. Each compiles it for
// itself, so that each has its own variables.
#include <tessel/module.h>

#include <tessel/base/resource.h>
#include <tessel/object/system.h>

#include <atomic>
#include <cstdlib>

namespace {

constinit std::atomic<Module::StateType> moduleState{Module::StateType::notStarted};
constinit void* instance = nullptr;
constinit Object::FactoryRegistration* staticList = nullptr;
constinit Module::MainHook mainHook = nullptr;
constinit void* mainResult = nullptr;

// The first thing of the module that runs, ahead of its statics.
[[gnu::constructor(101)]] void EnterModule()
{
    instance = ModuleAt(&instance);
}

} // namespace

Module::StateType Module::GetState() noexcept
{
    return moduleState.load(std::memory_order_acquire);
}
void Module::SetState(StateType state) noexcept
{
    moduleState.store(state, std::memory_order_release);
}

void* Module::GetInstance() noexcept
{
    return instance;
}

Object::FactoryRegistration* Module::GetStaticList() noexcept
{
    return staticList;
}

void Module::Register(Object::FactoryRegistration* registration, MainHook hook) noexcept
{
    staticList = registration;
    mainHook = hook;
}

void Module::Start()
{
    TesselInitialize();
    SetState(StateType::started);
    // Registered behind all statics of the program, so it runs before their destructors. Without memory for
    // it the stop is left out, which loses nothing: the process is at its end then.
    std::atexit([] { Stop(); });
    if (mainHook != nullptr)
        mainResult = mainHook(StateType::started, staticList);
}

void Module::Stop() noexcept
{
    SetState(StateType::stopped);
    if (mainHook != nullptr)
        mainHook(StateType::stopped, mainResult);
    mainResult = nullptr;
}
