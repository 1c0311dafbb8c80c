// Waits, sets and ends of threads at full speed, where every signal is counted. The variables that are not
// atomic are guarded by what is tested: ThreadSanitizer sees a wait that does not order them.
#include "platform/threads.h"
#include "tests/platform/signal_storm.h"

#include <gtest/gtest.h>

using namespace Platform;

namespace {
using Clock = std::chrono::steady_clock;

std::uint32_t RandomTimeout(std::minstd_rand& random)
{
    const std::uint32_t drawn = random() % 8;
    return drawn < 3 ? drawn : INFINITE;
}
} // namespace

TEST(WaitStorm, TakesEverySignalOnce)
{
    SignalLedger ledger{};
    ledger.isOneProcess = true;
    std::vector<OwnedHandle> events;
    while (events.size() < places)
        events.push_back(Event());
    std::thread takers[2];
    for (unsigned i = 0; i < 2; ++i)
        takers[i] = std::thread([&, i] { EXPECT_TRUE(TakeSignals(ledger, events, i)); });
    SendSignals(ledger, events);
    for (std::thread& taker : takers)
        taker.join();
    EXPECT_EQ(ledger.taken, ledger.sent);
}

// Threads take mutexes of a few, some twice; every so often one ends without giving back what it has.
TEST(WaitStorm, KeepsMutexesExclusiveAndTellsEveryAbandonment)
{
    struct Section {
        int inside = 0;
        bool leftBehind = false; // by its last owner
    };
    std::vector<Section> sections(3);
    std::vector<OwnedHandle> handles;
    while (handles.size() < sections.size())
        handles.emplace_back(CreateMutexW(false));
    const OwnedHandle never = Event();
    const Clock::time_point end = Clock::now() + Duration();

    const auto live = [&](std::minstd_rand random) {
        for (int turns = 0; turns < 200 && Clock::now() < end; ++turns) {
            std::vector<Handle> chosen = Choose(random, handles, 1);
            PutAtOneEnd(random, chosen, never);
            const std::uint32_t result = WaitForAny(chosen, RandomTimeout(random));
            if (result == WAIT_TIMEOUT)
                continue;
            const bool isAbandoned = result >= WAIT_ABANDONED_0;
            const Handle mutex = chosen.at(result - (isAbandoned ? WAIT_ABANDONED_0 : 0));
            Section& section = sections[PlaceOf(mutex, handles)];
            ASSERT_EQ(section.leftBehind, isAbandoned);
            ASSERT_EQ(++section.inside, 1);
            if (random() % 4 == 0) {
                ASSERT_EQ(WaitForSingleObject(mutex, INFINITE), WAIT_OBJECT_0);
                ASSERT_TRUE(ReleaseMutex(mutex));
            }
            --section.inside;
            section.leftBehind = random() % 50 == 0;
            if (section.leftBehind)
                return;
            ASSERT_TRUE(ReleaseMutex(mutex));
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
}

// One thread that runs, one that goes in and out of the layer all the time.
TEST(WaitStorm, NeverSeesASuspendedThreadMove)
{
    std::atomic<bool> isOver{false};
    std::atomic<std::uint64_t> steps[2] = {0, 0};
    std::atomic<int> begun{0};
    const OwnedHandle event = Event();
    OwnedHandle threads[2];
    std::vector<std::thread> runners;
    for (int i = 0; i < 2; ++i)
        runners.emplace_back([&, i] {
            *threads[i].Out() = OpenCurrentThread();
            for (++begun; !isOver;)
                if (++steps[i]; i == 1) {
                    SetEvent(event);
                    if (steps[i] % 16 == 0)
                        WaitForSingleObject(event, 1);
                }
        });
    while (begun != 2)
        std::this_thread::yield();
    for (const Clock::time_point end = Clock::now() + Duration(); Clock::now() < end;)
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
