// FacePtr: owns one reference to a face. WeakPtr: refers to one without keeping its object alive.
#pragma once

#include <tessel/object/clsid.h>
#include <tessel/object/face.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

template <class T>
class FacePtr;

namespace Object {
// Makes an object of the class and gives its face for `iid`, or throws "clsid-not-found(%s)"; see manager.h.
TESSEL_API FacePtr<BaseFace> CreateObject(const Clsid& clsid, const char16_t* iid);
} // namespace Object

// Throws the failure of a conversion: "Cast<%s>" with the subsystem's tag.
[[noreturn]] TESSEL_API void ThrowCastFailure(const char16_t* iid, const char* tag);
// By object identity: null before all others; faces of one object are equal.
TESSEL_API std::strong_ordering CompareIdentity(BaseFace* left, BaseFace* right) noexcept;

template <class T>
class FacePtr {
public:
    FacePtr() noexcept = default;
    FacePtr(std::nullptr_t) noexcept { } // NOLINT(google-explicit-constructor)
    // Adds a reference of its own; an object just made takes its first one here.
    explicit FacePtr(T* shared) noexcept : face(shared) { AddRef(); }
    FacePtr(const FacePtr& other) noexcept : face(other.face) { AddRef(); }
    FacePtr(FacePtr&& other) noexcept : face(std::exchange(other.face, nullptr)) { }
    // To a base that the compiler can see. Where that is ambiguous, or the other way round, use Cast.
    template <class U>
    requires std::convertible_to<U*, T*> FacePtr(const FacePtr<U>& other)
    noexcept : face(other.Get()) // NOLINT(google-explicit-constructor)
    {
        AddRef();
    }
    template <class U>
    requires std::convertible_to<U*, T*> FacePtr(FacePtr<U>&& other)
    noexcept : face(other.Detach()) // NOLINT(google-explicit-constructor)
    {
    }
    // A new object of the class, through its face T; throws as Object::CreateObject does.
    explicit FacePtr(const Clsid& clsid) { *this = clsid; }
    ~FacePtr() { Drop(face); }

    FacePtr& operator=(const FacePtr& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
    {
        return *this = FacePtr(other);
    }
    // The new face is in place before the old one goes, for a last release may call back in.
    FacePtr& operator=(FacePtr&& other) noexcept
    {
        T* const taken = std::exchange(other.face, nullptr);
        Drop(std::exchange(face, taken));
        return *this;
    }
    FacePtr& operator=(std::nullptr_t) noexcept
    {
        Drop(std::exchange(face, nullptr));
        return *this;
    }
    // A new object of the class. What was held is released first, so a throw leaves null.
    FacePtr& operator=(const Clsid& clsid);

    // Takes over a reference that the caller owns.
    static FacePtr Adopt(T* owned) noexcept
    {
        FacePtr adopted;
        adopted.face = owned;
        return adopted;
    }
    // Gives the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(face, nullptr); }

    T* Get() const noexcept { return face; }
    T* operator->() const noexcept { return face; }
    T& operator*() const noexcept { return *face; }
    explicit operator bool() const noexcept { return face != nullptr; }

    // The object's face U; null stays null. Throws "Cast<%s>" with the tag where the object has no such face.
    template <class U>
    FacePtr<U> Cast(const char* tag) const
    {
        FacePtr<U> result = TryCast<U>();
        if (!result && face != nullptr)
            ThrowCastFailure(U::iid, tag);
        return result;
    }
    // The same where a face is optional: null if the object has none.
    template <class U>
    FacePtr<U> TryCast() const noexcept
    {
        static_assert(HasOwnIdentifier<U>(), "this interface has no identifier of its own: give it iid");
        return FacePtr<U>::Adopt(face != nullptr ? Taken<U>(Primary(face)->Cast(U::iid)) : nullptr);
    }

    friend bool operator==(const FacePtr& left, const FacePtr& right) noexcept
    {
        return (left <=> right) == std::strong_ordering::equal;
    }
    friend bool operator==(const FacePtr& left, std::nullptr_t) noexcept { return left.face == nullptr; }
    friend std::strong_ordering operator<=>(const FacePtr& left, const FacePtr& right) noexcept
    {
        return left.face == right.face ? std::strong_ordering::equal
                                       : CompareIdentity(left.PrimaryOrNull(), right.PrimaryOrNull());
    }

private:
    template <class>
    friend class FacePtr;

    template <class U>
    static U* Taken(BaseFace* primary) noexcept
    {
        return primary != nullptr ? FromPrimary<U>(primary) : nullptr;
    }
    BaseFace* PrimaryOrNull() const noexcept { return face != nullptr ? Primary(face) : nullptr; }
    void AddRef() const noexcept
    {
        if (face != nullptr)
            Primary(face)->AddRef();
    }
    static void Drop(T* dropped) noexcept
    {
        if (dropped != nullptr)
            Primary(dropped)->Release();
    }

    T* face = nullptr;
};

template <class T>
FacePtr<T>& FacePtr<T>::operator=(const Clsid& clsid)
{
    static_assert(HasOwnIdentifier<T>(), "this interface has no identifier of its own: give it iid");
    *this = nullptr;
    return *this = Adopt(Taken<T>(Object::CreateObject(clsid, T::iid).Detach()));
}

// Refers to a face without keeping its object alive. Copies refer to the same object, if it lives.
// One WeakPtr is for one thread at a time, but for Lock, which others may call while it is not changed.
template <class T>
class WeakPtr {
public:
    WeakPtr() noexcept { reference.AttachObject(nullptr); }
    explicit WeakPtr(const FacePtr<T>& face) noexcept { Attach(face); }
    WeakPtr(const WeakPtr& other) noexcept { Attach(other.Lock()); }
    ~WeakPtr() { reference.DetachObject(); }
    WeakPtr& operator=(const WeakPtr& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
    {
        return *this = other.Lock();
    }
    WeakPtr& operator=(const FacePtr<T>& face) noexcept
    {
        reference.DetachObject();
        Attach(face);
        return *this;
    }

    // A reference to the face, or null if its object is dead or dying.
    FacePtr<T> Lock() const noexcept
    {
        BaseFace* const locked = reference.LockObject();
        return FacePtr<T>::Adopt(locked != nullptr ? FromPrimary<T>(locked) : nullptr);
    }

    // Whether Lock will give null from now on; false says nothing.
    bool IsDead() const noexcept { return reference.IsDead(); }

private:
    void Attach(const FacePtr<T>& face) noexcept
    {
        reference.AttachObject(face ? Primary(face.Get()) : nullptr);
    }

    BaseFace::WeakReference reference;
};

// An object of a class made from impl.h, in the pointer that takes its first reference. Its constructor may
// hand out counted or weak references to it, where none is taken and dropped again before this returns: that
// one would be the last. It hands out no bare pointer to a thread that adds a reference later.
template <class Made, class... Arguments>
FacePtr<Made> MakeFace(Arguments&&... arguments)
{
    Made* const made = new Made(std::forward<Arguments>(arguments)...);
    made->AddFirstRef();
    return FacePtr<Made>::Adopt(made);
}
