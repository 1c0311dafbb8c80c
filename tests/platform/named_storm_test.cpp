// Several processes that wait for named and unnamed objects at once, first left alone and counted, then
// killed at any instant.
#include "tests/platform/child_process.h"
#include "tests/platform/owned_handle.h"
#include "tests/platform/storm.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <thread>

using namespace Platform;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t places = 3;

// What the processes write beside the objects, to be judged. The test keeps all objects open, so that none is
// made afresh while this is not.
struct Ledger {
    std::atomic<bool> isOut[places]; // a signal of the event
    std::atomic<std::uint64_t> sent;
    std::atomic<std::uint64_t> taken;
    std::atomic<bool> isOver;

    std::atomic<int> inside[places]; // the process that is in the section of the mutex
    std::atomic<std::uint64_t> abandoned;
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
std::vector<OwnedHandle> OpenAll(bool areMutexes)
{
    std::vector<OwnedHandle> opened;
    for (std::size_t i = 0; i < places; ++i)
        opened.emplace_back(areMutexes ? CreateMutexW(false, Numbered(u"mutex", i).c_str())
                                       : CreateEventW(false, false, Numbered(u"event", i).c_str()));
    return opened;
}

// Three threads that wait for named events and for one of their own process, which a fourth one sets all the
// time: its signals, too, are counted.
int TakeSignals(int seed)
{
    Ledger& ledger = OpenLedger();
    const std::vector<OwnedHandle> events = OpenAll(false);
    const OwnedHandle own = Event();
    std::atomic<bool> isOwnOut{false};
    std::atomic<bool> isWrong{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            std::minstd_rand random(static_cast<unsigned>(4 * seed + thread + 1));
            while (!ledger.isOver) {
                std::vector<Handle> chosen = Choose(random, events, thread == 0 ? places : 1);
                PutAtOneEnd(random, chosen, own);
                const std::uint32_t result = WaitForAny(chosen, 1 + random() % 20);
                if (result == WAIT_TIMEOUT)
                    continue;
                if (chosen[result] == own) {
                    isWrong = isWrong || !isOwnOut.exchange(false);
                    continue;
                }
                ++ledger.taken;
                isWrong = isWrong || !ledger.isOut[PlaceOf(chosen[result], events)].exchange(false);
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
        const std::vector<OwnedHandle> mutexes = OpenAll(true);
        const std::vector<OwnedHandle> events = OpenAll(false);
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
            const std::size_t place = PlaceOf(mutex, mutexes);
            if (ledger.inside[place].exchange(::getpid()) != 0 && !isAbandoned)
                return 3; // two at once, or an owner's end that nobody was told
            ledger.abandoned += isAbandoned ? 1 : 0;
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
    const std::vector<OwnedHandle> events = OpenAll(false);
    std::vector<ChildProcess> takers;
    for (int i = 0; i < 2; ++i)
        takers.push_back(takesSignals.Start(i));
    for (const Clock::time_point end = Clock::now() + Duration(); Clock::now() < end;)
        for (std::size_t i = 0; i < places; ++i)
            if (!ledger.isOut[i].exchange(true)) {
                ++ledger.sent;
                SetEvent(events[i]);
            }
    for (const Clock::time_point end = Clock::now() + std::chrono::seconds(10);
         ledger.taken != ledger.sent && Clock::now() < end;)
        std::this_thread::yield();
    ledger.isOver = true;
    EXPECT_EQ(ledger.taken, ledger.sent);
    for (ChildProcess& taker : takers)
        EXPECT_EQ(taker.Wait(), 0);
}

TEST(NamedStorm, GoesOnWhoeverIsKilled)
{
    const LedgerFile file;
    Ledger& ledger = OpenLedger();
    const std::vector<OwnedHandle> mutexes = OpenAll(true);
    const std::vector<OwnedHandle> events = OpenAll(false);
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
    RecordProperty("kills", kills);
    RecordProperty("abandoned", static_cast<int>(ledger.abandoned));
    // Nothing holds anybody up at the end either.
    for (const OwnedHandle& mutex : mutexes) {
        EXPECT_NE(WaitForSingleObject(mutex, 4000), WAIT_TIMEOUT);
        ReleaseMutex(mutex);
    }
}
