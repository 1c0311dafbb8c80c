// NameMap: Values by name. Names are the same without regard to case, stand in the order of _wcsicmp, and
// keep the form in which they were first put in.
//
// Entries stand in blocks of a few dozen, so that a search touches few cache lines and an insertion moves few
// entries. A block keeps hashes of its folded names: a name that is there is mostly compared only once.
#pragma once

#include <tessel/base/value.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

class NameMap {
public:
    struct Entry {
        WideString name;
        Value value;
        std::uint32_t length; // of the name, in characters
    };

    NameMap() = default;
    // Shares names and payloads.
    NameMap(const NameMap& other);
    NameMap& operator=(const NameMap&) = delete;

    // Null where there is no such name.
    const Value* Find(const WideString& name) const noexcept;
    // A new entry has a Value of type none. Throws std::bad_alloc, and then nothing has changed.
    Value& FindOrInsert(const WideString& name);
    void Erase(const WideString& name) noexcept;

    std::size_t GetCount() const noexcept { return count; }
    // In order.
    template <class Visitor>
    void ForEach(Visitor&& visit) const
    {
        for (const std::unique_ptr<Block>& block : blocks)
            for (std::size_t i = 0; i < block->count; ++i)
                visit(std::as_const(*block->entries[i]));
    }

private:
    // A name that is looked for.
    struct Key {
        explicit Key(const WideString& name) noexcept;

        const char16_t* text;
        std::uint32_t length; // in characters
        std::uint32_t hash; // of the folded characters
    };
    struct Block {
        static constexpr std::size_t capacity = 32;

        std::size_t Find(const Key& key) const noexcept; // count where it is not there
        std::size_t PlaceOf(const Key& key) const noexcept; // of the first entry that is not less
        void Insert(std::size_t place, std::uint32_t hash, std::unique_ptr<Entry> entry) noexcept;
        void Erase(std::size_t place) noexcept;

        std::size_t count = 0;
        std::array<std::uint32_t, capacity> hashes;
        std::array<std::unique_ptr<Entry>, capacity> entries;
    };

    static int Compare(const Key& key, const Entry& entry) noexcept;
    static bool IsSame(const Key& key, const Entry& entry) noexcept;
    std::size_t BlockOf(const Key& key) const noexcept;
    Block& MakeRoom(std::size_t index, const Key& key);

    std::vector<std::unique_ptr<Block>> blocks; // none is empty
    std::size_t count = 0;
};
