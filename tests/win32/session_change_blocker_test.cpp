// Session blockers, at each of the levels that a system can offer.
#include "platform/linux/modules/built_in.h"
#include "platform/waits.h"
#include "tests/mt/mt_objects.h"
#include "tests/platform/login_manager.h"

#include <optional>

using namespace Testing;

namespace {

using Session = FacePtr<Win32::SessionChangeBlocker>;

constexpr std::int32_t loggedOff = Win32::SessionChangeBlocker::loggedOff;
constexpr std::int32_t active = Win32::SessionChangeBlocker::active;
constexpr std::int32_t locked = Win32::SessionChangeBlocker::locked;

Session Make()
{
    return Session(Clsid(Win32::sessionChangeBlockerClass));
}

// Of any step, and of a lock.
std::pair<bool, bool> Sees(const Session& session)
{
    return {session->CanSeeTransition(loggedOff, active),
        session->CanSeeTransition(active, locked) && session->CanSeeTransition(locked, active)};
}

class SessionChangeBlocker : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        TesselInitialize();
        manager.emplace();
    }
    static void TearDownTestSuite() { manager.reset(); }
    void SetUp() override { manager->Do("start_bus()"); }
    ~SessionChangeBlocker() override
    {
#ifdef TESSEL_SEAMS
        Platform::Seam::ShowBuiltIns();
#endif
        Await([this] { return CountThreads() <= threads; }); // nothing is left of a test
    }

    // Blocks until the state is this one; there may be others on the way.
    static void BlockUntil(const Session& session, std::int32_t state)
    {
        while (session->GetSessionState() != state)
            session->Block();
    }

    static std::optional<LoginManagerProcess> manager;
    const std::size_t threads = CountThreads();
};
std::optional<LoginManagerProcess> SessionChangeBlocker::manager;

} // namespace

TEST_F(SessionChangeBlocker, ReturnsForEachChangeThatTheManagerTells)
{
    manager->Do("start_manager('2')");
    Session session = Make();
    EXPECT_EQ(session->GetSessionState(), active);
    EXPECT_TRUE(session->IsConsoleSession() && !session->IsRemoteSession());
    EXPECT_FALSE(session->Update()) << "all is as it was found";
    EXPECT_EQ(Sees(session), std::pair(true, true));
    const Session second = Make();
    EXPECT_FALSE(second->Update());
    for (const std::int32_t state : {locked, active, locked}) {
        manager->Do(state == locked ? "says(LockedHint=True)" : "says(LockedHint=False)");
        session->Block();
        EXPECT_EQ(session->GetSessionState(), state);
        BlockUntil(second, state);
    }
    manager->Do("console('')");
    session->Block();
    EXPECT_FALSE(session->IsConsoleSession());
    manager->Do("says(Remote=True)");
    session->Block();
    EXPECT_TRUE(session->IsRemoteSession());
    EXPECT_EQ(session->GetSessionState(), locked);
    manager->Do("says(State='closing')");
    BlockUntil(session, loggedOff);
}

TEST_F(SessionChangeBlocker, RegistersAsSoonAsThereIsAManager)
{
    const Session session = Make();
    EXPECT_EQ(session->GetSessionState(), loggedOff);
    EXPECT_FALSE(session->Update() || session->IsConsoleSession());
    manager->Do("start_manager('2')");
    BlockUntil(session, active);
    while (!session->IsConsoleSession())
        session->Block();
    manager->Do("says(LockedHint=True)");
    BlockUntil(session, locked);
    // A manager that goes again takes nothing along.
    manager->Do("stop_manager()");
    EXPECT_FALSE(session->Update());
    EXPECT_EQ(session->GetSessionState(), locked);
}

TEST_F(SessionChangeBlocker, KnowsWhatCameBeforeItWasRegistered)
{
    manager->Do("start_manager('2'); of_process(None); display('')");
    Session first = Make();
    const std::size_t started = threads + 2; // the window's and the service's
    Await([&] { return !first->Update() && CountThreads() == started; });
    const Session late = Make();
    first = nullptr;
    manager->Do("add_session('3'); announce('SessionNew', '3'); says('3', LockedHint=True); console('3')");
    Await([] { return Make()->IsConsoleSession(); });
    EXPECT_TRUE(late->Update() && late->IsConsoleSession());
    BlockUntil(late, locked);
}

// Their registrations are counted: if one too few were taken back, the service's thread would be left.
TEST_F(SessionChangeBlocker, RegistersOnceForManyThatBeginTogether)
{
    manager->Do("start_manager('2')");
    for (int round = 0; round < 20; ++round) {
        std::vector<Session> sessions(4);
        std::atomic<int> ready = 0;
        std::vector<FacePtr<Mt::Thread>> users;
        for (Session& session : sessions)
            users.push_back(Start([&] {
                session = Make();
                ++ready;
                Await([&] { return ready == 4; });
                session->Update();
            }));
        for (const auto& user : users)
            user->Join(true);
        manager->Do(round % 2 == 0 ? "says(LockedHint=True)" : "says(LockedHint=False)");
        for (const Session& session : sessions)
            BlockUntil(session, round % 2 == 0 ? locked : active);
        sessions.clear();
        Await([this] { return CountThreads() <= threads; });
    }
}

TEST_F(SessionChangeBlocker, WithoutServicesOnlyWaitsForTheInterrupt)
{
    manager->Do("stop_bus()");
    const Session session = Make();
    EXPECT_EQ(session->GetSessionState(), loggedOff);
    EXPECT_TRUE(session->IsConsoleSession() && !session->IsRemoteSession() && !session->Update());
    EXPECT_EQ(Sees(session), std::pair(false, false));
    const FacePtr<Mt::Thread> waiting =
        Start([&] { EXPECT_EQ(Thrown([&] { session->Block(); }), "interrupted"); });
    waiting->Join(false);
}

#ifdef TESSEL_SEAMS
TEST_F(SessionChangeBlocker, WithoutNotificationsFollowsTheLogonLock)
{
    manager->Do("start_manager('2')");
    Platform::Seam::HideBuiltIn(u"WTSAPI32.DLL", "WTSRegisterSessionNotification");
    const Session early = Make();
    EXPECT_EQ(early->GetSessionState(), loggedOff);
    EXPECT_EQ(Sees(early), std::pair(false, false));
    EXPECT_TRUE(early->IsConsoleSession());
    const Platform::Handle lock = Platform::CreateEventW(true, false, u"KV7_LOGON_LOCK");
    ASSERT_NE(lock, Platform::NULL_HANDLE);
    const Session session = Make();
    EXPECT_EQ(session->GetSessionState(), active);
    EXPECT_FALSE(session->Update());
    EXPECT_EQ(Sees(session), std::pair(false, true));
    EXPECT_TRUE(early->Update());
    for (const std::int32_t state : {locked, active}) {
        state == locked ? Platform::SetEvent(lock) : Platform::ResetEvent(lock);
        session->Block();
        EXPECT_EQ(session->GetSessionState(), state);
    }
    Platform::CloseHandle(lock);
}

TEST_F(SessionChangeBlocker, TellsWhichEntryIsMissing)
{
    const std::pair<const char*, const char*> missing[] = {
        {"WTSQuerySessionInformationW", "win32: wtsexp:WTSQuerySessionInformationW:err127"},
        {"WTSFreeMemory", "win32: wtsexp:WTSFreeMemory:err127"}, {"WTSUnRegisterSessionNotification", ""}};
    for (const auto& [entry, expected] : missing) {
        Platform::Seam::HideBuiltIn(u"WTSAPI32.DLL", entry);
        EXPECT_EQ(Thrown([] { Make(); }), expected);
        Platform::Seam::ShowBuiltIns();
    }
}
#endif
