// Composite waits whose callers and members are interrupted at random, where every interrupt is counted: what
// was delivered and what is pending is what was sent.
#include "tests/mt/mt_objects.h"
#include "tests/platform/storm.h"

#include <mutex>
#include <random>
#include <set>

using namespace Testing;

namespace {

// The threads that can be interrupted just now.
class Targets {
public:
    void Change(const FacePtr<Mt::Thread>& thread, bool isThere)
    {
        const std::lock_guard guard(lock);
        if (isThere)
            threads.insert(thread);
        else
            threads.erase(threads.find(thread));
    }
    bool InterruptOne(unsigned drawn)
    {
        const std::lock_guard guard(lock);
        if (!threads.empty())
            (*std::next(threads.begin(), drawn % threads.size()))->Interrupt();
        return !threads.empty();
    }

private:
    std::mutex lock;
    std::multiset<FacePtr<Mt::Thread>> threads; // a caller stands there again while it runs a member itself
};

// Makes the calling thread a target, and none again behind the action.
template <class Do>
void AsTarget(Targets& targets, Do action)
{
    const FacePtr<Mt::Thread> self = Mt::CurrentThread()->GetThread();
    targets.Change(self, true);
    const std::string thrown = Thrown(action);
    targets.Change(self, false);
    if (!thrown.empty())
        Mt::CurrentThread()->CheckInterrupted();
}

FacePtr<Mt::Blocker> SetAutoEvent()
{
    const auto event = AutoEvent();
    event->Set();
    return event;
}

FacePtr<Mt::MultiBlocker> RandomComposite(std::minstd_rand& random, Targets& targets, int depth)
{
    const FacePtr<Mt::MultiBlocker> made{
        Clsid(random() % 2 == 0 ? Mt::multiBlockerClass : Mt::multiBlockerAllClass)};
    for (unsigned members = 1 + random() % 4; members > 0; --members)
        switch (random() % 4) {
        case 0:
            made->Add(Timer(1 + random() % 3));
            break;
        case 1:
            made->Add(random() % 2 == 0 ? SetAutoEvent() : AutoEvent());
            break;
        case 2:
            if (depth > 0) {
                made->Add(RandomComposite(random, targets, depth - 1));
                break;
            }
            [[fallthrough]];
        default:
            made->Add(
                Blocking([&targets, span = random() % 3] { AsTarget(targets, [=] { Mt::Sleep(span); }); }));
        }
    made->Add(Timer(5));
    return made;
}

} // namespace

TEST(MultiBlockerStorm, LosesNoInterruptAndInventsNone)
{
    const auto end = std::chrono::steady_clock::now() + Duration();
    Targets targets;
    std::atomic<std::uint64_t> sent{0};
    std::atomic<std::uint64_t> taken{0};
    constexpr unsigned count = 3;
    std::atomic<unsigned> living{count};
    const std::size_t before = CountThreads();

    std::vector<FacePtr<Mt::Thread>> callers;
    for (unsigned seed = 1; seed <= count; ++seed)
        callers.push_back(Start([&, seed] {
            std::minstd_rand random(seed);
            AsTarget(targets, [&] {
                while (std::chrono::steady_clock::now() < end || sent == 0) {
                    const auto composite = RandomComposite(random, targets, 2);
                    const std::string thrown = Thrown([&] { composite->Block(); });
                    const int drained = DrainInterrupts();
                    EXPECT_TRUE(thrown.empty() || (thrown == "interrupted" && drained > 0)) << thrown;
                    taken += static_cast<std::uint64_t>(drained);
                }
            });
            taken += static_cast<std::uint64_t>(DrainInterrupts());
            --living;
        }));
    std::minstd_rand random(99);
    while (living > 0) {
        if (targets.InterruptOne(random()))
            ++sent;
        Platform::Sleep(random() % 2);
    }
    for (const FacePtr<Mt::Thread>& caller : callers)
        caller->Join(true);
    EXPECT_EQ(taken, sent);
    Await([=] { return CountThreads() <= before; });
}
