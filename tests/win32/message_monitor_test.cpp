#include "platform/errors.h"
#include "platform/waits.h"
#include "platform/windows.h"
#include "tests/mt/mt_objects.h"

#include <cstdlib>
#include <mutex>
#include <vector>

using namespace Testing;

namespace {

using Monitor = FacePtr<Win32::MessageMonitor>;
using Watcher = FacePtr<Win32::MessageMonitor::Observer>;

constexpr std::uint32_t number = 689;

class ActionWatcher : public Face<Win32::MessageMonitor::Observer> {
public:
    explicit ActionWatcher(Action onMessage) : action(std::move(onMessage)) { }
    void OnMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) override
    {
        EXPECT_TRUE(message >= number && wParam == 7 && lParam == -8);
        action();
    }

private:
    Action action;
};

Watcher Watching(Action action)
{
    return Watcher(new Impl<ActionWatcher, Module>(std::move(action)));
}

Platform::HWND WindowOf(const Monitor& monitor)
{
    return Platform::HWND{monitor->GetWindow().value};
}
bool Post(Platform::HWND window, std::uint32_t message = number)
{
    return Platform::PostMessageW(window, message, 7, -8);
}

bool IsClassGone()
{
    const Platform::ATOM own = Platform::RegisterClassW(&Platform::DefWindowProcW, u"tessel/msgmon");
    return own != 0 && Platform::UnregisterClassW(own);
}

// The number of the slot that the next handle takes: it grows with each one that is left behind.
std::uint32_t NextSlot()
{
    const Platform::Handle next = Platform::CreateEventW(true, false);
    Platform::CloseHandle(next);
    return static_cast<std::uint32_t>(next);
}

// The monitor is kept by what is destroyed at the end of the process, while messages arrive.
[[noreturn]] void ExitWithAMonitor()
{
    TesselInitialize();
    static const Monitor kept{Clsid(Win32::messageMonitorClass)};
    static const Watcher watcher = Watching([] { Mt::CurrentThread()->Yield(); });
    kept->AddObserver(number, watcher);
    std::thread([window = WindowOf(kept)] {
        while (Post(window) || Platform::GetLastError() == Platform::ERROR_NOT_ENOUGH_QUOTA) { }
    }).detach();
    std::exit(0);
}

// The library is started for the whole program beside the mutexes (mutex_test.cpp).
//
// Nothing is left of a test: no thread, no window, not the class, no handle.
class MessageMonitor : public testing::Test {
protected:
    ~MessageMonitor() override
    {
        Await([this] { return CountThreads() <= threads && IsClassGone(); });
        EXPECT_LT(NextSlot(), slot + 40);
    }

    static Monitor Get() { return Monitor(Clsid(Win32::messageMonitorClass)); }

    const std::size_t threads = CountThreads();
    const std::uint32_t slot = NextSlot();
};

} // namespace

TEST_F(MessageMonitor, TellsLivingObserversInTheOrderOfAdding)
{
    const Monitor monitor = Get();
    std::string notes;
    const auto done = AutoEvent();
    const auto notesOf = [&](Platform::HWND window) {
        notes.clear();
        Post(window);
        Post(WindowOf(monitor), number + 1);
        done->Block();
        return notes;
    };
    Watcher dying = Watching([&] { notes += 'b'; });
    const Watcher late = Watching([&] { notes += 'd'; });
    const Watcher failing = Watching([&] {
        notes += 'a';
        throw Error("dropped", "test");
    });
    const Watcher adding = Watching([&] {
        notes += 'c';
        if (dying)
            monitor->AddObserver(number, late);
    });
    const Watcher ending = Watching([done] { done->Set(); });
    for (const Watcher& watcher : {failing, dying, adding})
        monitor->AddObserver(number, watcher);
    monitor->AddObserver(number + 1, Watching([] { FAIL() << "it has died at once"; }));
    monitor->AddObserver(number + 1, ending);
    EXPECT_EQ(notesOf(WindowOf(monitor)), "abc");
    dying = nullptr;
    EXPECT_EQ(notesOf(Platform::HWND_BROADCAST), "acd");
}

TEST_F(MessageMonitor, MakesOneWindowForManyFirstUsers)
{
    for (int round = 0; round < 50; ++round) {
        std::vector<Monitor> got(6);
        std::vector<FacePtr<Mt::Thread>> users(got.size());
        for (std::size_t i = 0; i < got.size(); ++i)
            users[i] = Start([&, i] { got[i] = Get(); });
        for (const auto& user : users)
            user->Join(true);
        for (const Monitor& monitor : got)
            ASSERT_EQ(WindowOf(monitor), WindowOf(got[0]));
        Await([this] { return CountThreads() <= threads + 1; }); // which needs none of those that have ended
        const Platform::HWND window = WindowOf(got[0]);
        const FacePtr<Mt::Thread> last = Start([&] { got.clear(); });
        last->Join(true);
        ASSERT_FALSE(Post(window)); // the release has waited for its end
    }
}

// The last reference goes inside an observer, and the next monitor starts while that thread still ends.
TEST_F(MessageMonitor, StartsWhileTheThreadOfTheLastOneEnds)
{
    for (int round = 0; round < 1000; ++round) {
        Monitor inside = Get();
        std::atomic<bool> dropped = false;
        const Watcher observer = Watching([&] {
            inside = nullptr;
            dropped = true;
        });
        inside->AddObserver(number, observer);
        ASSERT_TRUE(Post(WindowOf(inside)));
        if (round % 2 == 0)
            Await([&] { return dropped.load(); });
        const Monitor next = Get();
        ASSERT_TRUE(Post(WindowOf(next), 1));
        Await([&] { return dropped.load(); });
    }
}

TEST_F(MessageMonitor, LetsGoUnderALockThatAnObserverWants)
{
    std::mutex lock;
    std::atomic<int> steps = 0;
    Monitor monitor = Get();
    const Watcher observer = Watching([&] {
        ++steps;
        const std::lock_guard guard(lock);
        ++steps;
    });
    monitor->AddObserver(number, observer);
    {
        const std::lock_guard guard(lock);
        Post(WindowOf(monitor));
        Await([&] { return steps == 1; });
        monitor = nullptr;
    }
    Await([&] { return steps == 2; });
    Await([&] { return lock.try_lock(); }); // the observer has let it go
    lock.unlock();
}

TEST_F(MessageMonitor, ThatCannotStartLeavesNothing)
{
    const Platform::ATOM taken = Platform::RegisterClassW(&Platform::DefWindowProcW, u"tessel/msgmon");
    EXPECT_EQ(Thrown([] { Get(); }), "win32: msgmon-regcls-1410");
    Platform::UnregisterClassW(taken);
    // An interrupt at whatever point of the start: too late for the window thread, it finds no monitor.
    for (int round = 0; round < 1000; ++round) {
        std::atomic<bool> starts = false;
        const FacePtr<Mt::Thread> user = Start([&] {
            starts = true;
            const std::string thrown = Thrown([] { Get(); });
            EXPECT_TRUE(thrown.empty() || thrown == "interrupted") << thrown;
        });
        Await([&] { return starts.load(); });
        for (int i = round % 50 * 400; i > 0; --i)
            starts = true;
        user->Join(false);
    }
    EXPECT_TRUE(Post(WindowOf(Get())));
}

TEST(MessageMonitorDeathTest, LivesUntilTheProcessEnds)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(ExitWithAMonitor(), testing::ExitedWithCode(0), "");
}
