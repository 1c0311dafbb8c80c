#include "host/waits_work.h"

#include "host/narrator.h"

#include <tessel/module.h>
#include <tessel/tessel.h>

#include <atomic>
#include <string>
#include <vector>

using namespace Demo;

namespace {

using Event = FacePtr<Mt::EventBasedBlocker>;

// Sets its event when it is told to go on; each worker runs on a thread of its own.
class Worker : public Face<Mt::Runnable> {
public:
    Worker(Event itsStart, Event itsEnd) : start(std::move(itsStart)), end(std::move(itsEnd)) { }

    void Initialize() override { } // what is thrown here would come out of CreateThread
    void Run() override
    {
        start->Block();
        end->Set();
    }

private:
    const Event start;
    const Event end;
};

// Waits for ever, unless it is interrupted.
class Sleeper : public Face<Mt::Runnable> {
public:
    explicit Sleeper(std::atomic<bool>& told) : wasInterrupted(told) { }

    void Initialize() override { }
    void Run() override
    {
        try {
            Mt::Sleep(0xFFFFFFFF);
        } catch (const Error& error) {
            wasInterrupted = error.HasCode(Error::interrupted);
        }
    }

private:
    std::atomic<bool>& wasInterrupted;
};

// An event, as a member of a composite wait, for each of 100 workers, of which the first 62 need no thread of
// their own to be waited for; and a timer, for the case that nobody comes.
void WaitForManyWorkers()
{
    Chapter("A wait for the events of 100 workers, and for a timer:");
    const Event start{Clsid(Mt::manualEventClass)};
    const FacePtr<Mt::MultiBlocker> any{Clsid(Mt::multiBlockerClass)};
    std::vector<FacePtr<Mt::Blocker>> ends;
    std::vector<FacePtr<Mt::Thread>> threads;
    for (int i = 0; i < 100; ++i) {
        const Event end{Clsid(Mt::autoEventClass)};
        any->Add(end);
        ends.push_back(end);
        if (i == 41) // the others have the day off
            threads.push_back(Mt::CurrentThread()->CreateThread(
                FacePtr<Mt::Runnable>(new Impl<Worker, Module>(start, end)), 0));
    }
    const FacePtr<Mt::TimeBasedBlocker> timer{Clsid(Mt::timeBasedBlockerClass)};
    timer->SetTimeout(20);
    any->Add(timer);

    any->Block();
    Claim(any->GetSignalled() == std::vector<FacePtr<Mt::Blocker>>{timer},
        "Nobody has begun: it is the timer that ends the wait.");
    start->Set();
    timer->SetTimeout(60'000);
    any->Block();
    Claim(any->GetSignalled() == std::vector<FacePtr<Mt::Blocker>>{ends[41]},
        "Worker 41 was told to go on, and its event ends the next wait, alone.");
    for (const FacePtr<Mt::Thread>& thread : threads)
        thread->Join(true);
}

void InterruptASleeper()
{
    Chapter("An interrupt:");
    std::atomic<bool> wasInterrupted{false};
    const FacePtr<Mt::Thread> thread = Mt::CurrentThread()->CreateThread(
        FacePtr<Mt::Runnable>(new Impl<Sleeper, Module>(wasInterrupted)), 0);
    thread->Join(false); // interrupts it, and waits for its end
    Claim(wasInterrupted, "A thread that slept for ever was interrupted, and has ended.");
}

} // namespace

void Demo::ShowWaits()
{
    WaitForManyWorkers();
    InterruptASleeper();
}
