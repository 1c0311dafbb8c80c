// WeakMap and WeakMultiMap: maps that do not keep their values alive.
//
// An entry whose value has died is dropped by whoever meets it, and by the cleanup. All operations may be
// called from any thread and run in the map's section. Where a walk's reference to a value was the last one,
// the value's destructor runs there: it may use the same map again, and must not wait for another thread that
// needs the map.
#pragma once

#include <tessel/base/critical_section.h>
#include <tessel/module.h>
#include <tessel/object/cleanup.h>
#include <tessel/object/impl.h>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

// What either map is made of; `Entries` is an ordered map or multimap to WeakPtr<V>. On the cleanup list from
// its first moment.
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

    bool Cleanup(bool /*force*/) override
    {
        const SectionLock lock(section);
        return Walk([this] { return std::pair(entries.begin(), entries.end()); }, [] {},
            [](const Key&, FacePtr<V> dropped) { dropped = nullptr; });
    }

    void GetAll(Pairs& out)
    {
        const SectionLock lock(section);
        const std::size_t before = out.size();
        out.reserve(before + entries.size());
        Walk([this] { return std::pair(entries.begin(), entries.end()); },
            [&] { out.erase(out.begin() + static_cast<std::ptrdiff_t>(before), out.end()); },
            [&](const Key& key, FacePtr<V> value) { out.emplace_back(key, std::move(value)); });
    }

    // Gives each live value of a range to `visit`, in order, and drops the dead entries; true if there were
    // any. A destructor that changed the map has made the iterators stale: the walk starts over, `restart`
    // first.
    template <class Range, class Restart, class Visit>
    bool Walk(Range range, Restart restart, Visit visit)
    {
        bool removed = false;
        for (bool complete = false; !complete;) {
            complete = true;
            restart();
            auto [entry, end] = range();
            for (std::uint32_t seen = generation; entry != end;) {
                FacePtr<V> value = entry->second.Lock();
                if (!value) {
                    entry = entries.erase(entry);
                    seen = ++generation;
                    removed = true;
                    continue;
                }
                visit(entry->first, std::move(value));
                complete = generation == seen;
                if (!complete)
                    break;
                ++entry;
            }
        }
        return removed;
    }

    CriticalSection section; // guards what follows
    std::uint32_t generation = 0; // raised at each change of the entries
    Entries entries;
};

// At most one value for a key.
template <class K, class V>
class TESSEL_HIDDEN WeakMap {
public:
    using Contents = WeakContents<std::map<K, WeakPtr<V>, std::less<>>, V>;
    using Pairs = typename Contents::Pairs;

    // Binds the key to the value, whatever it was bound to before; null removes it.
    void Set(const K& key, const FacePtr<V>& value)
    {
        const SectionLock lock(contents->section);
        if (value)
            contents->entries[key] = value;
        else
            contents->entries.erase(key);
        ++contents->generation;
    }

    // The value if it lives, else null.
    FacePtr<V> Find(const K& key)
    {
        const SectionLock lock(contents->section);
        const auto entry = contents->entries.find(key);
        if (entry == contents->entries.end())
            return nullptr;
        FacePtr<V> value = entry->second.Lock();
        if (!value) {
            contents->entries.erase(entry);
            ++contents->generation;
        }
        return value;
    }

    // Adds each key with a live value, in the order of the keys.
    void GetAll(Pairs& out) { contents->GetAll(out); }

private:
    typename Contents::Pointer contents = Contents::Make();
};

// Any number of values for a key.
template <class K, class V>
class TESSEL_HIDDEN WeakMultiMap {
public:
    using Contents = WeakContents<std::multimap<K, WeakPtr<V>, std::less<>>, V>;
    using Pairs = typename Contents::Pairs;

    // One more value, behind those that the key has.
    void Add(const K& key, const FacePtr<V>& value)
    {
        const SectionLock lock(contents->section);
        contents->entries.emplace(key, value);
        ++contents->generation;
    }

    // Adds the live values of the key, in the order in which they were added.
    void Find(const K& key, std::vector<FacePtr<V>>& out)
    {
        const SectionLock lock(contents->section);
        const std::size_t before = out.size();
        out.reserve(before + contents->entries.count(key));
        contents->Walk([&] { return contents->entries.equal_range(key); },
            [&] { out.erase(out.begin() + static_cast<std::ptrdiff_t>(before), out.end()); },
            [&](const K&, FacePtr<V> value) { out.push_back(std::move(value)); });
    }

    void GetAll(Pairs& out) { contents->GetAll(out); }

private:
    typename Contents::Pointer contents = Contents::Make();
};
