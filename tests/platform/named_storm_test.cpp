// Several processes that wait for named and unnamed objects at once, first left alone and counted, then
// killed at any instant.
#include "tests/platform/child_process.h"
#include "tests/platform/owned_handle.h"
#include "tests/platform/storm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <random>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t places = 3;

// What the processes write beside the objects, to be judged. The test keeps all objects open, so that none is
// made afresh while this is not.
struct Ledger {
    struct Signal {
        std::atomic<bool> isOut;
        std::atomic<std::uint64_t> taken;
    };
    Signal signals[places];
    std::atomic<std::uint64_t> sent;
    std::atomic<bool> isOver;

    std::atomic<int> inside[places]; // the process that is in the section of the mutex
    std::atomic<std::uint64_t> abandoned;
    std::atomic<std::uint64_t> entered;
};

constexpr char ledgerName[] = "TESSEL_TEST_LEDGER";

Ledger& OpenLedger()
{
    const int file = ::open(std::getenv(ledgerName), O_RDWR | O_CLOEXEC);
    void* const memory = ::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return *static_cast<Ledger*>(memory);
}

class LedgerFile {
public:
    LedgerFile() : path("/dev/shm/ledger-" + std::to_string(::getpid()))
    {
        const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        EXPECT_EQ(::ftruncate(file, sizeof(Ledger)), 0);
        ::close(file);
        ::setenv(ledgerName, path.c_str(), 1);
    }
    ~LedgerFile() { ::unlink(path.c_str()); }
    LedgerFile(const LedgerFile&) = delete;
    LedgerFile& operator=(const LedgerFile&) = delete;

private:
    const std::string path;
};

std::u16string Numbered(const char16_t* kind, std::size_t place)
{
    const std::string ledger = std::getenv(ledgerName);
    return kind + std::u16string(ledger.begin(), ledger.end()) + static_cast<char16_t>(u'0' + place);
}
std::vector<OwnedHandle> OpenEvents()
{
    std::vector<OwnedHandle> events;
    for (std::size_t i = 0; i < places; ++i)
        events.emplace_back(CreateEventW(false, false, Numbered(u"event", i).c_str()));
    return events;
}
std::vector<OwnedHandle> OpenMutexes()
{
    std::vector<OwnedHandle> mutexes;
    for (std::size_t i = 0; i < places; ++i)
        mutexes.emplace_back(CreateMutexW(false, Numbered(u"mutex", i).c_str()));
    return mutexes;
}

// A random choice in random order, at least `least` of them.
std::vector<Handle> Choose(std::minstd_rand& random, const std::vector<OwnedHandle>& all, std::size_t least)
{
    std::vector<Handle> chosen(all.begin(), all.end());
    std::shuffle(chosen.begin(), chosen.end(), random);
    chosen.resize(least + random() % (chosen.size() - least + 1));
    return chosen;
}

// Three threads that wait for named events and for one of their own process, which a fourth one sets all the
// time: its signals, too, are counted.
int TakeSignals(int seed)
{
    Ledger& ledger = OpenLedger();
    const std::vector<OwnedHandle> events = OpenEvents();
    const OwnedHandle own = Event();
    std::atomic<bool> isOwnOut{false};
    std::atomic<bool> isWrong{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            std::minstd_rand random(static_cast<unsigned>(4 * seed + thread + 1));
            while (!ledger.isOver) {
                std::vector<Handle> chosen = Choose(random, events, thread == 0 ? places : 1);
                chosen.insert(random() % 2 == 0 ? chosen.begin() : chosen.end(), own);
                const std::uint32_t result = WaitForMultipleObjects(
                    static_cast<std::uint32_t>(chosen.size()), chosen.data(), 1 + random() % 20);
                if (result == WAIT_TIMEOUT)
                    continue;
                if (chosen[result] == own) {
                    isWrong = isWrong || !isOwnOut.exchange(false);
                    continue;
                }
                const auto place = std::ranges::find(events, chosen[result]) - events.begin();
                Ledger::Signal& signal = ledger.signals[place];
                ++signal.taken;
                isWrong = isWrong || !signal.isOut.exchange(false);
            }
        });
    while (!ledger.isOver)
        if (!isOwnOut.exchange(true))
            SetEvent(own);
        else
            std::this_thread::yield();
    for (std::thread& thread : threads)
        thread.join();
    return isWrong ? 1 : 0;
}
const ChildRole takesSignals("takesSignals", &TakeSignals);

// Takes mutexes, among an event of its own, and sets, until it is killed.
int LiveDangerously(int seed)
{
    Ledger& ledger = OpenLedger();
    std::minstd_rand random(static_cast<unsigned>(seed));
    const OwnedHandle never = Event();
    for (;;) {
        const std::vector<OwnedHandle> mutexes = OpenMutexes();
        const std::vector<OwnedHandle> events = OpenEvents();
        for (int turn = 0; turn < 20; ++turn) {
            std::vector<Handle> chosen = Choose(random, mutexes, 1);
            if (random() % 2 == 0)
                chosen.push_back(never);
            std::uint32_t result =
                WaitForMultipleObjects(static_cast<std::uint32_t>(chosen.size()), chosen.data(), 4000);
            if (result == WAIT_TIMEOUT || result == WAIT_FAILED)
                return 2; // somebody who was killed has held it up
            const bool isAbandoned = result >= WAIT_ABANDONED_0;
            const Handle mutex = chosen[result - (isAbandoned ? WAIT_ABANDONED_0 : 0)];
            const auto place = std::ranges::find(mutexes, mutex) - mutexes.begin();
            if (ledger.inside[place].exchange(::getpid()) != 0 && !isAbandoned)
                return 3; // two at once, or an owner's end that nobody was told
            ledger.abandoned += isAbandoned ? 1 : 0;
            ++ledger.entered;
            if (random() % 4 == 0)
                WaitForSingleObject(events[random() % places], random() % 2);
            SetEvent(events[random() % places]);
            if (ledger.inside[place].exchange(0) != ::getpid())
                return 4;
            ReleaseMutex(mutex);
        }
    }
}
const ChildRole livesDangerously("livesDangerously", &LiveDangerously);

} // namespace

// As in one process: an event is set again only when its last signal was taken.
TEST(NamedStorm, TakesEverySignalOnceWhoeverWaits)
{
    const LedgerFile file;
    Ledger& ledger = OpenLedger();
    const std::vector<OwnedHandle> events = OpenEvents();
    std::vector<ChildProcess> takers;
    for (int i = 0; i < 2; ++i)
        takers.push_back(takesSignals.Start(i));
    for (const Clock::time_point end = Clock::now() + Duration(); Clock::now() < end;)
        for (std::size_t i = 0; i < places; ++i)
            if (!ledger.signals[i].isOut.exchange(true)) {
                ++ledger.sent;
                SetEvent(events[i]);
            }
    const auto taken = [&] {
        std::uint64_t sum = 0;
        for (const Ledger::Signal& signal : ledger.signals)
            sum += signal.taken;
        return sum;
    };
    for (const Clock::time_point end = Clock::now() + std::chrono::seconds(10);
         taken() != ledger.sent && Clock::now() < end;)
        std::this_thread::yield();
    ledger.isOver = true;
    EXPECT_EQ(taken(), ledger.sent);
    EXPECT_GT(taken(), 100U);
    for (ChildProcess& taker : takers)
        EXPECT_EQ(taker.Wait(), 0);
}

TEST(NamedStorm, GoesOnWhoeverIsKilled)
{
    const LedgerFile file;
    Ledger& ledger = OpenLedger();
    const std::vector<OwnedHandle> mutexes = OpenMutexes();
    const std::vector<OwnedHandle> events = OpenEvents();
    std::minstd_rand random(7);
    std::vector<ChildProcess> living;
    int kills = 0;
    for (int i = 0; i < 4; ++i)
        living.push_back(livesDangerously.Start(++kills));
    for (const Clock::time_point end = Clock::now() + Duration(); Clock::now() < end;) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
        ChildProcess& victim = living[random() % living.size()];
        ASSERT_EQ(victim.Kill(), -1);
        victim = livesDangerously.Start(++kills);
    }
    for (ChildProcess& survivor : living)
        EXPECT_EQ(survivor.Kill(), -1);
    EXPECT_GT(ledger.entered, 0U);
    RecordProperty("kills", kills);
    RecordProperty("abandoned", static_cast<int>(ledger.abandoned));
    // Nothing holds anybody up at the end either.
    for (const OwnedHandle& mutex : mutexes) {
        EXPECT_NE(WaitForSingleObject(mutex, 4000), WAIT_TIMEOUT);
        ReleaseMutex(mutex);
    }
}
