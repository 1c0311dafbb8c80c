#include <tessel/object/life.h>

#include "object/hazards.h"
#include "platform/kernel.h"

namespace {

constexpr std::uint32_t reference = 4;
constexpr std::uint32_t stateBits = 3;
constexpr std::uint32_t living = 0;
constexpr std::uint32_t dying = 1;

// What every weak reference without a living object stands on. It lies in static memory and is never
// destroyed, so that references in the last destructors of the process still have it.
class Zombie final : public BaseFace {
public:
    void AddRef() noexcept override { }
    void Release() noexcept override { }
    BaseFace* Cast(const char16_t* /*wanted*/) noexcept override { return nullptr; }
    void AttachWeak(WeakReference* weak) noexcept override
    {
        // seq_cst: who announces a word and still finds it here afterwards is seen by its destroyer
        weak->guard.exchange(&word);
    }
    void DetachWeak(WeakReference* /*weak*/) noexcept override { }

    std::atomic<std::uint32_t> word{2};
};
constinit Zombie zombie;

// As AttachObject(nullptr) does.
void TurnToZombie(BaseFace::WeakReference& weak) noexcept
{
    // release: who finds the Zombie here sees that the object was claimed
    weak.object.store(&zombie, std::memory_order_release);
    zombie.AttachWeak(&weak);
}

BaseFace::WeakReference* const lockedList = reinterpret_cast<BaseFace::WeakReference*>(~std::uintptr_t{0});

// Takes the list of weak references: until it is given back, nobody else changes it.
BaseFace::WeakReference* LockList(std::atomic<BaseFace::WeakReference*>& head) noexcept
{
    for (;;) {
        BaseFace::WeakReference* first = head.load(std::memory_order_relaxed);
        if (first != lockedList && head.compare_exchange_weak(first, lockedList, std::memory_order_acquire))
            return first;
        if (first == lockedList)
            Platform::Sleep(0);
    }
}

// Drops a reference that is not the last one and gives true, or claims the last one and gives false.
bool DropOrClaim(std::atomic<std::uint32_t>& word) noexcept
{
    std::uint32_t seen = word.load(std::memory_order_relaxed);
    for (;;) {
        const bool last = seen == reference;
        // release: what this holder did happens before the destruction; acquire: for the one who destroys
        if (word.compare_exchange_weak(
                seen, last ? dying : seen - reference, std::memory_order_acq_rel, std::memory_order_relaxed))
            return !last;
    }
}

// Adds a reference unless the word shows a dying object or one without references.
bool AddToLiving(std::atomic<std::uint32_t>& word) noexcept
{
    std::uint32_t seen = word.load(std::memory_order_relaxed);
    while (seen >= reference && (seen & stateBits) == living)
        // acquire: the object is used from here on; what its makers wrote is visible
        if (word.compare_exchange_weak(
                seen, seen + reference, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

} // namespace

thread_local constinit const Life::Prepared* Life::prepared = nullptr;

void Life::ReleaseCounted(
    Life* life, DestroyFunction destroy, LiveObjects* counter, UnlockFunction unlock) noexcept
{
    if (!DropOrClaim(life->word))
        Die(life, destroy, counter, unlock);
}

// What the winner of the last reference does. Apart from ReleaseCounted, which then has no registers to save
// for a reference that is not the last.
void Life::Die(Life* life, DestroyFunction destroy, LiveObjects* counter, UnlockFunction unlock) noexcept
{
    // The list changes no more (5). Each reference may be freed by its owner as soon as it is on the Zombie.
    BaseFace::WeakReference* weak = life->weakHead.load(std::memory_order_relaxed);
    if (weak != nullptr) {
        while (weak != nullptr) {
            BaseFace::WeakReference* const next = weak->next;
            TurnToZombie(*weak);
            weak = next;
        }
        Hazards::WaitUntilUnannounced(&life->word);
        life->weakHead.store(nullptr, std::memory_order_relaxed);
    }
    life->word.store(0, std::memory_order_relaxed);
    destroy(life);
    if (counter != nullptr) {
        counter->changed.store(Platform::GetCoarseTickCount64(), std::memory_order_relaxed);
        // release: the destructor has run before anybody sees the module without objects and unloads it.
        // From here on nothing of the module may be touched.
        counter->count.fetch_sub(1, std::memory_order_release);
    } else if (unlock != nullptr) {
        unlock();
    }
}

void Life::ReleasePrepared() noexcept
{
    const Prepared& ending = *prepared;
    ReleaseCounted(this, ending.destroy, *ending.counter, ending.unlock);
}

bool Life::AddIfLiving() noexcept
{
    return AddToLiving(word);
}

void Life::AttachWeak(BaseFace::WeakReference* weak) noexcept
{
    weak->guard.store(&word, std::memory_order_relaxed);
    for (;;) {
        BaseFace::WeakReference* first = weakHead.load(std::memory_order_relaxed);
        if (first == lockedList) {
            Platform::Sleep(0);
            continue;
        }
        weak->next = first;
        // One step that locks, links and unlocks, for the list was not locked. That `first` left and came
        // back meanwhile does no harm: it is the first again, whatever stands behind it. acq_rel: `next` of
        // this one is published, and who walks the list later has seen all that came before.
        if (weakHead.compare_exchange_weak(first, weak, std::memory_order_acq_rel, std::memory_order_relaxed))
            return;
    }
}

void Life::DetachWeak(BaseFace::WeakReference* weak) noexcept
{
    BaseFace::WeakReference* first = LockList(weakHead);
    BaseFace::WeakReference** link = &first;
    while (*link != weak)
        link = &(*link)->next;
    *link = weak->next;
    weakHead.store(first, std::memory_order_release);
}

void BaseFace::WeakReference::AttachObject(const BaseFace* attached) noexcept
{
    if (attached == nullptr)
        return TurnToZombie(*this);
    // Constness ends here: a reference that is locked later is as good as any other.
    auto* const target = const_cast<BaseFace*>(attached);
    object.store(target, std::memory_order_relaxed);
    target->AttachWeak(this);
}

BaseFace* BaseFace::WeakReference::LockObject() const noexcept
{
    const Hazards::Announcement announced(guard, &zombie.word);
    if (announced.Word() == &zombie.word)
        return nullptr;
    std::atomic<std::uint32_t>& word = *announced.Word();
    if (AddToLiving(word))
        return object.load(std::memory_order_relaxed);
    if ((word.load(std::memory_order_relaxed) & stateBits) != living)
        return nullptr;
    // An object that was still to get its first reference: maybe this is it, and then its locker has to
    // know. Somebody else may have taken it, dropped it and claimed the object meanwhile: then what is added
    // here is gone when the destroyer, who waits for this announcement, sets the word back.
    // acquire: where a destroyer was faster this is the Zombie, and the state below no older than its claim
    BaseFace* const unreferenced = object.load(std::memory_order_acquire);
    unreferenced->AddRef();
    return (word.load(std::memory_order_relaxed) & stateBits) == living ? unreferenced : nullptr;
}

bool BaseFace::WeakReference::IsDead() const noexcept
{
    return guard.load(std::memory_order_acquire) == &zombie.word;
}

void BaseFace::WeakReference::DetachObject() noexcept
{
    while (!IsDead()) {
        if (BaseFace* const held = LockObject()) {
            held->DetachWeak(this);
            held->Release();
            return;
        }
        // Dying: its destroyer is about to turn this reference to the Zombie, or just has.
        if (!IsDead())
            Platform::Sleep(0);
    }
}
