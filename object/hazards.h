// Hazards: how a weak reference looks at the life word of an object that may be dying.
//
// A reader announces the word in a line of a static table, looks again whether the reference still points at
// it, and touches it only then. A destroyer first turns every weak reference to the Zombie, then waits until
// no line names the word, and only then lets the memory go. Either the reader's second look sees the change,
// or the destroyer's look at the lines sees the announcement; both orders of the four steps rest on their
// being sequentially consistent.
//
// Nothing is registered for a thread, so nothing can dangle when one ends, and nothing is ever destroyed.
#pragma once

#include <atomic>
#include <cstdint>

namespace Hazards {

using LifeWord = std::atomic<std::uint32_t>;

// Announces what `guard` points at, for as long as this object lives, and gives it; or, where that is
// `ignored` (the Zombie's word, which never dies), announces nothing. For a few instructions only: a
// destroyer of that object spins meanwhile.
class Announcement {
public:
    Announcement(const std::atomic<LifeWord*>& guard, const LifeWord* ignored) noexcept;
    ~Announcement() { Withdraw(); }
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;

    LifeWord* Word() const noexcept { return word; }
    void Withdraw() noexcept
    {
        // release: what was done with the word happens before its memory goes
        if (line != nullptr)
            line->store(nullptr, std::memory_order_release);
        line = nullptr;
    }

private:
    std::atomic<const LifeWord*>* line = nullptr;
    LifeWord* word;
};

// Returns when no announcement names the word. The word is reachable for no new reader any more.
void WaitUntilUnannounced(const LifeWord* word) noexcept;

} // namespace Hazards
