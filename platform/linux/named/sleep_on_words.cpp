#include "platform/linux/named/sleep_on_words.h"

#include "platform/linux/named/calls.h"

#include <algorithm>

namespace Platform {

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t firstSlice = 1'000'000;
constexpr std::int64_t lastSlice = 4'000'000;

class KernelTime {
public:
    explicit KernelTime(Deadline end) noexcept
        : time{end.nanoseconds / second, end.nanoseconds % second},
          isNever(end.nanoseconds == Deadline::never)
    {
    }
    const timespec* Get() const noexcept { return isNever ? nullptr : &time; }

private:
    timespec time;
    bool isNever;
};

} // namespace

void SleepingWords::AddOwn(const std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept
{
    words[count++] = {value, reinterpret_cast<std::uintptr_t>(&word), FUTEX_32 | FUTEX_PRIVATE_FLAG, 0};
}

void SleepingWords::AddShared(
    const std::atomic<std::uint32_t>& word, std::uint32_t value, bool looks) noexcept
{
    words[count++] = {value, reinterpret_cast<std::uintptr_t>(&word), FUTEX_32, 0};
    needsLooks = needsLooks || looks;
}

bool SleepingWords::Sleep(Deadline deadline, std::int64_t& slice) const noexcept
{
    const Deadline end{
        needsLooks ? std::min(deadline.nanoseconds, Deadline::Now() + second) : deadline.nanoseconds};
    const bool isInTime = count == 1 ? SleepOnOne(end) : SleepOnAll(end, slice);
    return isInTime || end.nanoseconds != deadline.nanoseconds;
}

bool SleepingWords::SleepOnOne(Deadline end) const noexcept
{
    const KernelTime time(end);
    const int privacy = (words[0].flags & FUTEX_PRIVATE_FLAG) != 0 ? FUTEX_PRIVATE_FLAG : 0;
    const long result = ::syscall(SYS_futex, words[0].uaddr, FUTEX_WAIT_BITSET | privacy, words[0].val,
        time.Get(), nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

bool SleepingWords::SleepOnAll(Deadline end, std::int64_t& slice) const noexcept
{
    const KernelTime time(end);
    const long result = Seam::WaitForWords(words, count, time.Get());
    if (result >= 0 || (errno != ENOSYS && errno != EPERM))
        return result >= 0 || errno != ETIMEDOUT;
    slice = std::clamp(2 * slice, firstSlice, lastSlice);
    const Deadline sliced{std::min(end.nanoseconds, Deadline::Now() + slice)};
    return SleepOnOne(sliced) || sliced.nanoseconds != end.nanoseconds;
}

} // namespace Platform
