// Threads that set events, and threads that wait for random ones of them, counted: an event is set again only
// when its last signal was taken, so that none merges. The setters and the takers may be of one process or of
// several.
#pragma once

#include "tests/platform/owned_handle.h"
#include "tests/platform/storm.h"

#include <atomic>
#include <thread>

constexpr std::size_t places = 3;

struct SignalLedger {
    std::atomic<bool> isOut[places]; // a signal of the event
    // By the setter, and then by the taker: guarded by what is tested. In one process, for ThreadSanitizer
    // sees no order that comes through another one.
    std::uint64_t touched[places];
    bool isOneProcess;
    std::atomic<std::uint64_t> sent;
    std::atomic<std::uint64_t> taken;
    std::atomic<bool> isOver;
};

inline void SendSignals(SignalLedger& ledger, const std::vector<OwnedHandle>& events)
{
    using Clock = std::chrono::steady_clock;
    for (const Clock::time_point end = Clock::now() + Duration(); Clock::now() < end;)
        for (std::size_t i = 0; i < places; ++i)
            if (!ledger.isOut[i].exchange(true)) {
                if (ledger.isOneProcess)
                    ++ledger.touched[i];
                ++ledger.sent;
                Platform::SetEvent(events[i]);
            }
    for (const Clock::time_point end = Clock::now() + std::chrono::seconds(100);
         ledger.taken != ledger.sent && Clock::now() < end;)
        std::this_thread::yield();
    ledger.isOver = true;
}

// Three threads that wait for the events and for one of their own, which a fourth one sets all the time and
// which is counted, too. False if a signal was there that nobody had sent.
inline bool TakeSignals(SignalLedger& ledger, const std::vector<OwnedHandle>& events, unsigned seed)
{
    const OwnedHandle own = Event();
    std::atomic<bool> isOwnOut{false};
    std::atomic<bool> isWrong{false};
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            std::minstd_rand random(4 * seed + thread + 1);
            while (!ledger.isOver) {
                std::vector<Platform::Handle> chosen = Choose(random, events, thread == 0 ? places : 1);
                PutAtOneEnd(random, chosen, own);
                const std::uint32_t result = WaitForAny(chosen, random() % 20);
                if (result == Platform::WAIT_TIMEOUT)
                    continue;
                if (chosen.at(result) == own) {
                    isWrong = isWrong || !isOwnOut.exchange(false);
                    continue;
                }
                const std::size_t place = PlaceOf(chosen[result], events);
                if (ledger.isOneProcess)
                    ++ledger.touched[place];
                ++ledger.taken;
                isWrong = isWrong || !ledger.isOut[place].exchange(false);
            }
        });
    while (!ledger.isOver)
        if (!isOwnOut.exchange(true))
            Platform::SetEvent(own);
        else
            std::this_thread::yield();
    for (std::thread& thread : threads)
        thread.join();
    return !isWrong;
}
