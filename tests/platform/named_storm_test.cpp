// Several processes that wait for named and unnamed objects at once, first left alone and counted, then
// killed at any instant.
#include "tests/platform/child_process.h"
#include "tests/platform/signal_storm.h"

#include <gtest/gtest.h>

#include <fcntl.h>

using namespace Platform;

namespace {

using Clock = std::chrono::steady_clock;

// What the processes write beside the objects, to be judged. The test keeps all objects open, so that none is
// made afresh while this is not.
struct Ledger {
    SignalLedger signals;
    std::atomic<int> inside[places]; // the process that is in the section of the mutex
    std::atomic<std::uint64_t> abandoned;
};

// In memory that the other processes get by the number of its file.
constexpr char ledgerNumber[] = "TESSEL_TEST_LEDGER";

Ledger& OpenLedger()
{
    const int file = std::atoi(std::getenv(ledgerNumber));
    return *static_cast<Ledger*>(
        ::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
}
Ledger& MakeLedger()
{
    const int file = ::memfd_create("ledger", 0);
    EXPECT_EQ(::ftruncate(file, sizeof(Ledger)), 0);
    ::setenv(ledgerNumber, std::to_string(file).c_str(), 1);
    return OpenLedger();
}

std::vector<OwnedHandle> OpenAll(bool areMutexes)
{
    std::vector<OwnedHandle> opened;
    for (const char16_t place : {u'a', u'b', u'c'}) {
        const std::u16string name =
            NameInThisRun((areMutexes ? u"mutex " : u"event ") + std::u16string(1, place));
        opened.emplace_back(
            areMutexes ? CreateMutexW(false, name.c_str()) : CreateEventW(false, false, name.c_str()));
    }
    return opened;
}

const ChildRole takesSignals("takesSignals", [](int seed) {
    return TakeSignals(OpenLedger().signals, OpenAll(false), static_cast<unsigned>(seed)) ? 0 : 1;
});

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
            const std::uint32_t result =
                WaitForMultipleObjects(static_cast<std::uint32_t>(chosen.size()), chosen.data(), INFINITE);
            if (result == WAIT_FAILED)
                return 2;
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

TEST(NamedStorm, TakesEverySignalOnceWhoeverWaits)
{
    SignalLedger& ledger = MakeLedger().signals;
    const std::vector<OwnedHandle> events = OpenAll(false);
    ChildProcess first = takesSignals.Start(1);
    ChildProcess second = takesSignals.Start(2);
    SendSignals(ledger, events);
    EXPECT_EQ(ledger.taken, ledger.sent);
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
}

TEST(NamedStorm, GoesOnWhoeverIsKilled)
{
    Ledger& ledger = MakeLedger();
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
        EXPECT_NE(WaitForSingleObject(mutex, 100'000), WAIT_TIMEOUT);
        ReleaseMutex(mutex);
    }
}
