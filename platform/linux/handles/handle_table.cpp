#include "platform/linux/handles/handle_table.h"

#include "platform/errors.h"
#include "platform/linux/suspension.h"

#include <bit>
#include <limits>
#include <mutex>
#include <new>

namespace Platform {

namespace {

// One slot. `word` is generation (high 32 bits) and borrows (low 32 bits):
//
// 1. The generation is odd while the slot is open. It only grows; a slot whose generation is used up is
//    never opened again, so that a handle names one object for all time.
// 2. A borrow is a reference that a lookup took and that `object->references` does not count yet. An
//    open slot has given its object `share` references, so dropping a borrowed one never reaches 0
//    before the close, which adds the borrows and takes back the share in one step.
// 3. `object` and `rights` are written only while the slot is closed, by the thread that took it off
//    the free list. A lookup reads them first and then adds its borrow by a compare-and-swap from the
//    word that it read before: if that succeeds, the slot was open with this generation in between, so
//    what was read belongs to it. (The close acquires what the lookup released, so a lookup that
//    comes before it cannot have seen what is written after it.)
struct alignas(64) Slot {
    std::atomic<std::uint64_t> word{0};
    std::atomic<CountedObject*> object{nullptr};
    std::atomic<std::uint64_t> rights{0}; // kind (high 32 bits) and access
    std::uint32_t nextFree = 0; // guarded by `freeLock`
};

constexpr std::int64_t share = std::int64_t{1} << 32;
// Borrows beyond this are moved to the object's count, long before they could overflow.
constexpr std::uint32_t borrowLimit = 1 << 16;
constexpr std::uint64_t generationStep = std::uint64_t{1} << 32;

// Block 0 holds firstBlockSlots, every further one as many as all before it. Index 0 is no slot.
constexpr std::uint32_t firstBlockSlots = 256;
constexpr std::uint32_t maximumSlots = 1U << 24;
constexpr std::uint32_t blockCount = std::bit_width(maximumSlots / firstBlockSlots);

constinit Slot firstBlock[firstBlockSlots];
constinit std::atomic<Slot*> blocks[blockCount] = {firstBlock};

// Guards the two fields below, the slots' nextFree and the making of blocks; nothing is called under it
// but the allocator.
constinit std::mutex freeLock;
constinit std::uint32_t firstFree = 0;
constinit std::uint32_t usedSlots = 1;

constexpr std::uint32_t GenerationOf(std::uint64_t word)
{
    return static_cast<std::uint32_t>(word >> 32);
}
constexpr std::uint32_t BorrowsOf(std::uint64_t word)
{
    return static_cast<std::uint32_t>(word);
}

constexpr std::uint32_t BlockOf(std::uint32_t index)
{
    return std::bit_width(index / firstBlockSlots);
}
constexpr std::uint32_t BlockStart(std::uint32_t block)
{
    return block == 0 ? 0 : firstBlockSlots << (block - 1);
}
constexpr std::uint32_t BlockSlots(std::uint32_t block)
{
    return block == 0 ? firstBlockSlots : BlockStart(block);
}

// The slot that the handle names, null if there never was one; whether it is open is for the caller.
inline Slot* SlotOf(Handle handle) noexcept
{
    const std::uint64_t number = static_cast<std::uint64_t>(handle);
    const std::uint32_t index = static_cast<std::uint32_t>(number);
    if (GenerationOf(number) % 2 == 0 || index >= maximumSlots)
        return nullptr;
    Slot* const block = blocks[BlockOf(index)].load(std::memory_order_acquire);
    return block ? block + (index - BlockStart(BlockOf(index))) : nullptr;
}

Slot* NewBlock(std::uint32_t block) noexcept
{
    Slot* const made = new (std::nothrow) Slot[BlockSlots(block)];
    if (made)
        blocks[block].store(made, std::memory_order_release);
    return made;
}

// Takes a closed slot; null if there is no memory or the table is full.
Slot* TakeSlot(std::uint32_t& index) noexcept
{
    const Inside inside;
    const std::lock_guard guard(freeLock);
    index = firstFree != 0 ? firstFree : usedSlots;
    if (index == maximumSlots)
        return nullptr;
    const std::uint32_t block = BlockOf(index);
    Slot* slots = blocks[block].load(std::memory_order_relaxed);
    if (!slots)
        slots = NewBlock(block);
    if (!slots)
        return nullptr;
    Slot& slot = slots[index - BlockStart(block)];
    if (firstFree != 0)
        firstFree = slot.nextFree;
    else
        ++usedSlots;
    return &slot;
}

void GiveSlotBack(Slot& slot, std::uint32_t index) noexcept
{
    // Keeps (1): the last even generation stays closed.
    if (GenerationOf(slot.word.load(std::memory_order_relaxed))
        == std::numeric_limits<std::uint32_t>::max() - 1)
        return;
    const Inside inside;
    const std::lock_guard guard(freeLock);
    slot.nextFree = firstFree;
    firstFree = index;
}

// Moves borrows to the object's count: the caller has one of them, so the object is alive. They are
// added before they are taken away, and taken back if the slot was closed in between (the close counted
// them) or another thread moved them first.
void SettleBorrows(Slot& slot, std::uint64_t word, CountedObject& object) noexcept
{
    const std::uint32_t generation = GenerationOf(word);
    const std::uint32_t moved = BorrowsOf(word);
    object.AddReferences(moved);
    while (GenerationOf(word) == generation && BorrowsOf(word) >= moved)
        if (slot.word.compare_exchange_weak(word, word - moved, std::memory_order_acq_rel))
            return;
    object.DropReferences(moved);
}

// Borrows the object if the handle is open and `accept`s its rights; otherwise null with the last error.
template <class Accept>
CountedObject* Borrow(Handle handle, Accept accept) noexcept
{
    Slot* const slot = SlotOf(handle);
    std::uint64_t word = slot ? slot->word.load(std::memory_order_acquire) : 0;
    while (slot && GenerationOf(word) == GenerationOf(static_cast<std::uint64_t>(handle))) {
        CountedObject* const object = slot->object.load(std::memory_order_relaxed);
        const std::uint32_t error = accept(slot->rights.load(std::memory_order_relaxed));
        // Also a refusal holds only if the slot did not change since the word was read.
        const std::uint64_t borrowed = error == ERROR_SUCCESS ? word + 1 : word;
        if (!slot->word.compare_exchange_weak(
                word, borrowed, std::memory_order_acq_rel, std::memory_order_acquire))
            continue;
        if (error != ERROR_SUCCESS) {
            SetLastError(error);
            return nullptr;
        }
        if (BorrowsOf(borrowed) >= borrowLimit)
            SettleBorrows(*slot, borrowed, *object);
        return object; // NOLINT(clang-analyzer-cplusplus.NewDelete): the borrow keeps it alive
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

constexpr ObjectKind KindOf(std::uint64_t rights)
{
    return static_cast<ObjectKind>(rights >> 32);
}
constexpr std::uint32_t AccessOf(std::uint64_t rights)
{
    return static_cast<std::uint32_t>(rights);
}

// Of these each handle belongs to the function that ends it.
constexpr KindSet ownedKinds(ObjectKind::Find, ObjectKind::Window);

// Closes the handle if `accept`s its rights.
template <class Accept>
bool Close(Handle handle, Accept accept) noexcept
{
    const Inside inside; // destructors take locks
    Slot* const slot = SlotOf(handle);
    std::uint64_t word = slot ? slot->word.load(std::memory_order_acquire) : 0;
    while (slot && GenerationOf(word) == GenerationOf(static_cast<std::uint64_t>(handle))) {
        CountedObject* const object = slot->object.load(std::memory_order_relaxed);
        const bool accepted = accept(slot->rights.load(std::memory_order_relaxed));
        const std::uint64_t closed = (std::uint64_t{GenerationOf(word)} << 32) + generationStep;
        if (!slot->word.compare_exchange_weak(
                word, accepted ? closed : word, std::memory_order_acq_rel, std::memory_order_acquire))
            continue;
        if (!accepted)
            break;
        GiveSlotBack(*slot, static_cast<std::uint32_t>(static_cast<std::uint64_t>(handle)));
        const LastErrorKeeper keeper;
        object->DropReferences(share - std::int64_t{BorrowsOf(word)});
        return true;
    }
    return Fail(ERROR_INVALID_HANDLE);
}

} // namespace

Handle MakeHandle(ObjectRef<CountedObject> object, std::uint32_t access) noexcept
{
    std::uint32_t index = 0;
    Slot* const slot = TakeSlot(index);
    if (!slot) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return NULL_HANDLE;
    }
    CountedObject* const shared = object.Detach();
    shared->AddReferences(share - 1); // the caller's reference is part of the share
    slot->object.store(shared, std::memory_order_relaxed);
    slot->rights.store(
        std::uint64_t{static_cast<std::uint32_t>(shared->kind)} << 32 | access, std::memory_order_relaxed);
    const std::uint64_t opened = slot->word.load(std::memory_order_relaxed) + generationStep;
    slot->word.store(opened, std::memory_order_release);
    return static_cast<Handle>(opened | index);
}

ObjectRef<CountedObject> FindObject(Handle handle, KindSet kinds, std::uint32_t access) noexcept
{
    return ObjectRef<CountedObject>::Adopt(Borrow(handle, [kinds, access](std::uint64_t rights) {
        if (!kinds.Has(KindOf(rights)))
            return ERROR_INVALID_HANDLE;
        return (access & ~AccessOf(rights)) == 0 ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }));
}

bool CheckHandles(std::uint32_t count, const Handle* handles, KindSet kinds, std::uint32_t access) noexcept
{
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t generation = GenerationOf(static_cast<std::uint64_t>(handles[i]));
        const Slot* const slot = SlotOf(handles[i]);
        if (!slot || GenerationOf(slot->word.load(std::memory_order_acquire)) != generation)
            return Fail(ERROR_INVALID_HANDLE);
        const std::uint64_t rights = slot->rights.load(std::memory_order_acquire);
        // Keeps (3): the rights belong to the handle if it is still open behind them.
        if (GenerationOf(slot->word.load(std::memory_order_relaxed)) != generation
            || !kinds.Has(KindOf(rights)))
            return Fail(ERROR_INVALID_HANDLE);
        if ((access & ~AccessOf(rights)) != 0)
            return Fail(ERROR_ACCESS_DENIED);
    }
    return true;
}

KnownHandle KnowHandle(Handle handle) noexcept
{
    const Slot* const slot = SlotOf(handle);
    return slot ? KnownHandle{&slot->word, AccessOf(slot->rights.load(std::memory_order_acquire))}
                : KnownHandle{};
}

bool CloseHandle(Handle handle) noexcept
{
    return Close(handle, [](std::uint64_t rights) { return !ownedKinds.Has(KindOf(rights)); });
}

bool CloseHandleOfKind(Handle handle, ObjectKind kind) noexcept
{
    return Close(handle, [kind](std::uint64_t rights) { return KindOf(rights) == kind; });
}

bool DuplicateHandle(Handle source, Handle* duplicate, std::uint32_t access, std::uint32_t options) noexcept
{
    *duplicate = NULL_HANDLE;
    std::uint32_t rights = access;
    CountedObject* const object = Borrow(source, [&rights, access, options](std::uint64_t present) {
        if (ownedKinds.Has(KindOf(present)))
            return ERROR_INVALID_HANDLE;
        rights = options & DUPLICATE_SAME_ACCESS ? AccessOf(present) : access;
        return (rights & ~AccessOf(present)) == 0 ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    });
    if (object)
        *duplicate = MakeHandle(ObjectRef<CountedObject>::Adopt(object), rights);
    if (options & DUPLICATE_CLOSE_SOURCE) {
        const LastErrorKeeper keeper; // the first failure is the one to tell
        CloseHandle(source);
    }
    return *duplicate != NULL_HANDLE;
}

} // namespace Platform
