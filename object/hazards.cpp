#include "object/hazards.h"

#include "platform/kernel.h"

namespace Hazards {

namespace {

constexpr unsigned lineCount = 64;

struct alignas(64) Line {
    std::atomic<const LifeWord*> word{nullptr};
};
constinit Line lines[lineCount];

// Bit i: line i has been used since the process began. It is set before the first announcement there, so who
// sees no bit after having turned the references need not look at the line. Lines are chosen by processor,
// so that on an ordinary machine few are ever in use.
constinit std::atomic<std::uint64_t> used{0};

void MarkUsed(unsigned index) noexcept
{
    const std::uint64_t bit = std::uint64_t{1} << index;
    // seq_cst also for who finds the bit set: only so its setting comes before the announcement in the one
    // order of all those steps, in which the destroyer's look at the bits stands behind the turning
    if ((used.load(std::memory_order_seq_cst) & bit) == 0)
        used.fetch_or(bit, std::memory_order_seq_cst);
}

} // namespace

Announcement::Announcement(const std::atomic<LifeWord*>& guard, const LifeWord* ignored) noexcept
    : word(guard.load(std::memory_order_acquire))
{
    if (word == ignored)
        return;
    // A line is taken when another thread was moved away from this processor in the middle of its
    // announcement: the next one serves as well.
    unsigned index = Platform::GetCurrentProcessorNumber() % lineCount;
    for (unsigned tried = 0;; index = (index + 1) % lineCount) {
        MarkUsed(index);
        const LifeWord* free = nullptr;
        if (lines[index].word.compare_exchange_strong(free, word, std::memory_order_seq_cst))
            break;
        if (++tried % lineCount == 0)
            Platform::Sleep(0);
    }
    line = &lines[index].word;
    for (;;) {
        LifeWord* const now = guard.load(std::memory_order_seq_cst);
        if (now == word)
            return;
        word = now; // a destroyer or the owner was faster
        if (word == ignored) {
            Withdraw();
            return;
        }
        line->store(word, std::memory_order_seq_cst);
    }
}

void WaitUntilUnannounced(const LifeWord* word) noexcept
{
    std::uint64_t left = used.load(std::memory_order_seq_cst);
    for (; left != 0; left &= left - 1) {
        const Line& line = lines[__builtin_ctzll(left)];
        while (line.word.load(std::memory_order_seq_cst) == word)
            Platform::Sleep(0);
    }
}

} // namespace Hazards
