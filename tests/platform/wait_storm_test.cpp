// Waits, sets and ends of threads at full speed, where every signal is counted. The variables that are not
// atomic are guarded by what is tested: ThreadSanitizer sees a wait that does not order them.
#include "platform/threads.h"
#include "platform/waits.h"
#include "tests/platform/owned_handle.h"
#include "tests/platform/storm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

using Clock = std::chrono::steady_clock;

std::uint32_t RandomTimeout(std::minstd_rand& random)
{
    const std::uint32_t drawn = random() % 8;
    return drawn < 3 ? drawn : INFINITE;
}

// A random choice of the handles in random order, with `stop` first or last. `least` is how many at least.
std::vector<Handle> Choose(
    std::minstd_rand& random, const std::vector<OwnedHandle>& all, std::size_t least, Handle stop)
{
    std::vector<Handle> chosen(all.begin(), all.end());
    std::shuffle(chosen.begin(), chosen.end(), random);
    chosen.resize(least + random() % (chosen.size() - least + 1));
    chosen.insert(random() % 2 == 0 ? chosen.begin() : chosen.end(), stop);
    return chosen;
}

} // namespace

// A setter sets an event again only when the last signal was taken, so that none merges: as many have to be
// taken as were set, each by one wait.
TEST(WaitStorm, TakesEverySignalOnce)
{
    constexpr std::size_t events = 6;
    struct Signal {
        std::atomic<bool> isOut{false};
        std::uint64_t sent = 0; // the setter's, and then the taker's
    };
    std::vector<Signal> signals(events);
    std::vector<OwnedHandle> handles;
    for (std::size_t i = 0; i < events; ++i)
        handles.push_back(Event());
    const OwnedHandle stop = Event(true);
    std::atomic<std::uint64_t> taken{0};
    std::atomic<std::uint64_t> sent{0};

    std::vector<std::thread> waiters;
    for (unsigned seed = 1; seed <= 5; ++seed)
        waiters.emplace_back([&, least = seed == 1 ? events : 1, random = std::minstd_rand(seed)]() mutable {
            for (;;) {
                const std::vector<Handle> chosen = Choose(random, handles, least, stop);
                const std::uint32_t result = WaitForMultipleObjects(
                    static_cast<std::uint32_t>(chosen.size()), chosen.data(), RandomTimeout(random));
                if (result == WAIT_TIMEOUT)
                    continue;
                ASSERT_LT(result, chosen.size());
                if (chosen[result] == stop)
                    return;
                const auto event = std::ranges::find(handles, chosen[result]) - handles.begin();
                Signal& signal = signals[static_cast<std::size_t>(event)];
                ++signal.sent;
                ++taken;
                ASSERT_TRUE(signal.isOut.exchange(false));
            }
        });
    const Clock::time_point end = Clock::now() + Duration();
    std::vector<std::thread> setters;
    for (std::size_t setter = 0; setter < 2; ++setter)
        setters.emplace_back([&, setter] {
            while (Clock::now() < end)
                for (std::size_t i = setter; i < events; i += 2)
                    if (!signals[i].isOut.exchange(true)) {
                        ++signals[i].sent;
                        ++sent;
                        SetEvent(handles[i]);
                    }
        });
    for (std::thread& setter : setters)
        setter.join();
    // The first waiter waits for all, so that what is still out is taken.
    while (taken != sent && !testing::Test::HasFatalFailure())
        std::this_thread::yield();
    SetEvent(stop);
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(taken, sent);
    for (std::size_t i = 0; i < events; ++i)
        EXPECT_EQ(WaitForSingleObject(handles[i], 0), WAIT_TIMEOUT);
    RecordProperty("signals", static_cast<int>(sent));
}

// Threads take mutexes of a few, some twice; every so often one ends without giving back what it has.
TEST(WaitStorm, KeepsMutexesExclusiveAndTellsEveryAbandonment)
{
    constexpr std::size_t mutexes = 3;
    std::vector<OwnedHandle> handles;
    for (std::size_t i = 0; i < mutexes; ++i)
        handles.emplace_back(CreateMutexW(false));
    struct Section {
        int inside = 0;
        bool leftBehind = false; // by its last owner
    };
    std::vector<Section> sections(mutexes);
    const OwnedHandle never = Event();
    const Clock::time_point end = Clock::now() + Duration();

    const auto live = [&](std::minstd_rand random) {
        for (int turns = 0; turns < 200 && Clock::now() < end; ++turns) {
            const std::vector<Handle> chosen = Choose(random, handles, 1, never);
            std::uint32_t result = WaitForMultipleObjects(
                static_cast<std::uint32_t>(chosen.size()), chosen.data(), RandomTimeout(random));
            if (result == WAIT_TIMEOUT)
                continue;
            const bool isAbandoned = result >= WAIT_ABANDONED_0;
            result -= isAbandoned ? WAIT_ABANDONED_0 : 0;
            ASSERT_LT(result, chosen.size());
            const auto place = std::ranges::find(handles, chosen[result]) - handles.begin();
            Section& section = sections[static_cast<std::size_t>(place)];
            ASSERT_EQ(section.leftBehind, isAbandoned);
            ASSERT_EQ(++section.inside, 1);
            if (random() % 4 == 0) {
                ASSERT_EQ(WaitForSingleObject(chosen[result], INFINITE), WAIT_OBJECT_0);
                ASSERT_TRUE(ReleaseMutex(chosen[result]));
            }
            --section.inside;
            section.leftBehind = random() % 50 == 0;
            if (section.leftBehind)
                return;
            ASSERT_TRUE(ReleaseMutex(chosen[result]));
        }
    };
    std::vector<std::thread> owners;
    for (unsigned seed = 1; seed <= 4; ++seed)
        owners.emplace_back([&, seed] {
            for (unsigned life = 0; Clock::now() < end; ++life)
                std::thread(live, std::minstd_rand(seed + 7 * life)).join();
        });
    for (std::thread& owner : owners)
        owner.join();
    for (std::size_t i = 0; i < mutexes; ++i)
        EXPECT_EQ(
            WaitForSingleObject(handles[i], 0), sections[i].leftBehind ? WAIT_ABANDONED_0 : WAIT_OBJECT_0);
}

// Two threads that run, one that waits, and two that stop and resume them.
TEST(WaitStorm, NeverSeesASuspendedThreadMove)
{
    std::atomic<bool> isOver{false};
    std::atomic<std::uint64_t> steps[2] = {0, 0};
    const OwnedHandle event = Event();
    OwnedHandle threads[2];
    std::vector<std::thread> runners;
    std::atomic<int> begun{0};
    for (int i = 0; i < 2; ++i)
        runners.emplace_back([&, i] {
            *threads[i].Out() = OpenCurrentThread();
            for (++begun; !isOver;) {
                ++steps[i];
                if (i == 1) // in and out of the layer all the time
                    SetEvent(event);
                if (i == 1 && steps[i] % 16 == 0)
                    WaitForSingleObject(event, 1);
            }
        });
    while (begun != 2)
        std::this_thread::yield();
    const Clock::time_point end = Clock::now() + Duration();
    while (Clock::now() < end)
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(SuspendThread(threads[i]), 0U);
            const std::uint64_t stood = steps[i];
            ASSERT_EQ(SuspendThread(threads[i]), 1U);
            SetEvent(event); // no lock is held by who stands
            ASSERT_EQ(ResumeThread(threads[i]), 2U);
            EXPECT_EQ(steps[i], stood);
            ASSERT_EQ(ResumeThread(threads[i]), 1U);
        }
    isOver = true;
    for (std::thread& runner : runners)
        runner.join();
}
