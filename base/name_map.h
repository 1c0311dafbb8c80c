// NameMap: Values by name. Names are the same without regard to case, stand in the order of _wcsicmp, and
// keep the form in which they were first put in.
//
// Entries stand in blocks of a few dozen, in order within a block and from block to block: a search touches
// few cache lines, and an insertion moves few entries. Two things are kept beside the names so that most of
// them need not be looked at: the prefix of the first name of each block, by which the block is found, and a
// hash of each name, by which the name is found in its block.
#pragma once

#include <tessel/base/value.h>

#include <cstddef>
#include <memory>
#include <utility>
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
        for (const Range& range : ranges)
            for (std::uint32_t i = 0; i < range.block->GetCount(); ++i)
                visit(std::as_const(range.block->At(i)));
    }

private:
    // A name that is looked for.
    struct Key {
        explicit Key(const WideString& name) noexcept;

        const char16_t* text;
        std::uint32_t length; // in characters
        std::uint32_t hash; // of the folded characters
    };

    // Up to `capacity` entries and their hashes, which follow in the same allocation.
    class Block {
    public:
        static constexpr std::uint32_t atFirst = 12; // the capacity that a map begins with
        static constexpr std::uint32_t most = 32;

        struct Deleter {
            void operator()(Block* block) const noexcept;
        };
        using Ptr = std::unique_ptr<Block, Deleter>;

        static Ptr Make(std::uint32_t capacity);
        // A block with room for so many, with copies of the entries.
        Ptr Copy() const;
        // A block of the largest capacity, with the entries themselves; this one is empty then.
        Ptr Grown();
        // Moves the second half of the entries to an empty block.
        void MoveHalf(Block& upper) noexcept;

        std::uint32_t GetCount() const noexcept { return count; }
        bool IsFull() const noexcept { return count == capacity; }
        std::uint32_t GetCapacity() const noexcept { return capacity; }
        Entry& At(std::uint32_t place) const noexcept { return Entries()[place]; }

        // The place of the name; the count where it is not there.
        std::uint32_t Find(const Key& key) const noexcept;
        // The place of the first entry that is not less.
        std::uint32_t PlaceOf(const Key& key) const noexcept;
        Entry& Insert(std::uint32_t place, const Key& key, const WideString& name) noexcept;
        void Erase(std::uint32_t place) noexcept;

    private:
        explicit Block(std::uint32_t itsCapacity) noexcept : capacity(itsCapacity) { }

        Entry* Entries() const noexcept { return reinterpret_cast<Entry*>(const_cast<Block*>(this) + 1); }
        std::uint32_t* Hashes() const noexcept
        {
            return reinterpret_cast<std::uint32_t*>(Entries() + capacity);
        }

        std::uint32_t count = 0;
        const std::uint32_t capacity;
    };
    static_assert(sizeof(Block) % alignof(Entry) == 0);

    struct Range {
        std::uint64_t prefix; // of the block's first name: its beginning, as a number in the same order
        Block::Ptr block;
    };

    static std::uint64_t PrefixOf(const char16_t* text, std::size_t length) noexcept;
    static int Compare(const Key& key, const Entry& entry) noexcept;
    static bool IsSame(const Key& key, const Entry& entry) noexcept;
    std::size_t RangeOf(const Key& key) const noexcept;
    bool IsBehindAll(const Key& key) const noexcept;
    Range& MakeRoom(std::size_t index, const Key& key, bool isBehindAll);

    std::vector<Range> ranges; // no block is empty
    std::size_t count = 0;
};
