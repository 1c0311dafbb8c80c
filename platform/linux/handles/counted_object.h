// What a handle stands for: a counted object of some kind, and the reference that keeps it alive while
// a call works with it.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace Platform {

enum class ObjectKind : std::uint32_t {
    File,
    Find,
    Event,
    Mutex,
    Thread,
    Key,
    NamedEvent,
    NamedMutex,
    Window
};

// Some kinds, for who accepts more than one.
class KindSet {
public:
    template <class... Kinds>
    constexpr KindSet(Kinds... kinds) noexcept // NOLINT(google-explicit-constructor): a kind is a set of one
        : bits((... | (1U << static_cast<std::uint32_t>(kinds))))
    {
    }
    constexpr bool Has(ObjectKind kind) const noexcept
    {
        return (bits >> static_cast<std::uint32_t>(kind) & 1) != 0;
    }

private:
    std::uint32_t bits;
};

// The base of all objects behind handles. Made with one reference, destroyed with the last one, by
// whichever thread drops it; so a destructor takes no lock that a caller could hold.
class CountedObject {
public:
    explicit CountedObject(ObjectKind objectKind) noexcept : kind(objectKind) { }
    virtual ~CountedObject() = default;
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;

    // Relaxed: who adds a reference has one already.
    void AddReferences(std::int64_t count) noexcept
    {
        references.fetch_add(count, std::memory_order_relaxed);
    }

    // For who finds the object without having a reference: false if the last one has gone, and the object
    // with it.
    bool AddReferenceIfAlive() noexcept
    {
        std::int64_t count = references.load(std::memory_order_relaxed);
        while (count != 0)
            if (references.compare_exchange_weak(count, count + 1, std::memory_order_acquire))
                return true;
        return false;
    }

    // Release, so that whatever was done through a reference comes before the destruction; acquire by
    // the destroyer, for the same reason. `count` may be negative when a handle settles (handle_table.h).
    void DropReferences(std::int64_t count) noexcept
    {
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): who drops one has one, which the checker cannot
        // know
        if (references.fetch_sub(count, std::memory_order_acq_rel) == count)
            delete this;
    }

    const ObjectKind kind;

private:
    std::atomic<std::int64_t> references{1};
};

// Owns one reference to a T, or is empty. A T names its kind as `T::objectKind`.
template <class T>
class ObjectRef {
public:
    ObjectRef() noexcept = default;
    // Takes over a reference that the caller has: that of a new object, or one that was added for it.
    static ObjectRef Adopt(T* adopted) noexcept
    {
        ObjectRef made;
        made.object = adopted;
        return made;
    }
    ObjectRef(const ObjectRef& other) noexcept : object(other.object)
    {
        if (object)
            object->AddReferences(1);
    }
    ObjectRef(ObjectRef&& other) noexcept : object(std::exchange(other.object, nullptr)) { }
    ObjectRef& operator=(ObjectRef other) noexcept
    {
        std::swap(object, other.object);
        return *this;
    }
    ~ObjectRef()
    {
        // The analyzer cannot follow the count.
        if (object)
            object->DropReferences(1); // NOLINT(clang-analyzer-cplusplus.NewDelete)
    }

    // Gives the reference up to the caller.
    T* Detach() noexcept { return std::exchange(object, nullptr); }

    explicit operator bool() const noexcept { return object != nullptr; }
    T* operator->() const noexcept { return object; }
    T& operator*() const noexcept { return *object; }
    T* Get() const noexcept { return object; }

private:
    T* object = nullptr;
};

} // namespace Platform
