// The side of a mutex that its owner sees: how often it has it, and the list of all that a thread has.
#pragma once

#include "platform/linux/handles/counted_object.h"
#include "platform/linux/waits/waiter.h"

namespace Platform {

// All of it is the owner's alone: whoever gives the mutex away has written it before, so a thread's list
// needs no lock. The list counts the mutex: it lives on while it is owned.
class Ownership {
public:
    // Gives on what an ending thread owns, all levels of it.
    virtual void Abandon(Waiter& waiter) noexcept = 0;

protected:
    explicit Ownership(CountedObject& itsObject) noexcept : object(itsObject) { }
    ~Ownership() = default;
    Ownership(const Ownership&) = delete;
    Ownership& operator=(const Ownership&) = delete;

    // One level more, for the thread that has taken it.
    void Count(Waiter& waiter) noexcept
    {
        if (depth++ != 0)
            return;
        object.AddReferences(1);
        previous = nullptr;
        next = waiter.held;
        if (next)
            next->previous = this;
        waiter.held = this;
    }
    // One level less; true if that was the last one. The reference of the list is then the caller's to drop.
    bool CountDown(Waiter& waiter) noexcept
    {
        if (--depth != 0)
            return false;
        Forget(waiter);
        return true;
    }
    void Forget(Waiter& waiter) noexcept
    {
        depth = 0;
        (previous ? previous->next : waiter.held) = next;
        if (next)
            next->previous = previous;
    }

    // Whether the last owner ended without giving it back, and nobody has been told.
    bool abandoned = false;

private:
    CountedObject& object;
    std::uint32_t depth = 0;
    Ownership* previous = nullptr;
    Ownership* next = nullptr;
};

} // namespace Platform
