// A message from one thread to another's window: posted, waking who waits for it, received; and answered
// likewise.
//
//   BM_PostReceive/<one_core|two_cores>/<ours|deque>     theirs is a deque with a mutex and a condition
//   variable
#include "two_threads.h"

#include "platform/windows.h"
#include <tessel/tessel.h>

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>

namespace {

// Each side numbers what it posts, and expects the numbers of the other.
void Require(bool holds)
{
    if (!holds) {
        std::fputs("message_bench: another message than expected\n", stderr);
        std::abort();
    }
}

// Known to the other side when its thread waits for the first time.
class OurQueue {
public:
    void Open()
    {
        queue = Clsid(Gui::messageQueueClass);
        window = Platform::CreateWindowExW(windowClass);
    }
    void Post(std::uint64_t count) const { Platform::PostMessageW(window, 1, count, 0); }
    std::uint64_t Receive()
    {
        Mt::Win32::SystemMessage message;
        queue->Block();
        queue->GetMessage(message);
        return message.wParam;
    }

private:
    static inline const Platform::ATOM windowClass =
        Platform::RegisterClassW(&Platform::DefWindowProcW, u"bench");
    Platform::HWND window = Platform::NULL_HANDLE;
    FacePtr<Gui::MessageQueue> queue;
};

class Deque {
public:
    void Open() { }
    void Post(std::uint64_t count)
    {
        {
            const std::lock_guard guard(lock);
            messages.push_back({{0}, 1, count, 0, 0, 0, 0});
        }
        condition.notify_one();
    }
    std::uint64_t Receive()
    {
        std::unique_lock guard(lock);
        condition.wait(guard, [this] { return !messages.empty(); });
        const Mt::Win32::SystemMessage message = messages.front();
        messages.pop_front();
        return message.wParam;
    }

private:
    std::mutex lock;
    std::condition_variable condition;
    std::deque<Mt::Win32::SystemMessage> messages;
};

template <class Queue>
void PostReceive(benchmark::State& state, int other)
{
    const Pinned here(0);
    Queue ours;
    Queue theirs;
    std::atomic<bool> isOpen = false;
    std::uint64_t received = 0;
    ours.Open();
    Partner partner(
        other,
        [&] {
            if (!isOpen) {
                theirs.Open();
                isOpen = true;
            }
            Require(theirs.Receive() == ++received);
        },
        [&] { ours.Post(received); });
    while (!isOpen)
        std::this_thread::yield();
    std::uint64_t posted = 0;
    for (auto _ : state) {
        theirs.Post(++posted);
        Require(ours.Receive() == posted);
    }
    partner.End([&] { theirs.Post(++posted); });
}

} // namespace

int main(int argc, char** argv)
{
    TesselInitialize();
    const auto add = [](const char* name, auto postReceive, int other) {
        benchmark::RegisterBenchmark(name, postReceive, other)->UseRealTime();
    };
    add("BM_PostReceive/one_core/ours", &PostReceive<OurQueue>, 0);
    add("BM_PostReceive/one_core/deque", &PostReceive<Deque>, 0);
    add("BM_PostReceive/two_cores/ours", &PostReceive<OurQueue>, 1);
    add("BM_PostReceive/two_cores/deque", &PostReceive<Deque>, 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
