// A mutex with a name. Numbers are the rules of FORMAT.md.
#pragma once

#include "platform/linux/named/named_object.h"
#include "platform/linux/waits/ownership.h"

namespace Platform {

class NamedMutex final : public NamedObject, public Ownership {
public:
    static constexpr ObjectKind objectKind = ObjectKind::NamedMutex;

    explicit NamedMutex(std::u16string itsName) noexcept
        : NamedObject(objectKind, std::move(itsName)), Ownership(*static_cast<CountedObject*>(this))
    {
    }

    // As of a mutex of this process.
    bool CountOwnership(Waiter& waiter) noexcept;
    bool Release(Waiter& waiter) noexcept;
    void Abandon(Waiter& waiter) noexcept override;
    // For the thread that has made the object, and its mutex locked.
    void BeginOwned(Waiter& waiter) noexcept;

    NamedLook Begin() const noexcept override { return {0, false}; }
    bool IsReady(const Waiter& waiter, const NamedLook& look) const noexcept override;
    bool Take(Waiter& waiter, const NamedLook& look) noexcept override;
    std::atomic<std::uint32_t>* SleepOn(NamedLook& look) noexcept override;
    void Leave(const NamedLook& look) noexcept override;

private:
    void GiveOn() noexcept;
    std::atomic<std::uint32_t>& LockWord() const noexcept;

    // The thread of this process that owns it, if one does; read by others only to see that it is not them.
    std::atomic<Waiter*> owner{nullptr};
};

} // namespace Platform
