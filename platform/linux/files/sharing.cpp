// Claims are record locks of the open file description on bytes that no file reaches. Such locks hold
// between all descriptions, in one process and between processes, and end by themselves with the last
// descriptor. (flock has the same life, but only two states; there are twelve claims.)
//
// Each claim, as a number of 4 bits, owns a range of bytes, made of pairs: the first byte of a pair is
// the claim, the second says that it is being made. An open locks a pair in its range, then looks for
// locks of others in the ranges that exclude it. If there are none, it unlocks the second byte and is
// done. So of two opens at the same time at least one sees the other. A lock of one byte is a claim that
// stands: a violation. A lock of two bytes may come to nothing: both let go, and try again after a moment
// that differs between them.
//
// The kernel takes shared locks only on descriptors that can be read and exclusive ones only on those that
// can be written. Descriptors that can be read share pair 0 of the range; one that can only be written
// locks a pair of its own.
#include "platform/linux/files/sharing.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/files/calls.h"

#include <atomic>
#include <cerrno>
#include <ctime>

namespace Platform {

namespace {

constexpr off_t claimsStart = off_t{1} << 62;
constexpr std::uint32_t claimCount = 16;
constexpr off_t pairsPerClaim = 1 << 20;
constexpr off_t claimBytes = 2 * pairsPerClaim;

// How often an open tries again because of another one that has not come to its end: a tenth of a second
// in all, for the other may be stopped there.
constexpr int attempts = 100;

constexpr bool Exclude(std::uint32_t left, std::uint32_t right)
{
    constexpr std::uint32_t accesses = CLAIM_READS | CLAIM_WRITES;
    return ((left & accesses) & (right >> 2)) != 0 || ((right & accesses) & (left >> 2)) != 0;
}

constexpr off_t RangeOf(std::uint32_t claim)
{
    return claimsStart + claim * claimBytes;
}

int CallLock(int descriptor, int command, short type, off_t start, off_t length, struct flock& range) noexcept
{
    int result = 0;
    do {
        range = {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_start = start;
        range.l_len = length;
        result = Seam::Lock(descriptor, command, &range);
    } while (result != 0 && errno == EINTR);
    return result;
}

// The first lock of somebody else there; l_type is F_UNLCK if there is none.
bool FindLock(int descriptor, off_t start, off_t length, struct flock& found) noexcept
{
    return CallLock(descriptor, F_OFD_GETLK, F_WRLCK, start, length, found) == 0;
}

bool Unlock(int descriptor, off_t start, off_t length) noexcept
{
    struct flock range;
    return CallLock(descriptor, F_OFD_SETLK, F_UNLCK, start, length, range) == 0;
}

// Spreads numbers that differ little; what comes out decides nothing but who tries where and when.
std::uint64_t NextSpread() noexcept
{
    static constinit std::atomic<std::uint64_t> counter{0};
    std::uint64_t mixed =
        counter.fetch_add(1, std::memory_order_relaxed) + (std::uint64_t{GetCurrentProcessId()} << 32);
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    return mixed ^ (mixed >> 31);
}

bool NoLocksHere(int number)
{
    return number == EINVAL || number == EOPNOTSUPP || number == ENOSYS || number == ENOLCK;
}

// Locks a pair of the claim's range and gives its place. -1 with errno, EAGAIN if somebody has locked all.
off_t LockPair(int descriptor, std::uint32_t claim) noexcept
{
    const bool canRead = (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_WRONLY;
    for (int tries = 0; tries < 16; ++tries) {
        const off_t pair = canRead ? 0 : 1 + static_cast<off_t>(NextSpread() % (pairsPerClaim - 1));
        struct flock range;
        if (CallLock(
                descriptor, F_OFD_SETLK, canRead ? F_RDLCK : F_WRLCK, RangeOf(claim) + 2 * pair, 2, range)
            == 0)
            return RangeOf(claim) + 2 * pair;
        if (canRead || (errno != EAGAIN && errno != EACCES))
            break;
    }
    if (errno == EACCES)
        errno = EAGAIN;
    return -1;
}

enum class Outcome { Alone, Violation, TryAgain, Failure };

// What the locks of others say about the claim. A lock that is none of ours (another program's, shared, over
// the whole file) is passed over.
Outcome LookAround(int descriptor, std::uint32_t claim) noexcept
{
    struct flock found;
    if (!FindLock(descriptor, claimsStart, claimCount * claimBytes, found))
        return Outcome::Failure;
    if (found.l_type == F_UNLCK)
        return Outcome::Alone;
    Outcome outcome = Outcome::Alone;
    for (std::uint32_t other = 0; other < claimCount; ++other) {
        if (!Exclude(claim, other))
            continue;
        if (!FindLock(descriptor, RangeOf(other), claimBytes, found))
            return Outcome::Failure;
        if (found.l_type == F_UNLCK || found.l_start < RangeOf(other))
            continue;
        if (found.l_len == 1)
            return Outcome::Violation;
        outcome = Outcome::TryAgain;
    }
    return outcome;
}

Outcome TryClaim(int descriptor, std::uint32_t claim) noexcept
{
    const off_t pair = LockPair(descriptor, claim);
    if (pair < 0)
        return errno == EAGAIN ? Outcome::Violation : NoLocksHere(errno) ? Outcome::Alone : Outcome::Failure;
    const Outcome outcome = LookAround(descriptor, claim);
    if (outcome == Outcome::Alone)
        return Unlock(descriptor, pair + 1, 1) ? Outcome::Alone : Outcome::Failure;
    const int kept = errno;
    Unlock(descriptor, pair, 2);
    errno = kept;
    return outcome;
}

void PauseBeforeRetry() noexcept
{
    const timespec pause{0, static_cast<long>(100'000 + NextSpread() % 1'900'000)};
    ::nanosleep(&pause, nullptr);
}

} // namespace

bool ClaimSharing(int descriptor, std::uint32_t claim) noexcept
{
    for (int attempt = 0; attempt < attempts; ++attempt) {
        switch (TryClaim(descriptor, claim)) {
        case Outcome::Alone:
            return true;
        case Outcome::Violation:
            return Fail(ERROR_SHARING_VIOLATION);
        case Outcome::Failure:
            return FailWithErrno();
        case Outcome::TryAgain:
            PauseBeforeRetry();
        }
    }
    return Fail(ERROR_SHARING_VIOLATION);
}

} // namespace Platform
