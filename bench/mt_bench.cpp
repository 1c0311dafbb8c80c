// Threads and waits beside what programs use without them.
//
//   BM_SetWait/alone/<ours|eventfd>            an event set, and taken by a wait, with nobody else there
//   BM_PingPong/one_core/<ours|condvar>        two threads answer each other
//   BM_PingPong/two_cores/<ours|semaphore>
//   BM_Composite/first_of_62/<ours|poll>       a composite wait of which the first event is set, with its
//   answer BM_Composite/last_of_62/<ours|epoll>       another thread is told to set the last one, and does
//   BM_Composite/100/<ours|threads>            62 of 100 merge, the last is set: 38 threads; theirs are 38
//                                              std::threads started and joined
//   BM_CreateJoin/one/<ours|std_thread>        a thread with its handshake, started and joined
//   BM_CheckInterrupted/one/<ours|thread_local> the thread asked for its interrupts, a thread_local read
#include "require.h"
#include "two_threads.h"

#include <tessel/module.h>
#include <tessel/tessel.h>

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <semaphore>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace {

using Event = FacePtr<Mt::EventBasedBlocker>;

Event MakeEvent()
{
    return Event{Clsid(Mt::autoEventClass)};
}

class EventFile {
public:
    EventFile() : file(::eventfd(0, EFD_CLOEXEC)) { Require(file >= 0, "eventfd"); }
    ~EventFile() { ::close(file); }
    EventFile(const EventFile&) = delete;
    EventFile& operator=(const EventFile&) = delete;
    void Set() const { ::eventfd_write(file, 1); }
    void Take() const
    {
        eventfd_t value = 0;
        ::eventfd_read(file, &value);
    }
    int Number() const { return file; }

private:
    const int file;
};

// ---- Alone

void BM_SetWaitOurs(benchmark::State& state)
{
    const Event event = MakeEvent();
    for (auto _ : state) {
        event->Set();
        event->Block();
    }
    Require(event->IsReset(), "one wait for each set");
}
BENCHMARK(BM_SetWaitOurs)->Name("BM_SetWait/alone/ours");

void BM_SetWaitEventfd(benchmark::State& state)
{
    const EventFile event;
    for (auto _ : state) {
        event.Set();
        event.Take();
    }
}
BENCHMARK(BM_SetWaitEventfd)->Name("BM_SetWait/alone/eventfd");

// ---- Ping-pong

template <class Signal>
void PingPong(benchmark::State& state, int other)
{
    const Pinned here(0);
    Signal ping;
    Signal pong;
    Partner partner(
        other, [&] { ping.Take(); }, [&] { pong.Set(); });
    for (auto _ : state) {
        ping.Set();
        pong.Take();
    }
    partner.End([&] { ping.Set(); });
}

struct OurSignal {
    void Set() const { event->Set(); }
    void Take() const { event->Block(); }
    const Event event = MakeEvent();
};
struct Semaphore {
    void Set() { semaphore.release(); }
    void Take() { semaphore.acquire(); }
    std::counting_semaphore<> semaphore{0};
};
class Condition {
public:
    void Set()
    {
        {
            const std::lock_guard guard(lock);
            isSet = true;
        }
        condition.notify_one();
    }
    void Take()
    {
        std::unique_lock guard(lock);
        condition.wait(guard, [this] { return isSet; });
        isSet = false;
    }

private:
    std::mutex lock;
    std::condition_variable condition;
    bool isSet = false;
};

void RegisterPingPong()
{
    const auto add = [](const char* name, auto pingPong, int other) {
        benchmark::RegisterBenchmark(name, pingPong, other)->UseRealTime();
    };
    add("BM_PingPong/one_core/ours", &PingPong<OurSignal>, 0);
    add("BM_PingPong/one_core/condvar", &PingPong<Condition>, 0);
    add("BM_PingPong/two_cores/ours", &PingPong<OurSignal>, 1);
    add("BM_PingPong/two_cores/semaphore", &PingPong<Semaphore>, 1);
}

// ---- Composite waits

struct Composite {
    explicit Composite(std::size_t count) : events(count)
    {
        for (Event& event : events)
            any->Add(event = MakeEvent());
    }
    void Wait(const Event& expected)
    {
        any->Block();
        Require(any->GetSignalled().at(0) == expected, "another event than expected");
    }

    const FacePtr<Mt::MultiBlocker> any{Clsid(Mt::multiBlockerClass)};
    std::vector<Event> events;
};

void BM_FirstOurs(benchmark::State& state)
{
    Composite composite(62);
    for (auto _ : state) {
        composite.events.front()->Set();
        composite.Wait(composite.events.front());
    }
}
BENCHMARK(BM_FirstOurs)->Name("BM_Composite/first_of_62/ours");

void BM_FirstPoll(benchmark::State& state)
{
    const std::vector<EventFile> events(62);
    std::vector<pollfd> polled;
    for (const EventFile& event : events)
        polled.push_back({event.Number(), POLLIN, 0});
    for (auto _ : state) {
        events.front().Set();
        ::poll(polled.data(), polled.size(), -1);
        Require(polled.front().revents != 0, "another file than expected");
        events.front().Take();
    }
}
BENCHMARK(BM_FirstPoll)->Name("BM_Composite/first_of_62/poll");

void BM_LastOurs(benchmark::State& state)
{
    const Pinned here(0);
    Composite composite(62);
    const Event go = MakeEvent();
    Partner partner(
        1, [&] { go->Block(); }, [&] { composite.events.back()->Set(); });
    for (auto _ : state) {
        go->Set();
        composite.Wait(composite.events.back());
    }
    partner.End([&] { go->Set(); });
}
BENCHMARK(BM_LastOurs)->Name("BM_Composite/last_of_62/ours")->UseRealTime();

void BM_LastEpoll(benchmark::State& state)
{
    const Pinned here(0);
    const std::vector<EventFile> events(62);
    const EventFile go;
    const int set = ::epoll_create1(EPOLL_CLOEXEC);
    for (const EventFile& event : events) {
        epoll_event added{EPOLLIN, {.fd = event.Number()}};
        ::epoll_ctl(set, EPOLL_CTL_ADD, event.Number(), &added);
    }
    Partner partner(
        1, [&] { go.Take(); }, [&] { events.back().Set(); });
    for (auto _ : state) {
        go.Set();
        epoll_event met{};
        Require(::epoll_wait(set, &met, 1, -1) == 1 && met.data.fd == events.back().Number(), "another file");
        events.back().Take();
    }
    partner.End([&] { go.Set(); });
    ::close(set);
}
BENCHMARK(BM_LastEpoll)->Name("BM_Composite/last_of_62/epoll")->UseRealTime();

void BM_HundredOurs(benchmark::State& state)
{
    Composite composite(100);
    for (auto _ : state) {
        composite.events.back()->Set();
        composite.Wait(composite.events.back());
    }
}
BENCHMARK(BM_HundredOurs)->Name("BM_Composite/100/ours")->UseRealTime();

void BM_HundredThreads(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 38; ++i)
            threads.emplace_back([] {});
        for (std::thread& thread : threads)
            thread.join();
    }
}
BENCHMARK(BM_HundredThreads)->Name("BM_Composite/100/threads")->UseRealTime();

// ---- Threads

class Nothing : public Face<Mt::Runnable> {
public:
    void Initialize() override { }
    void Run() override { }
};

void BM_CreateJoinOurs(benchmark::State& state)
{
    const FacePtr<Mt::Runnable> work(new Impl<Nothing, Module>);
    for (auto _ : state)
        Mt::CurrentThread()->CreateThread(work, 0)->Join(true);
}
BENCHMARK(BM_CreateJoinOurs)->Name("BM_CreateJoin/one/ours")->UseRealTime();

void BM_CreateJoinStd(benchmark::State& state)
{
    for (auto _ : state)
        std::thread([] {}).join();
}
BENCHMARK(BM_CreateJoinStd)->Name("BM_CreateJoin/one/std_thread")->UseRealTime();

thread_local int interrupts = 0;

// As such a question is asked of another module, by a call.
[[gnu::noipa]] bool IsInterrupted()
{
    return interrupts > 0;
}

void BM_CheckOurs(benchmark::State& state)
{
    for (auto _ : state)
        Mt::CurrentThread()->CheckInterrupted();
}
BENCHMARK(BM_CheckOurs)->Name("BM_CheckInterrupted/one/ours");

void BM_CheckThreadLocal(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(IsInterrupted());
}
BENCHMARK(BM_CheckThreadLocal)->Name("BM_CheckInterrupted/one/thread_local");

} // namespace

int main(int argc, char** argv)
{
    TesselInitialize();
    RegisterPingPong();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
