// Module: what a module keeps as a whole. Every module that links tessel::module has one of its own, and the
// library has one; they share this declaration and nothing else.
#pragma once

#include <tessel/export.h>
#include <tessel/object/life.h>

#include <cstdint>

namespace Object {
class FactoryRegistration;
}

class TESSEL_HIDDEN Module {
public:
    enum class StateType : std::uint32_t {
        notStarted = 0,
        started = 1, // a client module is so from its first moment on
        stopped = 2,
    };
    // Starts (with the static list) and stops (with what the start returned) the module's system.
    using MainHook = void* (*)(StateType, void*);

    static StateType GetState() noexcept;
    // The module's own handle, for LoadResString; known before any static of the module is constructed.
    static void* GetInstance() noexcept;
    // The language of the calling thread. The last error stays as it was.
    static std::uint32_t GetLangId() noexcept;

    // The locker of ordinary objects. A client module counts them, for its answer to "Module_IsUnlocked", and
    // so may whoever needs it in memory for another reason; the library, which is never unloaded, counts
    // nothing. An Unlock that is not an object's last release returns into the module: its caller sees to it
    // that the module is still there.
    static void Lock() noexcept;
    static void Unlock() noexcept;
    static LiveObjects* const liveObjects;

    // Starts the library, then this module's own system if it has registrations, and stops that again when
    // the process ends. For a host with factories of its own, once, from one thread; throws what the start
    // throws. Client modules are served by the library and do not call it.
    static void Start();

    // The chain of registrations, the last constructed first.
    static Object::FactoryRegistration* GetStaticList() noexcept;
    // Puts a registration in front of the chain and makes `hook` the one that starts and stops the module.
    static void Register(Object::FactoryRegistration* registration, MainHook hook) noexcept;

protected:
    static void SetState(StateType state) noexcept;

private:
    static void Stop() noexcept;
};
