// MemoryProperties: a bag in memory. Copies share their contents until one of them is changed.
//
// Names that differ only in case are one name, kept in the form in which it was first set; they are listed
// in the order of _wcsicmp. One bag is for one thread at a time; bags that share their contents may be used
// in several threads. Want of memory is std::bad_alloc and leaves the bag as it was.
#pragma once

#include <tessel/base/properties.h>

#include <atomic>
#include <utility>

class NameMap;

class TESSEL_API MemoryProperties : public Properties {
public:
    MemoryProperties() noexcept = default;
    MemoryProperties(const MemoryProperties& other) noexcept : Properties(other), shared(other.shared)
    {
        // relaxed: whoever copies holds a reference already
        if (shared != nullptr)
            shared->refCount.fetch_add(1, std::memory_order_relaxed);
    }
    MemoryProperties& operator=(const MemoryProperties& other) noexcept
    {
        MemoryProperties copy(other);
        std::swap(shared, copy.shared);
        return *this;
    }
    ~MemoryProperties() override { Release(shared); }

    // Without a default: "MPR-not-found(%s:%d)" with the name and the type asked for, or
    // "MPR-bad-type(%s:%d %d)" with the name, the type asked for and the one found.
    WideString GetString(const WideString& name, const WideString& defaultValue) const override;
    WideString GetString(const WideString& name) const override;
    std::uint32_t GetNumber(const WideString& name, std::uint32_t defaultValue) const override;
    std::uint32_t GetNumber(const WideString& name) const override;
    Binary GetBinary(const WideString& name, const Binary& defaultValue) const override;
    Binary GetBinary(const WideString& name) const override;
    Handle GetHandle(const WideString& name, Handle defaultValue) const override;
    Handle GetHandle(const WideString& name) const override;
    void SetString(const WideString& name, const WideString& value) override;
    void SetNumber(const WideString& name, std::uint32_t value) override;
    void SetBinary(const WideString& name, const Binary& value) override;
    void SetHandle(const WideString& name, Handle value) override;
    void Delete(const WideString& name) override;
    PropertyType GetType(const WideString& name) const override;
    std::vector<WideString> EnumProperties() const override;
    void Clear() noexcept override;

private:
    friend TESSEL_API WriteArchive& operator<<(WriteArchive& archive, const Properties& properties);

    // What modules know of the contents.
    struct Shared {
        std::atomic<std::uint32_t> refCount{1}; // bags that share them; above 1: not to be changed
    };
    struct Contents;

    static void Release(Shared* released) noexcept
    {
        // acquire and release: what other holders read happens before the contents go
        if (released != nullptr && released->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            Free(released);
    }
    static void Free(Shared* released) noexcept;

    TESSEL_HIDDEN const NameMap* Read() const noexcept;
    TESSEL_HIDDEN NameMap& Write();
    TESSEL_HIDDEN void WriteTo(WriteArchive& archive) const;

    Shared* shared = nullptr; // null: an empty bag
};
static_assert(sizeof(MemoryProperties) == 2 * sizeof(void*));
