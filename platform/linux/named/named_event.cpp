#include "platform/linux/named/named_event.h"

#include "platform/kernel.h"
#include "platform/linux/named/shared_futex.h"

#include <algorithm>

namespace Platform {

namespace {

constexpr std::uint32_t SIGNALLED = 1;
constexpr std::uint32_t SLEEPERS = 2;
constexpr std::uint32_t sequenceStep = 4;

constexpr std::uint32_t SequenceOf(std::uint32_t word)
{
    return word / sequenceStep;
}

// Rule 5.
struct Owed {
    std::uint32_t sequence; // 16 bits
    std::uint32_t room; // 8 bits
    std::uint32_t count; // 8 bits

    static constexpr Owed Of(std::uint32_t packed)
    {
        return {packed >> 16, packed >> 8 & 0xFF, packed & 0xFF};
    }
    constexpr std::uint32_t Packed() const { return sequence << 16 | room << 8 | count; }
    constexpr bool IsFor(std::uint32_t word) const { return sequence == (SequenceOf(word) & 0xFFFF); }
};

// What the next signal makes of the word that had the present one: rule 2.
constexpr std::uint32_t Taken(std::uint32_t word)
{
    return (word & ~(SIGNALLED | SLEEPERS)) + sequenceStep;
}

} // namespace

void NamedEvent::Set() noexcept
{
    shared->processor.store(GetCurrentProcessorNumber(), std::memory_order_relaxed);
    std::uint32_t word = shared->word.load(std::memory_order_relaxed);
    for (;;) {
        if ((word & SIGNALLED) != 0 && ResetsItself() && GiveToFurtherSleeper(word))
            return;
        if ((word & SLEEPERS) == 0 || (word & SIGNALLED) != 0) {
            // Also what is set is set again, to publish what this thread wrote.
            if (shared->word.compare_exchange_weak(word, word | SIGNALLED, std::memory_order_acq_rel))
                return;
            continue;
        }
        shared->word.fetch_or(0, std::memory_order_release); // the kernel's step publishes nothing by itself
        const std::uint32_t woken = OrAndWakeAllShared(shared->word, SIGNALLED); // rule 1
        OpenRoom(word, woken);
        return;
    }
}

// Also nothing is written down, so that no number of an older sequence comes to mean this one.
void NamedEvent::OpenRoom(std::uint32_t word, std::uint32_t woken) noexcept
{
    const std::uint32_t present = shared->word.load(std::memory_order_relaxed);
    if (!ResetsItself() || SequenceOf(present) != SequenceOf(word))
        return;
    const std::uint32_t room = std::clamp(woken, 1U, 0x100U) - 1;
    shared->owed.store(Owed{SequenceOf(word) & 0xFFFF, room, 0}.Packed(), std::memory_order_release);
}

bool NamedEvent::GiveToFurtherSleeper(std::uint32_t word) noexcept
{
    std::uint32_t packed = shared->owed.load(std::memory_order_acquire);
    Owed owed = Owed::Of(packed);
    do {
        owed = Owed::Of(packed);
        if (!owed.IsFor(word) || owed.room == 0)
            return false;
    } while (!shared->owed.compare_exchange_weak(
        packed, Owed{owed.sequence, owed.room - 1, owed.count + 1}.Packed(), std::memory_order_acq_rel));
    // Those who were asleep may have looked before this; then the sequence has moved on, and if the signal is
    // still here it is set anew.
    return SequenceOf(shared->word.load(std::memory_order_acquire)) == SequenceOf(word) || !TakeOwed(word);
}

bool NamedEvent::IsOwed(std::uint32_t word) const noexcept
{
    const Owed owed = Owed::Of(shared->owed.load(std::memory_order_acquire));
    return owed.IsFor(word) && owed.count > 0;
}

bool NamedEvent::TakeOwed(std::uint32_t word) noexcept
{
    std::uint32_t packed = shared->owed.load(std::memory_order_acquire);
    for (;;) {
        const Owed owed = Owed::Of(packed);
        if (!owed.IsFor(word) || owed.count == 0)
            return false;
        if (shared->owed.compare_exchange_weak(
                packed, Owed{owed.sequence, owed.room, owed.count - 1}.Packed(), std::memory_order_acq_rel))
            return true;
    }
}

void NamedEvent::Reset() noexcept
{
    std::uint32_t word = shared->word.load(std::memory_order_relaxed);
    while ((word & SIGNALLED) != 0)
        if (shared->word.compare_exchange_weak(word, Taken(word), std::memory_order_acq_rel))
            return;
}

NamedLook NamedEvent::Begin() const noexcept
{
    return {shared->word.load(std::memory_order_acquire), false};
}

bool NamedEvent::IsReady(const Waiter&, const NamedLook& look) const noexcept
{
    const std::uint32_t word = shared->word.load(std::memory_order_acquire);
    if ((word & SIGNALLED) != 0)
        return true;
    if (ResetsItself())
        return look.hasSlept && IsOwed(look.word);
    return SequenceOf(word) != SequenceOf(look.word); // rule 4
}

bool NamedEvent::Take(Waiter& waiter, const NamedLook& look) noexcept
{
    if (!ResetsItself())
        return IsReady(waiter, look);
    std::uint32_t word = shared->word.load(std::memory_order_relaxed);
    while ((word & SIGNALLED) != 0)
        if (shared->word.compare_exchange_weak(word, Taken(word), std::memory_order_acq_rel)) // rule 2
            return true;
    return look.hasSlept && TakeOwed(look.word);
}

std::atomic<std::uint32_t>* NamedEvent::SleepOn(NamedLook& look) noexcept
{
    std::uint32_t word = shared->word.load(std::memory_order_acquire);
    do {
        const bool isMissed = !ResetsItself() && SequenceOf(word) != SequenceOf(look.word);
        if ((word & SIGNALLED) != 0 || isMissed)
            return nullptr;
    } while ((word & SLEEPERS) == 0
        && !shared->word.compare_exchange_weak(word, word | SLEEPERS, std::memory_order_acq_rel));
    look = {word | SLEEPERS, true};
    return &shared->word;
}

} // namespace Platform
