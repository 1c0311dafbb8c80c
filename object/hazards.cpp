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
// sees no bit after having turned the references need not look at the line.
constinit std::atomic<std::uint64_t> used{0};

// The line that served this thread last. It is chosen by processor, and anew when another thread is found in
// it, so that threads do not share lines for long, and on an ordinary machine few are ever in use.
constexpr unsigned noLine = lineCount;
[[gnu::tls_model("initial-exec")]] constinit thread_local unsigned ownLine = noLine;

void MarkUsed(unsigned index) noexcept
{
    const std::uint64_t bit = std::uint64_t{1} << index;
    // seq_cst also for who finds the bit set: only so its setting comes before the announcement in the one
    // order of all those steps, in which the destroyer's look at the bits stands behind the turning
    if ((used.load(std::memory_order_seq_cst) & bit) == 0)
        used.fetch_or(bit, std::memory_order_seq_cst);
}

// Announces in a line that is free, the one of this processor or the next ones, and gives its index.
[[gnu::noinline]] unsigned AnnounceElsewhere(const LifeWord* word) noexcept
{
    unsigned index = Platform::GetCurrentProcessorNumber() % lineCount;
    for (unsigned tried = 1;; index = (index + 1) % lineCount, ++tried) {
        MarkUsed(index);
        const LifeWord* free = nullptr;
        if (lines[index].word.compare_exchange_strong(free, word, std::memory_order_seq_cst))
            return index;
        if (tried % lineCount == 0)
            Platform::Sleep(0);
    }
}

} // namespace

Announcement::Announcement(const std::atomic<LifeWord*>& guard, const LifeWord* ignored) noexcept
    : word(guard.load(std::memory_order_acquire))
{
    if (word == ignored)
        return;
    const LifeWord* free = nullptr;
    unsigned index = ownLine; // its bit was set before this thread first used it
    if (index == noLine || !lines[index].word.compare_exchange_strong(free, word, std::memory_order_seq_cst))
        ownLine = index = AnnounceElsewhere(word);
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
