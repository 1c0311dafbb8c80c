// Threads that race for the last reference, for weak references and for singletons. Every object is counted
// in and out, and every reference taken is used.
#include "object/weak_map.h"
#include "tests/object/test_faces.h"
#include <tessel/base/critical_section.h>
#include <tessel/object/global.h>

#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace Testing {

std::atomic<int> living{0};

class CountedImpl : public Face<Named> {
public:
    CountedImpl() { ++living; }
    ~CountedImpl()
    {
        alive = 0;
        --living;
    }
    CountedImpl(const CountedImpl&) = delete;
    CountedImpl& operator=(const CountedImpl&) = delete;
    int Name() override { return alive; }

private:
    int alive = 17;
};
using Counted = Impl<CountedImpl, Module>;

template <class Work>
void RunThreads(unsigned count, Work work)
{
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; ++i)
        threads.emplace_back([=] { work(i); });
    for (std::thread& thread : threads)
        thread.join();
}

constexpr unsigned threadCount = 4;

// A few places, each of which holds an object and weak references to whatever stood there. Threads put new
// objects in, take copies, lock weakly and let go.
TEST(ObjectRace, ReferencesAndWeakReferencesNeverMeetADeadObject)
{
    struct Place {
        CriticalSection section;
        FacePtr<Named> strong;
        WeakPtr<Named> weak;
    };
    static Place places[3];
    static std::atomic<unsigned> locked;
    locked = 0;
    RunThreads(threadCount, [](unsigned seed) {
        std::mt19937 random(seed);
        FacePtr<Named> held;
        for (int i = 0; i < 200000; ++i) {
            Place& place = places[random() % 3];
            switch (random() % 4) {
            case 0: { // the last reference goes outside the section, against the locks of other threads
                FacePtr<Named> old = MakeFace<Counted>();
                const SectionLock lock(place.section);
                std::swap(old, place.strong);
                place.weak = place.strong;
                break;
            }
            case 1: {
                const SectionLock lock(place.section);
                held = place.strong;
                break;
            }
            case 2: {
                const WeakPtr<Named> own = [&] {
                    const SectionLock lock(place.section);
                    return place.weak;
                }();
                if (const auto taken = own.Lock()) {
                    ASSERT_EQ(taken->Name(), 17);
                    ++locked;
                }
                break;
            }
            default:
                held = nullptr;
            }
        }
    });
    for (Place& place : places) {
        place.strong = nullptr;
        EXPECT_FALSE(place.weak.Lock());
    }
    EXPECT_GT(locked, 0U);
    EXPECT_EQ(living, 0);
}

// One object at a time: all threads let go and lock at the same instant.
TEST(ObjectRace, LastReleaseAgainstLocksAndDetaches)
{
    static std::atomic<unsigned> arrived;
    static FacePtr<Named> strong[threadCount];
    static std::unique_ptr<WeakPtr<Named>> weak[threadCount];
    static std::atomic<unsigned> survivals;
    arrived = 0;
    survivals = 0;
    constexpr unsigned rounds = 5000;
    const auto meet = [](unsigned phase) {
        ++arrived;
        while (arrived < phase * threadCount)
            std::this_thread::yield();
    };
    RunThreads(threadCount, [&](unsigned self) {
        unsigned phase = 0;
        for (unsigned round = 0; round < rounds; ++round) {
            if (self == 0) {
                const FacePtr<Named> made = MakeFace<Counted>();
                for (unsigned i = 0; i < threadCount; ++i) {
                    weak[i] = std::make_unique<WeakPtr<Named>>(made);
                    strong[i] = i % 2 == 0 ? made : nullptr;
                }
            }
            meet(++phase);
            strong[self] = nullptr;
            for (int i = 0; i < 3; ++i)
                if (const auto taken = weak[(self + 1) % threadCount]->Lock()) {
                    ASSERT_EQ(taken->Name(), 17);
                    ++survivals;
                }
            meet(++phase);
            weak[self] = nullptr;
            meet(++phase);
        }
    });
    EXPECT_GT(survivals, 0U);
    EXPECT_EQ(living, 0);
}

TEST(ObjectRace, SingletonIsAlwaysAlive)
{
    RunThreads(threadCount, [](unsigned) {
        for (int i = 0; i < 30000; ++i) {
            const auto single = ImplGlobal<CountedImpl, Module>::Get();
            ASSERT_EQ(single->Name(), 17);
        }
    });
    EXPECT_EQ(living, 0);
}

TEST(ObjectRace, WeakMapGivesOnlyLivingValues)
{
    static WeakMap<unsigned, Named> map;
    static WeakMultiMap<unsigned, Named> multi;
    RunThreads(threadCount, [](unsigned seed) {
        std::mt19937 random(seed);
        std::vector<FacePtr<Named>> own(8);
        for (int i = 0; i < 20000; ++i) {
            const unsigned key = random() % 8;
            if (random() % 2 == 0) {
                own[key] = MakeFace<Counted>();
                map.Set(key, own[key]);
                multi.Add(key, own[key]);
            } else if (const auto found = map.Find(key)) {
                ASSERT_EQ(found->Name(), 17);
            }
            std::vector<FacePtr<Named>> all;
            if (random() % 16 == 0)
                multi.Find(key, all);
            for (const auto& one : all)
                ASSERT_EQ(one->Name(), 17);
            if (random() % 256 == 0)
                Cleanup::Manager::Get()->Cleanup(true);
        }
    });
    EXPECT_EQ(living, 0);
}

TEST(ObjectRace, SectionKeepsThreadsApart)
{
    static CriticalSection section;
    static int counter;
    counter = 0;
    RunThreads(threadCount, [](unsigned) {
        for (int i = 0; i < 50000; ++i) {
            const SectionLock outer(section);
            const SectionLock inner(section);
            ++counter;
        }
    });
    EXPECT_EQ(counter, 200000);
}

} // namespace Testing
