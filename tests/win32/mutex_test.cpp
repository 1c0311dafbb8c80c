// Mutexes as blockers. What holds between processes is tested with the platform layer.
#include "tests/mt/mt_objects.h"

#include <unistd.h>

using namespace Testing;

namespace {

class Library : public testing::Environment {
    void SetUp() override { TesselInitialize(); }
};
const auto* const library = testing::AddGlobalTestEnvironment(new Library);

FacePtr<Win32::Mutex> Create(const char16_t* name, bool initialOwner = false, bool* created = nullptr)
{
    const FacePtr<Win32::Mutex::Creator> creator{Clsid(Win32::mutexCreatorClass)};
    return creator->Create(WideString::FromPrintf(u"%s%d", name, ::getpid()), initialOwner, nullptr, created);
}

bool OtherThreadGets(const FacePtr<Win32::Mutex>& mutex)
{
    bool got = false;
    Start([&] {
        got = mutex->TryLock();
        if (got)
            mutex->Unlock();
    })->Join(true);
    return got;
}

} // namespace

TEST(Mutex, IsSharedByItsName)
{
    bool created = false;
    const auto first = Create(u"Global\\shared", true, &created);
    EXPECT_TRUE(created);
    const auto second = Create(u"Global\\shared", true, &created);
    EXPECT_FALSE(created);
    EXPECT_TRUE(second->TryLock()); // by the holder: one more Unlock
    first->Unlock();
    EXPECT_FALSE(OtherThreadGets(first));
    first->Unlock();
    EXPECT_TRUE(OtherThreadGets(first));
    first->Unlock(); // of what one does not hold nobody hears
}

TEST(Mutex, CountsBeforeTheInterrupt)
{
    const auto mutex = Create(u"tie");
    InterruptSelf();
    EXPECT_EQ(Thrown([&] { mutex->Block(); }), "");
    EXPECT_EQ(DrainInterrupts(), 1);
    EXPECT_FALSE(OtherThreadGets(mutex));
    const FacePtr<Mt::Thread> waiter =
        Start([&] { EXPECT_EQ(Thrown([&] { mutex->Block(); }), "interrupted"); });
    waiter->Join(false);
    mutex->Unlock();
}

// By the calling thread where it merges, by a thread that ends at once where not.
TEST(Mutex, BelongsInACompositeWaitToTheThreadThatWaitsForIt)
{
    const auto mutex = Create(u"member");
    const FacePtr<Mt::MultiBlocker> any{Clsid(Mt::multiBlockerClass)};
    any->Add(AutoEvent());
    any->Add(mutex);
    any->Block();
    EXPECT_FALSE(OtherThreadGets(mutex));
    mutex->Unlock();
    const FacePtr<Mt::MultiBlocker> all{Clsid(Mt::multiBlockerAllClass)};
    all->Add(Timer(1));
    all->Add(mutex);
    all->Block();
    EXPECT_TRUE(OtherThreadGets(mutex)); // abandoned
}

TEST(Mutex, TellsWhatTheSystemAnswers)
{
    const FacePtr<Win32::Mutex::Creator> creator{Clsid(Win32::mutexCreatorClass)};
    const auto closed = creator->CreateFromHandle({0});
    EXPECT_EQ(Thrown([&] { closed->Block(); }), "win32: WFMO mtx 6");
    EXPECT_EQ(Thrown([&] { closed->TryLock(); }), "win32: WFSO mtx (tmout 0) 6");
    const WideString tooLong = WideString().Append(u'n', 261);
    EXPECT_EQ(Thrown([&] { creator->Create(tooLong, false, nullptr, nullptr); }),
        "win32: mtx-cr(" + std::string(261, 'n') + ") 206");
}
