// The strand that waits, in one wait of the system, for any one of all members that can state their
// condition.
#pragma once

#include "mt/waiter.h"
#include "platform/waits.h"

#include <algorithm>
#include <vector>

namespace Mt {

class MultiBlockerImpl;
struct Entry;

class MergedBlockerWaiter : public Waiter {
public:
    explicit MergedBlockerWaiter(ThreadImpl& caller) noexcept : Waiter(false, caller) { }

    bool IsEmpty() const noexcept { return records.empty(); }
    // For so many members, of which not all need come.
    void Reserve(std::size_t count) { records.reserve(std::min<std::size_t>(count, 64)); }
    // False if the member cannot be waited for here.
    bool AddBlocker(Entry& entry, MultiBlockerImpl& multiBlocker);

    void Run() override;

private:
    enum class Kind : std::uint32_t { Handle, Timeout, Message };

    struct WaitRecord {
        Kind kind;
        std::uint32_t timeout;
        Platform::Handle handle;
        Win32::MessageSlot messageSlot;
        // Both outlive the wait.
        Entry* entry;
        MultiBlockerImpl* multiBlocker; // the innermost one
    };

    // What the system's wait has given. The message is only there if one has come.
    struct Outcome {
        std::uint32_t result;
        Win32::SystemMessage message;
    };

    Outcome Wait(const Platform::Handle* handles);
    Outcome WaitWithMessages(const Platform::Handle* handles);
    bool IsMet(const WaitRecord& record, const Outcome& outcome, const Platform::Handle* handles) const;

    std::vector<WaitRecord> records;
    std::uint32_t handleCount = 1; // in the system's wait: the interrupt event is the first one
    std::uint32_t shortestTimeout = Platform::INFINITE;
    bool hasMessage = false;
};

} // namespace Mt
