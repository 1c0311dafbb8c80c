// The life of a counted object: one word for references and state, and the list of its weak references.
// Client code uses impl.h; this is what that compiles into every module and calls in the library.
#pragma once

#include <tessel/export.h>
#include <tessel/object/face.h>

#include <atomic>
#include <cstdint>

// What a module that may be unloaded keeps of its objects.
struct LiveObjects {
    std::atomic<std::uint32_t> count{0}; // objects that have a first reference and are not yet destroyed
    std::atomic<std::uint64_t> changed{0}; // when one was last destroyed, in milliseconds since the boot
};

// Word: 4 x references + state. Invariants:
//
// 1. State is 0 while the object lives; 1 from the claim of the last reference until every weak reference
//    is on the Zombie; 0 again, without references, while the destructor runs. 2 is the Zombie's.
// 2. The last reference goes by one compare-and-swap 4 -> 1, and whoever wins it destroys. The word never
//    passes through 0 on its way down, so nobody can revive what somebody else is about to destroy.
// 3. Who has dropped a reference never touches the object again.
// 4. Nobody adds to a word in state 1, nor to 0, but the first AddRef.
// 5. The list is changed only by its locker (head all-ones) or by a push that finds it unlocked, and only by
//    somebody with a reference. So at the claim (2) nobody holds it, and it changes no more.
class Life {
public:
    using DestroyFunction = void (*)(Life*) noexcept;
    using UnlockFunction = void (*)();

    // Drops one reference. Nothing of the object's module runs after the objects of that module were counted
    // down: everything behind the claim happens here, and what the module does is a jump to here.
    TESSEL_API static void ReleaseCounted(
        Life* life, DestroyFunction destroy, LiveObjects* counter, UnlockFunction unlock) noexcept;

    // The same for compilers that make a jump only between functions of one signature: the caller leaves in
    // `prepared` what ReleaseCounted would get. See impl.h.
    struct Prepared {
        DestroyFunction destroy;
        LiveObjects* const* counter;
        UnlockFunction unlock;
    };
    TESSEL_API void ReleasePrepared() noexcept;
    TESSEL_API static constinit thread_local const Prepared* prepared
        __attribute__((tls_model("initial-exec")));

protected:
    Life() noexcept = default;
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() = default;

    // Adds a reference only to an object that lives and has one.
    TESSEL_API bool AddIfLiving() noexcept;
    TESSEL_API void AttachWeak(BaseFace::WeakReference* weak) noexcept;
    TESSEL_API void DetachWeak(BaseFace::WeakReference* weak) noexcept;

    std::atomic<std::uint32_t> word{0};
    std::atomic<BaseFace::WeakReference*> weakHead{nullptr};

private:
    [[gnu::noinline]] static void Die(
        Life* life, DestroyFunction destroy, LiveObjects* counter, UnlockFunction unlock) noexcept;
};
