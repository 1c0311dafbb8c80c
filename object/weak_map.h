// WeakMap and WeakMultiMap: maps that do not keep their values alive.
//
// An entry whose value has died is dropped by whoever meets it, by the cleanup, and where many are added. All
// operations may be called from any thread. No value's destructor ever runs in the section: references are
// handed out or dropped outside, so a destructor may use the same map, and wait for whomever it likes.
#pragma once

#include "object/read_mostly_section.h"
#include <tessel/module.h>
#include <tessel/object/cleanup.h>
#include <tessel/object/impl.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

// Not declared noexcept: then the standard library keeps the hash in each entry and compares texts only where
// it is the same.
struct WeakMapHash {
    template <class K>
    std::size_t operator()(const K& key) const
    {
        if constexpr (requires { key.c_str(); })
            return std::hash<std::u16string_view>()(key.c_str());
        else
            return std::hash<K>()(key);
    }
};

// What either map is made of; `Entries` is a map or multimap to WeakPtr<V>. On the cleanup list from its
// first moment.
template <class Entries, class V>
class TESSEL_HIDDEN WeakContents : public Face<Cleanup::Item> {
public:
    using Key = typename Entries::key_type;
    using Pairs = std::vector<std::pair<Key, FacePtr<V>>>;
    using Pointer = FacePtr<Impl<WeakContents, Module>>;

    static Pointer Make()
    {
        Pointer made = MakeFace<Impl<WeakContents, Module>>();
        made->manager->AddItem(made.Get());
        return made;
    }

    // Drops the dead entries; there is no other tidying to be forced.
    bool Cleanup(bool /*force*/) override
    {
        const ReadMostlySection::Writing lock(section);
        return DropDead();
    }

    // One more entry. Each time that their number has doubled the dead are dropped, so that there are never
    // many more of them than there were living ones, also in a map that is only added to.
    void Add(const Key& key, const FacePtr<V>& value)
    {
        const ReadMostlySection::Writing lock(section);
        if (entries.size() >= dropAt) {
            DropDead();
            dropAt = std::max(firstDrop, 2 * entries.size());
        }
        entries.emplace(key, value);
    }

    // Adds each key with a living value, in the order of the keys, those of one key in theirs.
    void GetAll(Pairs& out)
    {
        const std::size_t kept = out.size();
        Collect([this] { return std::pair(entries.begin(), entries.end()); }, out,
            [](Pairs& pairs, const Key& key, FacePtr<V> value) {
                pairs.emplace_back(key, std::move(value));
            });
        std::stable_sort(out.begin() + static_cast<std::ptrdiff_t>(kept), out.end(),
            [](const auto& left, const auto& right) { return left.first < right.first; });
    }

    // Each living value once, in the order of the first key of each; drops the dead entries.
    std::vector<FacePtr<V>> GetDistinct()
    {
        struct Found {
            const Key* firstKey;
            FacePtr<V> value;
        };
        // One that stands at the end already is merged: what is dropped then is never the last reference.
        const auto add = [](std::vector<Found>& all, Found one) {
            if (all.empty() || all.back().value.Get() != one.value.Get())
                all.push_back(std::move(one));
            else if (*one.firstKey < *all.back().firstKey)
                all.back().firstKey = one.firstKey;
        };
        std::vector<Found> found;
        std::vector<Found> distinct;
        bool anyDead = false;
        {
            const ReadMostlySection::Reading lock(section);
            found.reserve(entries.size());
            for (const auto& [key, weak] : entries) {
                if (FacePtr<V> value = weak.Lock())
                    add(found, {&key, std::move(value)});
                else
                    anyDead = true;
            }
            std::sort(found.begin(), found.end(), [](const Found& left, const Found& right) {
                return std::less<>()(left.value.Get(), right.value.Get());
            });
            distinct.reserve(found.size());
            for (Found& one : found)
                add(distinct, std::move(one));
            std::sort(distinct.begin(), distinct.end(),
                [](const Found& left, const Found& right) { return *left.firstKey < *right.firstKey; });
        }
        if (anyDead)
            Cleanup(false);
        std::vector<FacePtr<V>> values;
        values.reserve(distinct.size());
        for (Found& one : distinct)
            values.push_back(std::move(one.value));
        return values;
    }

    // Adds the living values of a range to `out` by `add`, in order, and drops the dead entries.
    template <class Range, class Out, class Add>
    void Collect(Range range, Out& out, Add add)
    {
        bool anyDead = false;
        {
            const ReadMostlySection::Reading lock(section);
            const auto [begin, end] = range();
            out.reserve(out.size() + static_cast<std::size_t>(std::distance(begin, end)));
            for (auto entry = begin; entry != end; ++entry) {
                if (FacePtr<V> value = entry->second.Lock())
                    add(out, entry->first, std::move(value));
                else
                    anyDead = true;
            }
        }
        if (anyDead)
            Cleanup(false);
    }

    // One for all maps of a kind, for a map of its own size each would be too much for many small ones.
    // Guards the entries.
    static constinit inline ReadMostlySection section;
    Entries entries;

private:
    static constexpr std::size_t firstDrop = 64;

    // In the section.
    bool DropDead()
    {
        return std::erase_if(entries, [](const auto& entry) { return entry.second.IsDead(); }) != 0;
    }

    std::size_t dropAt = firstDrop; // entries
};

// At most one value for a key.
template <class K, class V>
class TESSEL_HIDDEN WeakMap {
public:
    using Contents = WeakContents<std::unordered_map<K, WeakPtr<V>, WeakMapHash>, V>;
    using Pairs = typename Contents::Pairs;

    // Binds the key of each element to the value, whatever it was bound to before; null removes them.
    template <class Elements, class KeyOf = std::identity>
    void SetEach(const Elements& elements, const FacePtr<V>& value, KeyOf keyOf = {})
    {
        // What is replaced goes outside: letting go a weak reference can drop the last reference for an
        // instant in which its holder lets go too.
        std::vector<typename decltype(Contents::entries)::node_type> replaced;
        const Writing lock;
        for (const auto& element : elements) {
            const K& key = keyOf(element);
            if (const auto old = contents->entries.find(key); old != contents->entries.end()) {
                replaced.emplace_back(); // first, for it may throw
                replaced.back() = contents->entries.extract(old);
            }
            if (value)
                contents->entries.emplace(key, value);
        }
    }
    void Set(const K& key, const FacePtr<V>& value) { SetEach(std::initializer_list<K>{key}, value); }

    // The value if it lives, else null.
    FacePtr<V> Find(const K& key)
    {
        {
            const Reading lock;
            const auto entry = contents->entries.find(key);
            if (entry == contents->entries.end())
                return nullptr;
            if (FacePtr<V> value = entry->second.Lock())
                return value;
        }
        contents->Cleanup(false);
        return nullptr;
    }

    // Hold the section of all maps of this kind, which also guards what is looked at on the way to one.
    struct Reading : ReadMostlySection::Reading {
        Reading() noexcept : ReadMostlySection::Reading(Contents::section) { }
    };
    struct Writing : ReadMostlySection::Writing {
        Writing() noexcept : ReadMostlySection::Writing(Contents::section) { }
    };
    // As Find, within a section that the caller holds; a dead entry stays.
    FacePtr<V> Find(const K& key, const Reading& /*held*/)
    {
        const auto entry = contents->entries.find(key);
        return entry != contents->entries.end() ? entry->second.Lock() : nullptr;
    }

    void GetAll(Pairs& out) { contents->GetAll(out); }
    std::vector<FacePtr<V>> GetDistinct() { return contents->GetDistinct(); }

private:
    typename Contents::Pointer contents = Contents::Make();
};

// Any number of values for a key.
template <class K, class V>
class TESSEL_HIDDEN WeakMultiMap {
public:
    using Contents = WeakContents<std::multimap<K, WeakPtr<V>>, V>;
    using Pairs = typename Contents::Pairs;

    // One more value, behind those that the key has.
    void Add(const K& key, const FacePtr<V>& value) { contents->Add(key, value); }

    // Adds the living values of the key, in the order in which they were added.
    void Find(const K& key, std::vector<FacePtr<V>>& out)
    {
        contents->Collect([&] { return contents->entries.equal_range(key); }, out,
            [](std::vector<FacePtr<V>>& values, const K&, FacePtr<V> value) {
                values.push_back(std::move(value));
            });
    }

    void GetAll(Pairs& out) { contents->GetAll(out); }

private:
    typename Contents::Pointer contents = Contents::Make();
};
