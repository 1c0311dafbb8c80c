// Events with names between two processes, beside semaphores in shared memory.
//
//   BM_NamedPingPong/<one_core|two_cores>/<ours|sem>   a process sets an event and waits for the answer of
//   another
#include "platform/waits.h"
#include "two_threads.h"

#include <benchmark/benchmark.h>
#include <csignal>
#include <fcntl.h>
#include <semaphore.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What both processes wait for: by its number it is known to the second one, which is this program once more.
struct NamedEvent {
    explicit NamedEvent(const std::string& name)
        : handle(Platform::CreateEventW(false, false, std::u16string(name.begin(), name.end()).c_str()))
    {
    }
    ~NamedEvent() { Platform::CloseHandle(handle); }
    NamedEvent(const NamedEvent&) = delete;
    NamedEvent& operator=(const NamedEvent&) = delete;
    void Set() const { Platform::SetEvent(handle); }
    void Take() const { Platform::WaitForSingleObject(handle, Platform::INFINITE); }

    const Platform::Handle handle;
};
struct SharedSemaphore {
    explicit SharedSemaphore(const std::string& name) : semaphore(::sem_open(name.c_str(), O_CREAT, 0600, 0))
    {
    }
    ~SharedSemaphore() { ::sem_close(semaphore); }
    SharedSemaphore(const SharedSemaphore&) = delete;
    SharedSemaphore& operator=(const SharedSemaphore&) = delete;
    void Set() const { ::sem_post(semaphore); }
    void Take() const { ::sem_wait(semaphore); }

    sem_t* const semaphore;
};

std::string NameOf(const char* which, pid_t owner)
{
    return "/tessel-bench-" + std::to_string(owner) + which;
}

template <class Signal>
[[noreturn]] void Answer(int processor)
{
    PinTo(processor);
    const Signal ping(NameOf("ping", ::getppid()));
    const Signal pong(NameOf("pong", ::getppid()));
    for (;;) {
        ping.Take();
        pong.Set();
    }
}

template <class Signal>
void PingPong(benchmark::State& state, const char* kind, const char* processor)
{
    const Pinned here(0);
    const Signal ping(NameOf("ping", ::getpid()));
    const Signal pong(NameOf("pong", ::getpid()));
    const pid_t partner = ::fork();
    if (partner == 0) {
        ::execl("/proc/self/exe", "named_bench", "--answer", kind, processor, nullptr);
        ::_exit(1);
    }
    for (auto _ : state) {
        ping.Set();
        pong.Take();
    }
    ::kill(partner, SIGKILL);
    ::waitpid(partner, nullptr, 0);
    ::sem_unlink(NameOf("ping", ::getpid()).c_str());
    ::sem_unlink(NameOf("pong", ::getpid()).c_str());
}

void Register()
{
    const auto add = [](const char* name, auto pingPong, const char* kind, const char* processor) {
        benchmark::RegisterBenchmark(name, pingPong, kind, processor)->UseRealTime();
    };
    add("BM_NamedPingPong/one_core/ours", &PingPong<NamedEvent>, "ours", "0");
    add("BM_NamedPingPong/one_core/sem", &PingPong<SharedSemaphore>, "sem", "0");
    add("BM_NamedPingPong/two_cores/ours", &PingPong<NamedEvent>, "ours", "1");
    add("BM_NamedPingPong/two_cores/sem", &PingPong<SharedSemaphore>, "sem", "1");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::string(argv[1]) == "--answer") {
        const int processor = std::atoi(argv[3]);
        std::string(argv[2]) == "ours" ? Answer<NamedEvent>(processor) : Answer<SharedSemaphore>(processor);
    }
    Register();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
