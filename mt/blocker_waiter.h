// The strand for one member that has to be asked to block.
#pragma once

#include "mt/multi_blocker_impl.h"

namespace Mt {

class BlockerWaiter : public Waiter {
public:
    BlockerWaiter(MultiBlockerImpl& served, Entry& itsEntry, bool forAll, ThreadImpl& caller)
        : Waiter(forAll, caller), multiBlocker(served), entry(itsEntry)
    {
    }

    void Run() override;

private:
    // Both outlive the wait.
    MultiBlockerImpl& multiBlocker; // the innermost one
    Entry& entry;
};

} // namespace Mt
