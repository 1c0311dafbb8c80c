// The templates that make a class with interfaces into a counted object.
//
//     class LampImpl : public Face<Lamp, Named> { ... };           // everything but BaseFace's operations
//     FacePtr<Lamp> lamp = MakeFace<Impl<LampImpl, Module>>(...);  // lives as long as it is held
//
// The order of the bases in Face<...> is the order in which Cast looks at them.
#pragma once

#include <tessel/object/face_ptr.h>
#include <tessel/object/life.h>

// Release must end in a jump, not in a call, in every build: the module may be unloaded as soon as the
// library has counted its last object down, and a return into it would land in unmapped memory. Everything
// that instruments a function puts work behind its last call, and so is turned off here.
#if defined(__clang__)
#define TESSEL_TAIL_JUMP                                                                                     \
    __attribute__((no_sanitize("address", "thread", "undefined"), no_profile_instrument_function,            \
        no_instrument_function, no_stack_protector, disable_sanitizer_instrumentation))
#else
#define TESSEL_TAIL_JUMP                                                                                     \
    __attribute__((optimize("O2", "optimize-sibling-calls"), no_sanitize("address", "thread", "undefined"),  \
        no_profile_instrument_function, no_instrument_function, no_stack_protector))
#endif

// A policy with two static operations: Lock, called when an object gets its first reference, and Unlock when
// it is gone. One that has `liveObjects` is counted down in the library, and its Unlock is not called; null
// there means that nothing is counted. One without it must not lie in a module that can be unloaded.
template <class Locker>
concept CountingLocker = requires
{
    static_cast<LiveObjects*>(Locker::liveObjects);
};

// T completed by the five operations of BaseFace. `Final` is the class that the last Release deletes.
template <class T, class Final, class Locker>
class ImplBase : public T, private Life {
public:
    using T::T;

    void AddRef() noexcept override
    {
        // relaxed: whoever adds a reference holds one, or has just made the object
        if (word.fetch_add(4, std::memory_order_relaxed) == 0)
            Locker::Lock();
    }

    // AddRef for the maker of an object, at once behind its constructor and before anybody else has heard of
    // it: then nobody can add a reference at the same time, and a plain store will do.
    void AddFirstRef() noexcept
    {
        if (word.load(std::memory_order_relaxed) != 0 || weakHead.load(std::memory_order_relaxed) != nullptr)
            return AddRef(); // its constructor has let others know it
        word.store(4, std::memory_order_relaxed);
        Locker::Lock();
    }

#if defined(__clang__) && !defined(TESSEL_OPTIMISED_TAIL)
    // Below -O2 this compiler jumps only where it is told to, and only to a function of the same signature.
    TESSEL_TAIL_JUMP void Release() override
    {
        prepared = &ending;
        [[clang::musttail]] return (this->*static_cast<void (ImplBase::*)()>(&Life::ReleasePrepared))();
    }
#else
    TESSEL_TAIL_JUMP void Release() noexcept override
    {
        if constexpr (CountingLocker<Locker>)
            return ReleaseCounted(this, &Destroy, Locker::liveObjects, nullptr);
        else
            return ReleaseCounted(this, &Destroy, nullptr, &Locker::Unlock);
    }
#endif

    BaseFace* Cast(const char16_t* wanted) noexcept override
    {
        BaseFace* const primary = Primary(static_cast<T*>(this));
        BaseFace* found = primary;
        if (wanted != nullptr) {
            const std::uint32_t hash = GetSimpleStringHash(wanted);
            if (!Matches(BaseFace::iid, hash, wanted))
                found = FindFace<T>(this, hash, wanted);
        }
        if (found != nullptr)
            primary->AddRef();
        return found;
    }

    void AttachWeak(BaseFace::WeakReference* weak) noexcept override
    {
        Life::AttachWeak(weak);
    }
    void DetachWeak(BaseFace::WeakReference* weak) noexcept override
    {
        Life::DetachWeak(weak);
    }

protected:
    ~ImplBase() = default;
    // Adds a reference unless the object is dying; for holders that do not count.
    bool AddRefIfLiving() noexcept
    {
        return AddIfLiving();
    }

private:
    static void Destroy(Life* life) noexcept
    {
        delete static_cast<Final*>(static_cast<ImplBase*>(life));
    }

#if defined(__clang__) && !defined(TESSEL_OPTIMISED_TAIL)
    static constexpr LiveObjects* nothingCounted = nullptr;
    static constexpr LiveObjects* const* Counter() noexcept
    {
        if constexpr (CountingLocker<Locker>)
            return &Locker::liveObjects;
        else
            return &nothingCounted;
    }
    static constexpr UnlockFunction Unlocker() noexcept
    {
        if constexpr (CountingLocker<Locker>)
            return nullptr;
        else
            return &Locker::Unlock;
    }
    static constexpr Prepared ending{&Destroy, Counter(), Unlocker()};
#endif
};

// An ordinary object.
template <class T, class Locker>
class Impl final : public ImplBase<T, Impl<T, Locker>, Locker> {
public:
    using ImplBase<T, Impl<T, Locker>, Locker>::ImplBase;
};

// The same mix-in for a final class that adds members of its own.
template <class T, class Final, class Locker>
using ImplHeap = ImplBase<T, Final, Locker>;
