// Interrupts, the store of a thread, timers and events.
#include "platform/errors.h"
#include "platform/waits.h"
#include "tests/mt/mt_objects.h"

#include <thread>

using namespace Testing;

namespace {

// Starts the library once for the whole program.
class Library : public testing::Environment {
    void SetUp() override { TesselInitialize(); }
};
const auto* const library = testing::AddGlobalTestEnvironment(new Library);

class NotingInterrupter : public Face<Mt::Interrupter> {
public:
    NotingInterrupter(std::string& notes, char itsMark) : text(notes), mark(itsMark) { }
    void OnInterrupt() override { text += mark; }

private:
    std::string& text;
    const char mark;
};

FacePtr<Mt::InterrupterRegistration> Register(std::string& notes, char mark)
{
    return Mt::CurrentThread()->RegisterInterrupter(
        FacePtr<Mt::Interrupter>(new Impl<NotingInterrupter, Module>(notes, mark)));
}

} // namespace

TEST(Interrupt, StaysUntilItWasClearedAsOften)
{
    const FacePtr<Mt::Thread> self = Mt::CurrentThread()->GetThread();
    InterruptSelf(2);
    EXPECT_EQ(Thrown([] { Mt::CurrentThread()->CheckInterrupted(); }), "interrupted");
    EXPECT_EQ(Thrown([] { AutoEvent()->Block(); }), "interrupted");
    Mt::CurrentThread()->ClearInterrupt();
    EXPECT_EQ(Thrown([] { Mt::Sleep(0xFFFFFFFF); }), "interrupted");
    Mt::CurrentThread()->ClearInterrupt();
    EXPECT_FALSE(self->IsInterrupted());
    EXPECT_EQ(Thrown([] { Mt::Sleep(1); }), "");
}

TEST(Interrupt, IsNotHeardWhileTheCountIsBelowZero)
{
    std::string notes;
    const auto registration = Register(notes, 'a');
    Mt::CurrentThread()->ClearInterrupt();
    InterruptSelf();
    EXPECT_EQ(Thrown([] { Mt::Sleep(1); }), "");
    EXPECT_EQ(notes, "");
    InterruptSelf();
    EXPECT_EQ(notes, "a");
    EXPECT_EQ(DrainInterrupts(), 1);
}

TEST(Interrupt, CallsInterruptersFromTheTopAtItsFirstStepOnly)
{
    std::string notes;
    auto first = Register(notes, 'a');
    auto second = Register(notes, 'b');
    InterruptSelf(2);
    EXPECT_EQ(notes, "ba");
    EXPECT_EQ(Thrown([&] { Register(notes, 'c'); }), "interrupted");
    EXPECT_EQ(DrainInterrupts(), 2);
    first = nullptr; // takes the top off, whichever it is
    InterruptSelf();
    EXPECT_EQ(notes, "baa");
    second = nullptr;
    EXPECT_EQ(DrainInterrupts(), 1);
    InterruptSelf();
    EXPECT_EQ(notes, "baa");
    DrainInterrupts();
}

// What counts where condition and interrupt are there at once.
TEST(Tie, IsDecidedByTheKindOfBlocker)
{
    const FacePtr<Mt::Thread> ended = Start([] {});
    ended->Join(true);
    const auto manual = ManualEvent();
    const auto automatic = AutoEvent();
    manual->Set();
    automatic->Set();
    InterruptSelf();
    EXPECT_EQ(Thrown([&] { manual->Block(); }), "");
    EXPECT_EQ(Thrown([&] { automatic->Block(); }), "");
    EXPECT_TRUE(automatic->IsReset()); // that wait took it
    EXPECT_EQ(Thrown([&] { automatic->Block(); }), "interrupted");
    EXPECT_EQ(Thrown([&] { ended->GetBlocker()->Block(); }), "interrupted");
    EXPECT_EQ(Thrown([] { Timer(0)->Block(); }), "");
    EXPECT_EQ(Thrown([] { Timer(1)->Block(); }), "interrupted");
    EXPECT_EQ(DrainInterrupts(), 1);
    EXPECT_EQ(Thrown([&] { ended->GetBlocker()->Block(); }), "");
}

TEST(Event, AroundAForeignHandleTellsWhatTheSystemAnswers)
{
    const FacePtr<Mt::Win32::EventFactory> factory{Clsid(Mt::Win32::eventFactoryClass)};
    const Platform::Handle handle = Platform::CreateEventW(true, true);
    Platform::Handle waitOnly;
    ASSERT_TRUE(Platform::DuplicateHandle(
        handle, &waitOnly, Platform::SYNCHRONIZE, Platform::DUPLICATE_CLOSE_SOURCE));
    auto event = factory->CreateFromHandle({static_cast<std::uint64_t>(waitOnly)});
    event->Block();
    EXPECT_EQ(Thrown([&] { event->Set(); }), "tessel/mt: SetEvent()err 5");
    EXPECT_EQ(Thrown([&] { event->Reset(); }), "tessel/mt: ResetEvent()err 5");
    event = nullptr;
    EXPECT_FALSE(Platform::CloseHandle(waitOnly)); // it was taken over
    event = factory->CreateFromHandle({0});
    EXPECT_EQ(Thrown([&] { event->Block(); }), "tessel/mt: WFMO evt err 6");
    EXPECT_EQ(Thrown([&] { event->IsReset(); }), "tessel/mt: WFSO evt err 6");
}

TEST(Locals, AreTheThreadsOwn)
{
    const FacePtr<Mt::Blocker> value = Timer(0);
    Mt::CurrentThread()->SetLocal(u"TID_Test::Value", value);
    EXPECT_EQ(Mt::CurrentThread()->GetLocal(u"TID_Test::Value"), value);
    Start([&] { EXPECT_FALSE(Mt::CurrentThread()->GetLocal(u"TID_Test::Value")); })->Join(true);
    for (int i = 0; i < 2; ++i)
        Mt::CurrentThread()->SetLocal(u"TID_Test::Value", nullptr);
    EXPECT_FALSE(Mt::CurrentThread()->GetLocal(u"TID_Test::Value"));
}

// A thread that was made elsewhere, with observers of which one removes the next and throws.
TEST(Locals, ObserveTheirThreadsEnd)
{
    std::string notes;
    std::thread([&] {
        Mt::CurrentThread()->SetLocal(u"TID_A",
            Observing([] {},
                [&] {
                    notes += 'a';
                    Mt::CurrentThread()->SetLocal(u"TID_B", nullptr);
                    throw Error("dropped", "test");
                }));
        Mt::CurrentThread()->SetLocal(u"TID_B", Observing([] {}, [&] { notes += 'b'; }));
    }).join();
    EXPECT_EQ(notes, "ab");
}

TEST(Locals, ObserveTheStartOfThreadsThatTheirsCreates)
{
    std::string notes;
    Mt::CurrentThread()->SetLocal(u"TID_B", Observing([&] { notes += 'b'; }, [] {}));
    Mt::CurrentThread()->SetLocal(u"TID_A", Observing([&] { notes += 'a'; }, [] {}));
    Start([&] { notes += 'r'; }, [&] { notes += 'i'; })->Join(true);
    EXPECT_EQ(notes, "abir");
    Mt::CurrentThread()->SetLocal(u"TID_A", Observing([] { throw Error("no start", "test"); }, [] {}));
    EXPECT_EQ(Thrown([&] { Start([&] { notes += 'x'; }, [&] { notes += 'x'; }); }), "test: no start");
    EXPECT_EQ(notes, "abir");
    Mt::CurrentThread()->SetLocal(u"TID_A", nullptr);
    Mt::CurrentThread()->SetLocal(u"TID_B", nullptr);
}
