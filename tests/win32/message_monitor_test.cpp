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

// The library is started beside the mutexes (mutex_test.cpp). Nothing is left of a test: no thread, no
// window, not the class.
class MessageMonitor : public testing::Test {
protected:
    ~MessageMonitor() override
    {
        Await([this] { return CountThreads() <= threads; });
        const Platform::ATOM own = Platform::RegisterClassW(&Platform::DefWindowProcW, className);
        EXPECT_TRUE(Platform::UnregisterClassW(own));
    }

    static Monitor Get() { return Monitor(Clsid(Win32::messageMonitorClass)); }

    static constexpr const char16_t* className = u"tessel/msgmon";
    const std::size_t threads = CountThreads();
};

} // namespace

TEST_F(MessageMonitor, TellsLivingObserversInTheOrderOfAdding)
{
    const Monitor monitor = Get();
    std::string notes;
    const auto done = AutoEvent();
    const auto notesOf = [&](Platform::HWND window) {
        notes.clear();
        EXPECT_TRUE(Post(window) && Post(WindowOf(monitor), number + 1));
        done->Block();
        return notes;
    };
    const auto noting = [&notes](char mark, const Action& then) {
        return Watching([&notes, mark, then] {
            notes += mark;
            then();
        });
    };
    const Watcher failing = noting('a', [] { throw Error("dropped", "test"); });
    Watcher dying = noting('b', [] {});
    const Watcher late = noting('d', [] {});
    const Watcher adding = noting('c', [&] { monitor->AddObserver(number, dying ? late : nullptr); });
    const Watcher ending = Watching([done] { done->Set(); });
    for (const Watcher& watcher : {failing, dying, adding})
        monitor->AddObserver(number, watcher);
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
        const Platform::HWND window = WindowOf(got[0]);
        for (const Monitor& monitor : got)
            ASSERT_EQ(WindowOf(monitor), window);
        Start([&] { got.clear(); })->Join(true);
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
        ASSERT_TRUE(Post(WindowOf(Get()), number + 1));
        Await([&] { return dropped.load(); });
    }
}

TEST_F(MessageMonitor, LetsGoUnderALockThatAnObserverWants)
{
    std::mutex lock;
    std::atomic<int> steps = 0;
    const Watcher observer = Watching([&] {
        ++steps;
        lock.lock();
        lock.unlock();
        ++steps;
    });
    Monitor monitor = Get();
    monitor->AddObserver(number, observer);
    lock.lock();
    Post(WindowOf(monitor));
    Await([&] { return steps == 1; });
    monitor = nullptr;
    lock.unlock();
    Await([&] { return steps == 2; });
}

TEST_F(MessageMonitor, ThatCannotStartLeavesNothing)
{
    const Platform::ATOM taken = Platform::RegisterClassW(&Platform::DefWindowProcW, className);
    EXPECT_EQ(Thrown([] { Get(); }), "win32: msgmon-regcls-1410");
    Platform::UnregisterClassW(taken);
    // An interrupt at whatever point of the start, also when it is too late for the window thread.
    for (int round = 0; round < 1000; ++round) {
        std::atomic<int> steps = 0;
        const FacePtr<Mt::Thread> user = Start([&] {
            ++steps;
            const std::string thrown = Thrown([] { Get(); });
            EXPECT_TRUE(thrown.empty() || thrown == "interrupted") << thrown;
        });
        Await([&] { return steps != 0 && ++steps > round % 50 * 400; });
        user->Join(false);
    }
}

TEST(MessageMonitorDeathTest, LivesUntilTheProcessEnds)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(ExitWithAMonitor(), testing::ExitedWithCode(0), "");
}
