// Threads, and every order in which a new thread and its creator can meet. The orders are made by hand-over.
#include "tests/mt/mt_objects.h"

#include <chrono>

using namespace Testing;

namespace {
std::string CreateAndJoin(const Action& initialize, bool& hasRun)
{
    return Thrown([&] { Start([&] { hasRun = true; }, initialize)->Join(true); });
}
} // namespace

TEST(Creation, FailsWithWhatInitializeThrows)
{
    bool hasRun = false;
    const std::size_t before = CountThreads();
    EXPECT_EQ(CreateAndJoin([] { throw Error("not today %d", "test", 7); }, hasRun), "test: not today 7");
    EXPECT_THROW(CreateAndJoin([] { throw std::bad_alloc(); }, hasRun), std::bad_alloc);
    EXPECT_FALSE(hasRun);
    Await([=] { return CountThreads() <= before; });
    EXPECT_EQ(Thrown([] { Start([] { throw Error("nobody hears", "test"); })->Join(true); }), "");
    EXPECT_EQ(Thrown([] { Mt::CurrentThread()->CreateThread(nullptr, 0); }), "tessel/mt: thr-null");
}

TEST(Creation, GivesAnEndedThreadIfInitializeWasInterrupted)
{
    bool hasRun = false;
    EXPECT_EQ(CreateAndJoin([] { InterruptSelf(), Mt::Sleep(0xFFFFFFFF); }, hasRun), "");
    EXPECT_EQ(CreateAndJoin([] { InterruptSelf(); }, hasRun), ""); // seen behind Initialize
    EXPECT_FALSE(hasRun);
}

// Before the creation, and in Initialize, which then waits for the interrupt that the creator sends on, and
// heeds it or returns nevertheless.
TEST(Creation, OfAnInterruptedCreatorIsGivenUp)
{
    const FacePtr<Mt::Thread> creator = Mt::CurrentThread()->GetThread();
    const Action sleeps = [] { Mt::Sleep(0xFFFFFFFF); };
    const Action returns = [] { Await([] { return Mt::CurrentThread()->GetThread()->IsInterrupted(); }); };
    for (const bool isBefore : {true, false})
        for (const Action& end : {sleeps, returns}) {
            bool hasRun = false;
            if (isBefore)
                creator->Interrupt();
            const Action initialize = [&] {
                if (!isBefore)
                    creator->Interrupt();
                end();
            };
            EXPECT_EQ(CreateAndJoin(initialize, hasRun), "interrupted") << isBefore;
            EXPECT_FALSE(hasRun) << isBefore;
            EXPECT_EQ(DrainInterrupts(), 1);
        }
}

// The creator is interrupted in its wait and stands still until the new thread has passed; then it throws,
// and the new thread runs. If it was stopped on its way to the wait, it finds the thread started, and keeps
// the interrupt.
TEST(Creation, IsOverWhenTheNewThreadClaimsFirst)
{
    const FacePtr<Mt::Thread> creator = Mt::CurrentThread()->GetThread();
    bool hasThrown = false;
    for (int tries = 0; tries < 1000 && !hasThrown; ++tries) {
        const auto hasRun = std::make_shared<std::atomic<bool>>(false);
        const Action run = [=] {
            *hasRun = true;
            creator->Resume();
        };
        const Action initialize = [=] {
            Mt::Sleep(1);
            creator->Suspend();
            creator->Interrupt();
        };
        hasThrown = Thrown([&] { Start(run, initialize); }) == "interrupted";
        EXPECT_EQ(DrainInterrupts(), 1);
        Await([&] { return hasRun->load(); });
    }
    EXPECT_TRUE(hasThrown);
}

TEST(Thread, IsInterruptedAndJoined)
{
    std::atomic<bool> isThrough{false};
    const FacePtr<Mt::Thread> thread = Start([&] {
        const std::string thrown = Thrown([] { Mt::Sleep(0xFFFFFFFF); });
        isThrough = thrown == "interrupted";
    });
    EXPECT_NE(thread->GetId(), Mt::CurrentThread()->GetThread()->GetId());
    InterruptSelf(); // to which Join is deaf
    thread->Join(false);
    EXPECT_TRUE(isThrough);
    thread->Join(false);
    EXPECT_EQ(DrainInterrupts(), 1);
}

TEST(Thread, TellsWhatTheSystemAnswers)
{
    const FacePtr<Mt::Thread> self = Mt::CurrentThread()->GetThread();
    for (const std::int32_t priority : {-2, 2, 0, 5}) {
        self->SetPriority(priority);
        EXPECT_EQ(self->GetPriority(), priority % 5); // 5 is none, and changes nothing
    }
    const FacePtr<Mt::Thread> thread = Start([] {});
    thread->Join(true);
    EXPECT_EQ(Thrown([&] { thread->Suspend(); }), "tessel/mt: SuspendThread() err 5");
}
