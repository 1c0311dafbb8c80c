// A session that is locked and unlocked, from the sending of the signal to the return of whoever waits for
// it.
//
//   BM_LockSignal/one_core/<ours|client>   a session blocker's Block; a thread that reads the signal with the
//                                          system's client library, and does nothing else
//
// Threads and bus share one processor: on several it depends on who sleeps where how much of the time is that
// of waking a processor.
#include "login_manager.h"
#include "two_threads.h"
#include <tessel/tessel.h>

#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

// Signals that have arrived, and when the last one did.
struct Arrivals {
    std::atomic<std::uint32_t> count{0};
    std::atomic<Clock::time_point> last{};

    void Note()
    {
        last = Clock::now();
        ++count;
        count.notify_one();
    }
    void AwaitMoreThan(std::uint32_t known) const
    {
        while (count == known)
            count.wait(known);
    }
};

class Client {
public:
    explicit Client(Arrivals& noted) : arrivals(noted)
    {
        constexpr const char* rule = "type='signal',sender='org.freedesktop.login1',"
                                     "path_namespace='/org/freedesktop/login1'";
        constexpr const char* busName = "org.freedesktop.DBus";
        Require(busOpen(&bus) >= 0
                && busCallMethod(bus, busName, "/org/freedesktop/DBus", busName, "AddMatch", nullptr, nullptr,
                       "s", rule)
                    >= 0,
            "the client has no bus");
        thread = std::thread([this] { Read(); });
    }
    // `wake` makes it read once more.
    template <class Wake>
    void End(Wake wake)
    {
        isOver = true;
        wake();
        thread.join();
        busFlushCloseUnref(bus);
    }

private:
    void Read()
    {
        while (!isOver) {
            sd_bus_message* message = nullptr;
            const int result = busProcess(bus, &message);
            if (result == 0)
                busWait(bus, ~std::uint64_t{0});
            if (!message)
                continue;
            if (messageIsSignal(message, sessionFace, "Lock") > 0
                || messageIsSignal(message, sessionFace, "Unlock") > 0)
                arrivals.Note();
            messageUnref(message);
        }
    }

    Arrivals& arrivals;
    sd_bus* bus = nullptr;
    std::atomic<bool> isOver{false};
    std::thread thread;
};

class Blocker : public Face<Mt::Runnable> {
public:
    explicit Blocker(Arrivals& noted) : arrivals(noted) { }
    void Initialize() override
    {
        session->Update(); // so that it is registered
        Require(session->GetSessionState() == Win32::SessionChangeBlocker::active, "the session is active");
    }
    void Run() override
    {
        for (std::int32_t expected = Win32::SessionChangeBlocker::locked;; expected = 3 - expected) {
            session->Block();
            Require(session->GetSessionState() == expected, "each signal is seen");
            arrivals.Note();
        }
    }

private:
    const FacePtr<Win32::SessionChangeBlocker> session{Clsid(Win32::sessionChangeBlockerClass)};
    Arrivals& arrivals;
};

class SignalSender {
public:
    explicit SignalSender(LoginManager& itsManager) : manager(itsManager) { }
    void Send() { manager.Emit(std::exchange(isLocked, !isLocked) ? "Unlock" : "Lock"); }
    bool IsLocked() const { return isLocked; }

private:
    LoginManager& manager;
    bool isLocked = false;
};

void Measure(benchmark::State& state, SignalSender& sender, const Arrivals& arrivals)
{
    const auto measureOne = [&] {
        const std::uint32_t known = arrivals.count;
        const Clock::time_point begin = Clock::now();
        sender.Send();
        arrivals.AwaitMoreThan(known);
        return std::chrono::duration<double>(arrivals.last.load() - begin).count();
    };
    measureOne(); // the first one finds everything cold
    for (auto _ : state)
        state.SetIterationTime(measureOne());
    if (sender.IsLocked())
        sender.Send();
}

void Register(LoginManager& manager)
{
    benchmark::RegisterBenchmark("BM_LockSignal/one_core/ours", [&manager](benchmark::State& state) {
        Arrivals arrivals;
        SignalSender sender(manager);
        const FacePtr<Mt::Runnable> blocker(new Impl<Blocker, Module>(arrivals));
        const FacePtr<Mt::Thread> thread = Mt::CurrentThread()->CreateThread(blocker, 0);
        Measure(state, sender, arrivals);
        thread->Join(false);
    })->UseManualTime();
    benchmark::RegisterBenchmark("BM_LockSignal/one_core/client", [&manager](benchmark::State& state) {
        Arrivals arrivals;
        SignalSender sender(manager);
        Client client(arrivals);
        Measure(state, sender, arrivals);
        client.End([&sender] { sender.Send(); });
    })->UseManualTime();
}

} // namespace

int main(int argc, char** argv)
{
    PinTo(0);
    const PrivateBus bus;
    LoginManager manager;
    TesselInitialize();
    Register(manager);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
