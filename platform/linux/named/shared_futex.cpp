#include "platform/linux/named/shared_futex.h"

#include "platform/linux/named/calls.h"

namespace Platform {

void WakeAllShared(const std::atomic<std::uint32_t>& word) noexcept
{
    ::syscall(SYS_futex, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// The word is both that of the sleepers and that of the operation. What the comparison could add is a wake of
// one more of the same sleepers.
std::uint32_t OrAndWakeAllShared(std::atomic<std::uint32_t>& word, std::uint32_t bits) noexcept
{
    const auto operation = static_cast<std::uint32_t>(FUTEX_OP(FUTEX_OP_OR, bits, FUTEX_OP_CMP_EQ, 0U));
    const long woken = ::syscall(SYS_futex, &word, FUTEX_WAKE_OP, INT_MAX, 0L, &word, operation);
    return woken > 0 ? static_cast<std::uint32_t>(woken) : 0;
}

} // namespace Platform
