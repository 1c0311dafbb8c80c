#include "tests/mt/mt_objects.h"

using namespace Testing;

namespace {

class MessageQueue : public testing::Test {
protected:
    static void SetUpTestSuite() { TesselInitialize(); }

    void Post(std::uint32_t number) const { Gui::PostThreadMessage(self, number, 5, -6); }
    // The number of the message that is collected.
    std::uint32_t Collect() const
    {
        Mt::Win32::SystemMessage message;
        queue->GetMessage(message);
        EXPECT_TRUE(message.number == 0 || (message.wParam == 5 && message.lParam == -6));
        return message.number;
    }

    const std::uint32_t self = Platform::GetCurrentThreadId();
    const FacePtr<Gui::MessageQueue> queue{Clsid(Gui::messageQueueClass)};
};

} // namespace

TEST_F(MessageQueue, KeepsAMessageUntilItIsCollectedOrReplaced)
{
    EXPECT_FALSE(queue->HasMessage());
    EXPECT_EQ(Collect(), 0U);
    Post(1);
    Post(2);
    EXPECT_TRUE(queue->HasMessage());
    EXPECT_TRUE(queue->HasMessage());
    EXPECT_EQ(Collect(), 1U);
    EXPECT_EQ(Collect(), 0U); // which does not fetch
    EXPECT_TRUE(queue->HasMessage());
    Post(3);
    queue->Block();
    EXPECT_EQ(Collect(), 3U);
    EXPECT_FALSE(queue->HasMessage());
}

TEST_F(MessageQueue, RefusesWhatNobodyWouldGet)
{
    const auto refusal = [](auto post) {
        try {
            for (;;)
                post();
        } catch (const Error& error) {
            EXPECT_NE(error.GetLayerText(0), u"");
            return error.GetLayerCode(0);
        }
    };
    EXPECT_EQ(refusal([&] { Gui::PostMessage(::Handle{self}, 1, 5, -6); }), 1400U);
    EXPECT_EQ(refusal([] { Gui::PostThreadMessage(0, 1, 5, -6); }), 1444U);
    EXPECT_EQ(refusal([&] { Post(1); }), 1816U);
    std::uint32_t held = 0;
    for (; queue->HasMessage(); ++held)
        Collect();
    EXPECT_EQ(held, 10'000U);
}

TEST_F(MessageQueue, PutsAMessageBeforeAnInterruptAtTheFirstLookOnly)
{
    Post(1);
    InterruptSelf();
    queue->Block();
    EXPECT_EQ(Collect(), 1U);
    EXPECT_EQ(Thrown([&] { queue->Block(); }), "interrupted");
    EXPECT_FALSE(queue->HasMessage());
    DrainInterrupts();
}

// Both come while the thread that waits is held up.
TEST_F(MessageQueue, PutsAnInterruptBeforeAMessageBehindTheWait)
{
    std::atomic<bool> blocks = false;
    const FacePtr<Mt::Thread> waiting = Start([&] {
        const FacePtr<Gui::MessageQueue> own{Clsid(Gui::messageQueueClass)};
        blocks = true;
        EXPECT_EQ(Thrown([&] { own->Block(); }), "interrupted");
        EXPECT_TRUE(own->HasMessage());
    });
    Await([&] { return blocks.load(); });
    Mt::Sleep(20); // it sleeps by then; if it does not, the message may come first
    waiting->Suspend();
    waiting->Interrupt();
    Gui::PostThreadMessage(waiting->GetId(), 1, 0, 0);
    waiting->Resume();
    waiting->Join(true);
}

TEST_F(MessageQueue, IsAMemberOfACompositeWait)
{
    const FacePtr<Mt::MultiBlocker> any{Clsid(Mt::multiBlockerClass)};
    const FacePtr<Mt::EventBasedBlocker> event = ManualEvent();
    using Members = std::vector<FacePtr<Mt::Blocker>>;
    for (const FacePtr<Mt::Blocker>& member : Members{event, queue})
        any->Add(member);
    event->Set();
    Post(1);
    any->Block(); // a message goes before all handles
    EXPECT_EQ(any->GetSignalled(), Members{queue});
    EXPECT_EQ(Collect(), 1U);
    any->Block();
    EXPECT_EQ(any->GetSignalled(), Members{event});
    event->Reset();
    const FacePtr<Mt::Thread> poster = Start([&] {
        Mt::Sleep(2);
        Post(2);
    });
    any->Block();
    poster->Join(true);
    EXPECT_TRUE(queue->HasMessage() && Collect() == 2);
}
