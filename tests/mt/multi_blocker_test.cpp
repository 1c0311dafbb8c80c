// Composite waits. Each test looks at what was met, at what is left of the interrupts, and that no thread is
// left.
#include "platform/messages.h"
#include "platform/waits.h"
#include "tests/allocation_plan.h"
#include "tests/mt/mt_objects.h"

#include <new>

using namespace Testing;

namespace {

class MultiBlocker : public testing::Test {
protected:
    using Members = std::vector<FacePtr<Mt::Blocker>>;

    void SetUp() override { Mt::CurrentThread()->CheckInterrupted(); }
    void TearDown() override
    {
        EXPECT_FALSE(Mt::CurrentThread()->GetThread()->IsInterrupted());
        Await([this] { return CountThreads() <= before; }); // the last steps of a thread are the system's
    }

    static FacePtr<Mt::MultiBlocker> Make(const char16_t* clsid, const Members& members)
    {
        FacePtr<Mt::MultiBlocker> made{Clsid(clsid)};
        for (const FacePtr<Mt::Blocker>& member : members)
            made->Add(member);
        return made;
    }
    static FacePtr<Mt::MultiBlocker> Any(const Members& list) { return Make(Mt::multiBlockerClass, list); }
    static FacePtr<Mt::MultiBlocker> All(const Members& list) { return Make(Mt::multiBlockerAllClass, list); }

    const std::size_t before = CountThreads();
};

FacePtr<Mt::EventBasedBlocker> SetEvent(FacePtr<Mt::EventBasedBlocker> event)
{
    event->Set();
    return event;
}

} // namespace

TEST_F(MultiBlocker, WithoutMembersLooksAtNothing)
{
    InterruptSelf();
    for (const auto& empty : {Any({}), All({}), Any({Any({}), Any({})}), All({All({})})}) {
        EXPECT_EQ(Thrown([&] { empty->Block(); }), "");
    }
    EXPECT_EQ(DrainInterrupts(), 1);
    EXPECT_EQ(Thrown([] { Any({nullptr}); }), "mt: mblck-null");
}

TEST_F(MultiBlocker, TakesFromTheFirstSignalledHandleAlone)
{
    const auto first = SetEvent(AutoEvent());
    const auto second = SetEvent(AutoEvent());
    const auto any = Any({ManualEvent(), Timer(0), second, first});
    any->Block();
    EXPECT_EQ(any->GetSignalled(), Members{second}); // handles go before a time that is up
    any->Block();
    EXPECT_EQ(any->GetSignalled(), Members{first});
    any->Remove(first);
    first->Set();
    any->Block();
    EXPECT_NE(any->GetSignalled(), Members{first}); // no member any more
}

TEST_F(MultiBlocker, MeetsAllTimersOfTheShortestSpanAndAllMembersOnOneHandle)
{
    const auto short1 = Timer(2);
    const auto short2 = Timer(2);
    const auto any = Any({Timer(3), short1, Timer(0xFFFFFFFF), short2, AutoEvent()});
    any->Block();
    EXPECT_EQ(any->GetSignalled(), (Members{short1, short2}));
    const FacePtr<Mt::Win32::EventFactory> factory{Clsid(Mt::Win32::eventFactoryClass)};
    const auto event = SetEvent(ManualEvent());
    const auto same = factory->CreateFromHandle(event->GetHandle()); // the second close of it hits nobody
    const auto both = Any({event, same});
    both->Block();
    EXPECT_EQ(both->GetSignalled(), (Members{event, same}));
}

TEST_F(MultiBlocker, NeedsNoThreadForSixtyTwoHandles)
{
    std::atomic<std::size_t> started{0};
    Mt::CurrentThread()->SetLocal(u"TID_Test::Count", Observing([&] { ++started; }, [] {}));
    const auto any = Any({});
    for (std::size_t count = 1; count <= 1000; ++count) {
        const auto last = AutoEvent();
        any->Add(last);
        if (count != 62 && count != 63 && count != 1000)
            continue;
        started = 0;
        last->Set();
        any->Block();
        EXPECT_EQ(started, count - 62);
        EXPECT_EQ(any->GetSignalled(), Members{last}) << count;
    }
    Mt::CurrentThread()->SetLocal(u"TID_Test::Count", nullptr);
}

TEST_F(MultiBlocker, WaitsForAll)
{
    const auto first = SetEvent(AutoEvent());
    const auto second = AutoEvent();
    std::atomic<bool> isTaken{false};
    const auto taking = Blocking([&] {
        first->Block();
        isTaken = true;
    });
    const auto all = All({taking, second, All({SetEvent(ManualEvent()), Timer(1)})});
    const FacePtr<Mt::Thread> setter = Start([&] {
        Await([&] { return isTaken.load(); }); // at once, whatever the others do
        second->Set();
    });
    all->Block();
    setter->Join(true);
    EXPECT_EQ(all->GetSignalled().size(), 3U);
    EXPECT_TRUE(first->IsReset());
}

TEST_F(MultiBlocker, NestsInEitherKind)
{
    const auto event = AutoEvent();
    const auto inner = Any({ManualEvent(), event});
    const auto outer = Any({Timer(100'000), inner});
    event->Set();
    outer->Block();
    EXPECT_EQ(outer->GetSignalled(), Members{inner});
    EXPECT_EQ(inner->GetSignalled(), Members{event});
    const auto all = All({SetEvent(ManualEvent()), Timer(1)});
    const auto mixed = Any({AutoEvent(), all});
    mixed->Block();
    EXPECT_EQ(mixed->GetSignalled(), Members{all});
    EXPECT_EQ(all->GetSignalled().size(), 2U);
}

TEST_F(MultiBlocker, ThrowsTheInterruptAndKeepsIt)
{
    const FacePtr<Mt::Thread> self = Mt::CurrentThread()->GetThread();
    const auto never = [] { Mt::Sleep(0xFFFFFFFF); };
    for (const auto& composite : {Any({AutoEvent(), Timer(100'000)}), All({AutoEvent(), AutoEvent()}),
             Any({Blocking(never), AutoEvent(), Blocking(never)}), Any({All({AutoEvent()})})}) {
        EXPECT_EQ(Thrown([&] { InterruptSelf(2), composite->Block(); }), "interrupted");
        EXPECT_EQ(DrainInterrupts(), 2);
        const FacePtr<Mt::Thread> other = Start([&] {
            Mt::Sleep(2);
            self->Interrupt();
        });
        EXPECT_EQ(Thrown([&] { composite->Block(); }), "interrupted");
        other->Join(true);
        EXPECT_EQ(DrainInterrupts(), 1);
    }
}

// An interrupt that reaches the thread of a member is the caller's.
TEST_F(MultiBlocker, PassesOnTheInterruptsOfItsMembers)
{
    const auto interrupted = Blocking([] {
        InterruptSelf(3);
        Mt::Sleep(0xFFFFFFFF);
    });
    for (const auto& composite : {Any({AutoEvent(), interrupted}), All({AutoEvent(), interrupted}),
             All({AutoEvent(), All({interrupted, AutoEvent()})})}) {
        EXPECT_EQ(Thrown([&] { composite->Block(); }), "interrupted");
        EXPECT_EQ(DrainInterrupts(), 3);
    }
    // Of which one is not met by the interrupt that it clears itself.
    const auto cleared = Blocking([] { InterruptSelf(), Mt::CurrentThread()->ClearInterrupt(); });
    Any({AutoEvent(), cleared})->Block();
    // One that comes while the thread starts; its member would never be waited for.
    Mt::CurrentThread()->SetLocal(u"TID_Test::Early", Observing([] { InterruptSelf(2); }, [] {}));
    for (const auto& composite : {Any({AutoEvent(), interrupted}), All({AutoEvent(), interrupted})}) {
        EXPECT_EQ(Thrown([&] { composite->Block(); }), "interrupted");
        EXPECT_EQ(DrainInterrupts(), 2);
    }
    Mt::CurrentThread()->SetLocal(u"TID_Test::Early", nullptr);
}

TEST_F(MultiBlocker, ThrowsTheFirstFailureOfAMemberBehindTheInterrupt)
{
    const auto failing = Blocking([] { throw Error("broken", "test"); });
    const auto met = SetEvent(ManualEvent());
    for (const auto& composite : {Any({AutoEvent(), failing}), Any({failing, AutoEvent()}),
             All({AutoEvent(), failing, AutoEvent()}), All({All({failing}), AutoEvent()})}) {
        EXPECT_EQ(Thrown([&] { composite->Block(); }), "test: broken");
        EXPECT_TRUE(composite->GetSignalled().empty());
    }
    const auto both = Blocking([] { InterruptSelf(), throw Error("broken", "test"); });
    EXPECT_EQ(Thrown([&] { Any({AutoEvent(), both})->Block(); }), "interrupted");
    EXPECT_EQ(DrainInterrupts(), 1);
    const FacePtr<Mt::Win32::EventFactory> factory{Clsid(Mt::Win32::eventFactoryClass)};
    EXPECT_EQ(Thrown([&] {
        Any({AutoEvent(), factory->CreateFromHandle({1})})->Block();
    }),
        "mt: WFMO err -1(6)");
}

TEST_F(MultiBlocker, LeavesNoThreadBehindAnExceptionThatIsNoError)
{
    const auto strands = Any({SetEvent(ManualEvent()), Timer(0xFFFFFFFF), Timer(0xFFFFFFFF)});
    bool isOver = false;
    for (unsigned n = 1; !isOver; ++n) {
        AllocationPlan::FailNth(n);
        try {
            isOver = Thrown([&] { strands->Block(); }).empty() && AllocationPlan::Count() < n;
        } catch (const std::bad_alloc&) {
            EXPECT_FALSE(Mt::CurrentThread()->GetThread()->IsInterrupted()) << n;
        }
        AllocationPlan::FailNth(0);
    }
    const auto foreign = Blocking([] { throw std::bad_alloc(); });
    EXPECT_THROW(
        Any({foreign, Blocking([] { Mt::Sleep(0xFFFFFFFF); }), AutoEvent()})->Block(), std::bad_alloc);
    EXPECT_THROW(All({foreign, AutoEvent(), AutoEvent()})->Block(), std::bad_alloc);
}

// With a count below 0 a single interrupt would not stop the strand of the caller.
TEST_F(MultiBlocker, EndsWithACountBelowZeroAndKeepsIt)
{
    const auto slow = Blocking([] { Mt::Sleep(2); });
    for (const auto& composite : {Any({AutoEvent(), slow}), All({slow, slow}), All({Timer(1), slow})}) {
        Mt::CurrentThread()->ClearInterrupt();
        Mt::CurrentThread()->ClearInterrupt();
        EXPECT_EQ(Thrown([&] { composite->Block(); }), "");
        EXPECT_FALSE(composite->GetSignalled().empty());
        InterruptSelf(2);
        EXPECT_EQ(DrainInterrupts(), 0);
        InterruptSelf();
        EXPECT_EQ(DrainInterrupts(), 1);
    }
}
