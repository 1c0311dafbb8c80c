// An event with a name. Numbers are the rules of FORMAT.md.
#pragma once

#include "platform/linux/named/named_object.h"

namespace Platform {

class NamedEvent final : public NamedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::NamedEvent;
    static constexpr std::uint32_t signalledWord = 1; // of a new one that is set

    explicit NamedEvent(std::u16string itsName) noexcept : NamedObject(objectKind, std::move(itsName)) { }

    void Set() noexcept;
    void Reset() noexcept;

    NamedLook Begin() const noexcept override;
    bool IsReady(const Waiter& waiter, const NamedLook& look) const noexcept override;
    bool Take(Waiter& waiter, const NamedLook& look) noexcept override;
    std::atomic<std::uint32_t>* SleepOn(NamedLook& look) noexcept override;
    void Leave(const NamedLook&) noexcept override { }

private:
    bool ResetsItself() const noexcept { return shared->kind == NamedKind::AutoEvent; }
    void OpenRoom(std::uint32_t word, std::uint32_t woken) noexcept;
    bool GiveToFurtherSleeper(std::uint32_t word) noexcept;
    bool TakeOwed(std::uint32_t word) noexcept;
    bool IsOwed(std::uint32_t word) const noexcept;
};

} // namespace Platform
