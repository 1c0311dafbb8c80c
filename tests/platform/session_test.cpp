// The session service, with a login manager on a bus of the test's own.
#include "platform/errors.h"
#include "platform/linux/modules/built_in.h"
#include "platform/linux/seam.h"
#include "platform/modules.h"
#include "platform/sessions.h"
#include "tests/platform/login_manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

using Messages = std::vector<std::pair<std::uint64_t, std::int64_t>>; // kinds of change, and session numbers

std::size_t Count(const char* what)
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(std::string("/proc/self/") + what), {}));
}

class Session : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        manager.emplace();
        std::thread([] {}).join(); // from the first thread on a sanitizer has one of its own
    }
    static void TearDownTestSuite() { manager.reset(); }
    void SetUp() override
    {
        Do("start_bus()");
        EXPECT_TRUE(ComesTrue([] { return !Query(); })); // the answers of the test before serve no more
    }
    ~Session() override
    {
        DestroyWindow(window);
        UnregisterClassW(windowClass);
    }

    static void Do(const std::string& line) { manager->Do(line); }

    bool Register() const { return WTSRegisterSessionNotification(window, NOTIFY_FOR_THIS_SESSION); }
    bool UnRegister() const { return WTSUnRegisterSessionNotification(window); }

    // What came, when as many have come as were to.
    Messages Receive(std::size_t count) const
    {
        Messages received;
        for (int i = 0; i < 10'000 && received.size() < count; ++i) {
            MSG message;
            if (!PeekMessageW(&message, window, 0, 0, PM_REMOVE))
                Sleep(1);
            else if (message.message == WM_WTSSESSION_CHANGE)
                received.emplace_back(message.wParam, message.lParam);
        }
        return received;
    }

    // The connection state, or the error.
    static std::optional<std::uint32_t> Query()
    {
        char16_t* buffer = nullptr;
        std::uint32_t bytes = 0;
        if (!WTSQuerySessionInformationW(
                WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION, WTSConnectStateClass, &buffer, &bytes)) {
            EXPECT_EQ(GetLastError(), RPC_S_INVALID_BINDING);
            return std::nullopt;
        }
        EXPECT_EQ(bytes, 4U);
        std::uint32_t answer = 0;
        std::memcpy(&answer, buffer, sizeof(answer));
        WTSFreeMemory(buffer);
        return answer;
    }
    template <class Condition>
    static bool ComesTrue(Condition condition)
    {
        for (int i = 0; i < 1000; ++i) {
            if (condition())
                return true;
            Sleep(10);
        }
        return false;
    }

    static std::optional<LoginManagerProcess> manager;
    const std::size_t threads = Count("task");
    const ATOM windowClass = RegisterClassW(&DefWindowProcW, u"session");
    const HWND window = CreateWindowExW(windowClass);
};
std::optional<LoginManagerProcess> Session::manager;

// One that the host's signals do not reach, once it runs.
bool HasDeafThread()
{
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        if (text.find("7ffbfeff\nSigIgn") != std::string::npos)
            return true;
    }
    return false;
}

struct Step {
    const char* command;
    Messages expected;
};

} // namespace

TEST_F(Session, ModuleLoadsWhereTheBusIs)
{
    EXPECT_NE(LoadLibraryW(u"wtsapi32.dll"), NULL_MODULE);
    EXPECT_FALSE(Register());
    EXPECT_EQ(GetLastError(), RPC_S_INVALID_BINDING) << "a bus without a login manager";
    Do("stop_bus()");
    EXPECT_EQ(LoadLibraryW(u"WTSAPI32.DLL"), NULL_MODULE);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    SetLastError(7);
    EXPECT_EQ(GetSystemMetrics(SM_REMOTESESSION), 0);
    EXPECT_EQ(WTSGetActiveConsoleSessionId(), NO_CONSOLE_SESSION);
    EXPECT_EQ(GetLastError(), 7U);
    EXPECT_FALSE(Query());
    EXPECT_EQ(Count("task"), threads);
}

TEST_F(Session, AnswersWithoutAThread)
{
    Do("start_manager('2')");
    ASSERT_TRUE(ComesTrue([] { return Query() == WTSActive; }));
    std::uint32_t number = 0;
    EXPECT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &number));
    EXPECT_EQ(number, 2U);
    EXPECT_EQ(WTSGetActiveConsoleSessionId(), 2U);
    EXPECT_EQ(GetSystemMetrics(SM_REMOTESESSION), 0);
    Do("says(Active=False, Remote=True)");
    EXPECT_TRUE(ComesTrue([] { return Query() == WTSDisconnected && GetSystemMetrics(SM_REMOTESESSION); }));
    // Out of every session, that of the user's display; a text for a name has a number of its own.
    Do("add_session('c1'); of_process(None); display('c1')");
    ASSERT_TRUE(ComesTrue([&] {
        return ProcessIdToSessionId(GetCurrentProcessId(), &number) && number >= 0x80000000 && number != ~0U;
    }));
    EXPECT_EQ(WTSGetActiveConsoleSessionId(), number);
    Do("display('')");
    EXPECT_TRUE(ComesTrue([&] {
        return Query() == WTSDisconnected && ProcessIdToSessionId(GetCurrentProcessId(), &number)
            && number == 0;
    }));
    // What is no answer.
    for (const char* const oddity : {"says(Active='yes')", "says(Active=True, Id='n' * 256)", "says(Id='')",
             "of_process('gone')", "method('GetSessionByPID', 'u', 's', 'ret = \"text\"')"}) {
        Do("of_process('2'); says(Id='2', Active=True)");
        EXPECT_TRUE(ComesTrue([] { return Query() == WTSActive; }));
        Do(oddity);
        EXPECT_TRUE(ComesTrue([] { return !Query(); })) << oddity;
    }
    EXPECT_EQ(Count("task"), threads);
}

TEST_F(Session, ChangesAreToldOnceAndInOrder)
{
    Do("start_manager('2'); says(LockedHint=True)");
    ASSERT_TRUE(ComesTrue([this] { return Register(); }));
    EXPECT_EQ(Receive(1), (Messages{{7, 2}})) << "locked already";
    const Step steps[] = {
        // a desktop that sets the property: signals are only its requests
        {"says(LockedHint=False)", {{8, 2}}},
        {"locks('Lock'); locks('Unlock'); says(LockedHint=True); locks('Lock')", {{7, 2}}},
        {"says(LockedHint=True); says(LockedHint=False)", {{8, 2}}},
        // from others than the manager, or about others
        {"forge(path_of('2'), MANAGER + '.Session', 'Lock');"
         "forge(path_of('2'), dbus.PROPERTIES_IFACE, 'PropertiesChanged', *change(LockedHint=True));"
         "forge('/org/freedesktop/DBus', 'org.freedesktop.DBus', 'NameOwnerChanged', MANAGER, '', ':1.0');"
         "root.AddSession('9', 'seat1', 1, 'other', True, dbus_interface=dbusmock.MOCK_IFACE);"
         "says('9', LockedHint=True); says(LockedHint=True)",
            {{7, 2}}},
        // the console and remoteness
        {"console('9')", {{2, 2}}},
        {"console('2')", {{1, 2}}},
        {"says(Remote=True)", {{3, 2}}},
        {"says(Active=False)", {{4, 2}}},
        // odd, or no longer known: asked for again
        {"at(path_of('2')).EmitSignal(dbus.PROPERTIES_IFACE, 'PropertiesChanged', 'sa{sv}as',"
         " change('Active', Active='yes', LockedHint=5)); says(LockedHint=False)",
            {{8, 2}}},
        // a logoff takes the lock along; the next session is a new one, whose signals count again
        {"says(LockedHint=True)", {{7, 2}}},
        {"says(State='closing')", {{2, 2}, {6, 2}}},
        {"of_process(None); announce('SessionRemoved', '2'); root.AddSession('3', 'seat0', 1, 'user', True,"
         " dbus_interface=dbusmock.MOCK_IFACE); of_process('3'); announce('SessionNew', '3')",
            {{5, 3}, {1, 3}}},
        {"locks('Lock', '3'); locks('Lock', '3')", {{7, 3}}},
        {"locks('Unlock', '3')", {{8, 3}}},
        {"locks('Lock', '3'); says('3', LockedHint=True); says('3', LockedHint=False)", {{7, 3}, {8, 3}}},
        {"locks('Lock', '3'); says('3', Active=False); console('2')", {{2, 3}}},
    };
    for (const Step& step : steps) {
        Do(step.command);
        EXPECT_EQ(Receive(step.expected.size()), step.expected) << "for " << step.command;
    }
    EXPECT_TRUE(UnRegister());
    EXPECT_EQ(Receive(0), Messages{});
}

TEST_F(Session, ManagerAndBusAreTakenUpAgain)
{
    Do("start_manager('2')");
    ASSERT_TRUE(ComesTrue([this] { return Register(); }));
    Do("stop_manager()");
    EXPECT_TRUE(ComesTrue([] { return !Query(); }));
    EXPECT_EQ(WTSGetActiveConsoleSessionId(), 2U) << "as last known";
    Do("start_manager('2'); says(LockedHint=True)");
    EXPECT_EQ(Receive(1), (Messages{{7, 2}}));
    // What changes while nobody listens is found.
    Do("start_bus(); start_manager('2'); says(Active=False)");
    EXPECT_EQ(Receive(1), (Messages{{8, 2}}));
    EXPECT_TRUE(ComesTrue([] { return Query() == WTSDisconnected; }));
    // A manager that does not answer holds nobody up: its service alone waits for it.
    Do("manager.send_signal(signal.SIGSTOP)");
    for (int i = 0; i < 1000; ++i)
        Query();
    EXPECT_TRUE(UnRegister());
    EXPECT_TRUE(ComesTrue([] { return !Query(); }));
    const std::uint64_t begin = GetTickCount64();
    for (int i = 0; i < 1000; ++i)
        Query();
    EXPECT_FALSE(Register());
    EXPECT_LT(GetTickCount64() - begin, 100'000U) << "each would have been half a second";
    Do("manager.send_signal(signal.SIGCONT)");
    EXPECT_TRUE(ComesTrue([] { return Query() == WTSDisconnected; }));
}

// The service is busy with a question while the window is registered once more: it is not told of the lock
// again, which has gone, but it is told that it has.
TEST_F(Session, LockThatGoesBehindARegistrationIsTold)
{
    Do("start_manager('2'); says(LockedHint=True)");
    ASSERT_TRUE(ComesTrue([this] { return Register(); }));
    EXPECT_EQ(Receive(1), (Messages{{7, 2}}));
    Do("unlock_when_asked(); announce('SessionNew', '2')");
    Sleep(100);
    EXPECT_TRUE(Register() && UnRegister());
    Messages told = Receive(1);
    if (told == Messages{{7, 2}}) // it was not busy yet
        told = Receive(1);
    EXPECT_EQ(told, (Messages{{8, 2}}));
    EXPECT_TRUE(UnRegister());
}

TEST_F(Session, ServiceEndsWithTheLastRegistration)
{
    EXPECT_FALSE(UnRegister());
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(WTSRegisterSessionNotification(NULL_HANDLE, NOTIFY_FOR_THIS_SESSION));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
    Do("start_manager('2')");
    ASSERT_TRUE(ComesTrue([] { return Query().has_value(); }));
    const std::size_t descriptors = Count("fd");
    ASSERT_TRUE(Register() && Register());
    EXPECT_EQ(Count("task"), threads + 1);
    EXPECT_TRUE(ComesTrue(HasDeafThread));
    EXPECT_TRUE(UnRegister());
    Do("says(LockedHint=True)");
    EXPECT_EQ(Receive(1), (Messages{{7, 2}}));
    EXPECT_TRUE(Register());
    EXPECT_EQ(Receive(1), (Messages{{7, 2}})) << "for who has just come";
    EXPECT_TRUE(UnRegister() && UnRegister());
    EXPECT_EQ(Count("task"), threads);
    EXPECT_EQ(Count("fd"), descriptors);
}

#ifdef TESSEL_SEAMS
TEST_F(Session, RegistersOrLeavesNothingWhateverFails)
{
    Do("start_manager('2')");
    ASSERT_TRUE(ComesTrue([] { return Query().has_value(); }));
    const std::size_t descriptors = Count("fd");
    std::vector<std::uint32_t> failures;
    for (unsigned n = 1; n < 30; ++n) {
        Sleep(100); // until no answer serves
        Seam::FailNth(n, EMFILE);
        const bool isRegistered = Register();
        const std::uint32_t error = GetLastError();
        Seam::FailNth(0, 0);
        if (isRegistered)
            UnRegister();
        else
            failures.push_back(error);
        ASSERT_EQ(Count("task"), threads);
        ASSERT_EQ(Count("fd"), descriptors);
    }
    EXPECT_GE(failures.size(), 3U); // bell, bus, thread
    EXPECT_EQ(failures[0], ERROR_TOO_MANY_OPEN_FILES);
    EXPECT_EQ(failures[1], ERROR_TOO_MANY_OPEN_FILES);
}
#endif
