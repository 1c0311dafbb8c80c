// A client module in memory.
#pragma once

#include "platform/modules.h"
#include <tessel/base/string.h>
#include <tessel/object/face_ptr.h>
#include <tessel/object/registration.h>

#include <atomic>

namespace Object {

// Frees its load of the module when the last reference goes, unless objects of the module are still alive:
// then the module stays in memory for ever, for nothing is unmapped beneath a living object.
class Dll : public Face<> {
public:
    // Loads a file. Null if it cannot be loaded or does not have both exports of a client module.
    static FacePtr<Dll> Load(const WideString& path);

    ~Dll();
    Dll(const Dll&) = delete;
    Dll& operator=(const Dll&) = delete;

    // The module's chain of registrations; the nodes belong to the module.
    const FactoryRegistration* GetStaticList() const { return getStaticList(0); }
    // Whether the module may be unloaded at once: it has had no object for so many milliseconds, and the
    // calling thread does not stand in its code.
    bool IsUnlocked(std::uint32_t idleMilliseconds) const;
    // Frees the load in any case: for who has found the module unlocked with nobody in it. Objects made since
    // then belong to another load, which keeps the module in memory.
    void LetGo() noexcept { letGo = true; }

    using IsUnlockedExport = bool (*)(std::uint32_t milliseconds);
    using StaticListExport = FactoryRegistration* (*)(int reserved);
    // Takes over one load of the module. For Load.

    Dll(Platform::Module itsModule, IsUnlockedExport unlocked, StaticListExport list) noexcept
        : module(itsModule), isUnlocked(unlocked), getStaticList(list)
    {
    }

private:
    Platform::Module module;
    IsUnlockedExport isUnlocked;
    StaticListExport getStaticList;
    std::atomic<bool> letGo{false};
};

} // namespace Object
