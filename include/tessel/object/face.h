// Faces: the interfaces through which every object that crosses a module boundary is reached.
//
//     struct Lamp : Face<> {
//         static constexpr Iid iid = u"IID_Demo::Lamp"_iid;
//         virtual void Switch(bool on) = 0;
//     };
//     struct Dimmer : Face<Lamp> { ... };            // adds to Lamp
//     class LampImpl : public Face<Dimmer, Named> {  // an object with two interfaces; see impl.h
//
// An interface has no data and no destructor. Its table holds the five operations of BaseFace, then its own
// in order: that order is what modules built apart share.
#pragma once

#include <tessel/export.h>
#include <tessel/object/iid.h>

#include <atomic>
#include <cstdint>
#include <type_traits>

struct BaseFace {
    struct WeakReference;

    // Adds one reference. In its own destructor an object cannot take one: there this operation is pure, and
    // calling it ends the process.
    virtual void AddRef() noexcept = 0;
    // Drops one reference; the last one destroys the object. It throws nothing, but is not declared so: clang
    // would refuse the jump that impl.h needs at the end of it.
    virtual void Release() = 0;
    // The face that answers to the identifier, with one reference added for the caller, or null. Null and
    // "IID_BaseFace" give the primary face, which is the same for every face of one object.
    virtual BaseFace* Cast(const char16_t* wanted) noexcept = 0;
    // Links a weak reference into this object's list, and takes it out. For WeakReference alone; the caller
    // holds a reference to the object.
    virtual void AttachWeak(WeakReference* weak) noexcept = 0;
    virtual void DetachWeak(WeakReference* weak) noexcept = 0;

    static constexpr Iid iid = u"IID_BaseFace"_iid;

protected:
    BaseFace() = default;
    BaseFace(const BaseFace&) = default;
    BaseFace& operator=(const BaseFace&) = default;
    ~BaseFace() = default;
};

// A reference that does not keep its object alive. It is never null: after the object's death, or where
// there is no object, it stands on the process's Zombie, which lives in the library and answers null to
// everything. So it stays safe when the module of its object has been unloaded.
//
// Attach and detach are for the one who owns it; LockObject may run in other threads at the same time as the
// object's death, but not as an attach or detach of the same reference. It is not copied; WeakPtr does all of
// this for typed faces.
struct BaseFace::WeakReference {
    std::atomic<std::atomic<std::uint32_t>*> guard{nullptr}; // life word of the object, or the Zombie's
    std::atomic<BaseFace*> object{nullptr}; // the object, or the Zombie
    WeakReference* next = nullptr; // in the object's list

    WeakReference() = default;
    WeakReference(const WeakReference&) = delete;
    WeakReference& operator=(const WeakReference&) = delete;
    ~WeakReference() = default;

    // Starts to refer to an object, to which the caller holds a reference, or to nothing (null).
    TESSEL_API void AttachObject(const BaseFace* attached) noexcept;
    // Stops referring. Needed before the reference is attached again or goes.
    TESSEL_API void DetachObject() noexcept;
    // The object with one reference added for the caller, or null if it is dead or dying. Never blocks.
    TESSEL_API BaseFace* LockObject() const noexcept;
    // Whether there is no object any more, and never will be. Takes no reference, so no destructor can
    // follow.
    TESSEL_API bool IsDead() const noexcept;
};
static_assert(sizeof(BaseFace::WeakReference) == 3 * sizeof(void*));

// The bases of an interface or object, in the order in which Cast walks them. The first one is primary.
template <class... Bases>
struct BaseList {
};

template <class... Faces>
struct Face : Faces... {
    using Bases = BaseList<Faces...>;
};

template <>
struct Face<> : BaseFace {
    using Bases = BaseList<>;
};

// The BaseFace of a face: the first base of its first base, and so on. A plain conversion is ambiguous where
// an object has two tables.
template <class First, class... Rest>
First* FirstBase(BaseList<First, Rest...>);
BaseFace* FirstBase(BaseList<>);

template <class T>
concept DerivesThroughFace = requires
{
    typename T::Bases;
};

template <class T>
BaseFace* Primary(T* face) noexcept
{
    if constexpr (std::is_same_v<T, BaseFace>) {
        return face;
    } else {
        static_assert(DerivesThroughFace<T>, "an interface derives through Face<...>");
        return Primary(static_cast<decltype(FirstBase(typename T::Bases{}))>(face));
    }
}

// The way back: a BaseFace that is known to be the primary one of a T.
template <class T>
T* FromPrimary(BaseFace* face) noexcept
{
    if constexpr (std::is_same_v<T, BaseFace>) {
        return face;
    } else {
        using First = std::remove_pointer_t<decltype(FirstBase(typename T::Bases{}))>;
        return static_cast<T*>(FromPrimary<First>(face));
    }
}

// Each interface has an identifier of its own: one that forgets it would answer to that of its base.
consteval bool Differ(const Iid& left, const Iid& right)
{
    std::size_t i = 0;
    while (left.text[i] != 0 && left.text[i] == right.text[i])
        ++i;
    return left.text[i] != right.text[i];
}
template <class T, class... Bases>
consteval bool DiffersFromBases(BaseList<Bases...>)
{
    return (... && Differ(T::iid, Bases::iid));
}
template <class T>
consteval bool HasOwnIdentifier()
{
    if constexpr (std::is_same_v<T, BaseFace>)
        return true;
    else if constexpr (requires { T::iid; })
        return Differ(T::iid, BaseFace::iid) && DiffersFromBases<T>(typename T::Bases{});
    else
        return false;
}

template <class Interface>
BaseFace* FindFace(Interface* self, std::uint32_t hash, const char16_t* wanted) noexcept;

template <class Interface, class... Bases>
BaseFace* FindFaceInBases([[maybe_unused]] Interface* self, [[maybe_unused]] std::uint32_t hash,
    [[maybe_unused]] const char16_t* wanted, BaseList<Bases...>) noexcept
{
    BaseFace* found = nullptr;
    (void)((found = FindFace<Bases>(self, hash, wanted)) || ...);
    return found;
}

// Walks the interfaces in declared order, those behind an interface directly after it; the first hit wins.
template <class Interface>
BaseFace* FindFace(Interface* self, std::uint32_t hash, const char16_t* wanted) noexcept
{
    if constexpr (requires { Interface::iid; })
        if (Matches(Interface::iid, hash, wanted))
            return Primary(self);
    return FindFaceInBases(self, hash, wanted, typename Interface::Bases{});
}
