// Threads that race for the last reference, for weak references and for singletons. Every object is counted
// in and out, and every reference taken is used.
#include "object/weak_map.h"
#include "tests/object/test_faces.h"
#include <tessel/base/critical_section.h>
#include <tessel/object/global.h>

#include <barrier>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace Testing {

constexpr unsigned threadCount = 4;

template <class Work>
void RunThreads(Work work)
{
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < threadCount; ++i)
        threads.emplace_back([=] { work(i); });
}

// A few places, each of which holds an object and weak references to whatever stood there. Threads put new
// objects in, take copies, lock weakly and let go.
TEST(ObjectRace, ReferencesAndWeakReferencesNeverMeetADeadObject)
{
    struct Place {
        CriticalSection section;
        FacePtr<Left> strong;
        WeakPtr<Left> weak;
    };
    static Place places[3];
    static std::atomic<unsigned> locked{0};
    RunThreads([](unsigned seed) {
        std::mt19937 random(seed);
        FacePtr<Left> held;
        for (int i = 0; i < 200000; ++i) {
            Place& place = places[random() % 3];
            const auto choice = random() % 4;
            FacePtr<Left> other = choice == 0 ? FacePtr<Left>(MakeFace<Both>()) : nullptr;
            WeakPtr<Left> weak;
            {
                const SectionLock lock(place.section);
                weak = place.weak;
                if (choice == 0) {
                    std::swap(other, place.strong);
                    place.weak = place.strong;
                } else if (choice == 1)
                    other = place.strong;
            }
            // Now the last reference goes, against the locks of other threads.
            held = other;
            if (const auto taken = weak.Lock()) {
                ASSERT_EQ(taken->Name(), 1);
                ++locked;
            }
        }
    });
    for (Place& place : places) {
        place.strong = nullptr;
        EXPECT_FALSE(place.weak.Lock());
    }
    EXPECT_GT(locked, 0U);
    EXPECT_EQ(BothImpl::living, 0);
}

struct CountingFirsts {
    static void Lock() noexcept { ++firsts; }
    static void Unlock() noexcept { ++lasts; }
    static inline std::atomic<int> firsts{0};
    static inline std::atomic<int> lasts{0};
};

// Nobody has a reference to the object: each round all threads try to take the first one, and let go of the
// last.
TEST(ObjectRace, FirstReferenceIsCountedOnceWhoeverLocksIt)
{
    constexpr int rounds = 5000;
    static std::barrier meeting(threadCount);
    static BaseFace::WeakReference weak[threadCount];
    RunThreads([](unsigned self) {
        for (int round = 0; round < rounds; ++round) {
            if (self == 0) {
                auto* const bare = new Impl<BothImpl, CountingFirsts>;
                for (auto& one : weak)
                    one.AttachObject(Primary(bare));
            }
            meeting.arrive_and_wait();
            for (int i = 0; i < 3; ++i)
                if (BaseFace* const taken = weak[(self + 1) % threadCount].LockObject()) {
                    ASSERT_EQ(FromPrimary<Left>(taken)->Name(), 1);
                    taken->Release();
                }
            meeting.arrive_and_wait();
            weak[self].DetachObject();
            meeting.arrive_and_wait();
        }
    });
    EXPECT_TRUE(CountingFirsts::firsts == rounds && CountingFirsts::lasts == rounds);
    EXPECT_EQ(BothImpl::living, 0);
}

TEST(ObjectRace, SingletonIsAlwaysAlive)
{
    RunThreads([](unsigned) {
        WeakPtr<BothImpl> former;
        for (int i = 0; i < 30000; ++i) {
            const auto revived = former.Lock();
            const auto single = ImplGlobal<BothImpl, Module>::Get();
            ASSERT_EQ(single->Name(), 1);
            ASSERT_TRUE(!revived || revived == single);
            former = single;
        }
    });
    EXPECT_EQ(BothImpl::living, 0);
}

TEST(ObjectRace, WeakMapGivesOnlyLivingValues)
{
    static WeakMap<unsigned, Left> map;
    static WeakMultiMap<unsigned, Left> multi;
    RunThreads([](unsigned seed) {
        std::mt19937 random(seed);
        std::vector<FacePtr<Left>> own(8);
        for (int i = 0; i < 20000; ++i) {
            const unsigned key = random() % 8;
            if (random() % 2 == 0) {
                own[key] = MakeFace<Both>();
                map.Set(key, own[key]);
                multi.Add(key, own[key]);
            }
            std::vector<FacePtr<Left>> found = {map.Find(random() % 8)};
            multi.Find(key, found);
            for (const auto& one : found)
                ASSERT_TRUE(!one || one->Name() == 1);
            if (random() % 256 == 0)
                Cleanup::Manager::Get()->Cleanup(true);
        }
    });
    EXPECT_EQ(BothImpl::living, 0);
}

} // namespace Testing
