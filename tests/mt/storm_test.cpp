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
    class Entered {
    public:
        explicit Entered(Targets& entered) : targets(entered), thread(Mt::CurrentThread()->GetThread())
        {
            const std::lock_guard guard(targets.lock);
            targets.threads.insert(thread);
        }
        ~Entered()
        {
            const std::lock_guard guard(targets.lock);
            targets.threads.erase(targets.threads.find(thread));
        }
        Entered(const Entered&) = delete;
        Entered& operator=(const Entered&) = delete;

    private:
        Targets& targets;
        const FacePtr<Mt::Thread> thread;
    };

    bool InterruptOne(unsigned drawn)
    {
        const std::lock_guard guard(lock);
        if (threads.empty())
            return false;
        (*std::next(threads.begin(), drawn % threads.size()))->Interrupt();
        return true;
    }

private:
    std::mutex lock;
    std::multiset<FacePtr<Mt::Thread>> threads; // a caller stands there again while it runs a member itself
};

FacePtr<Mt::MultiBlocker> RandomComposite(std::minstd_rand& random, Targets& targets, int depth)
{
    const FacePtr<Mt::MultiBlocker> made{
        Clsid(random() % 2 == 0 ? Mt::multiBlockerClass : Mt::multiBlockerAllClass)};
    for (unsigned members = 1 + random() % 4; members > 0; --members)
        switch (random() % 4) {
        case 0:
            made->Add(Timer(1 + random() % 3));
            break;
        case 1: {
            const auto event = AutoEvent();
            if (random() % 2 == 0 || depth == 0)
                event->Set();
            made->Add(event);
            break;
        }
        case 2:
            if (depth > 0) {
                made->Add(RandomComposite(random, targets, depth - 1));
                break;
            }
            [[fallthrough]];
        default:
            made->Add(Blocking([&targets, span = random() % 3] {
                const Targets::Entered entered(targets);
                Mt::Sleep(span);
            }));
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
    std::atomic<unsigned> living{3};
    const std::size_t before = CountThreads();

    std::vector<FacePtr<Mt::Thread>> callers;
    for (unsigned seed = 1; seed <= living; ++seed)
        callers.push_back(Start([&, seed] {
            std::minstd_rand random(seed);
            {
                const Targets::Entered entered(targets);
                while (std::chrono::steady_clock::now() < end) {
                    const auto composite = RandomComposite(random, targets, 2);
                    const std::string thrown = Thrown([&] { composite->Block(); });
                    const int drained = DrainInterrupts();
                    EXPECT_TRUE(thrown.empty() || (thrown == "interrupted" && drained > 0)) << thrown;
                    taken += static_cast<std::uint64_t>(drained);
                }
            }
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
    EXPECT_GT(sent, 0U);
    Await([=] { return CountThreads() <= before; });
}
