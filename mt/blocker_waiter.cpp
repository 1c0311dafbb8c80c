#include "mt/blocker_waiter.h"

namespace Mt {

// A member that comes back normally was met, even if a stop was on its way.
void BlockerWaiter::Run()
{
    Error error;
    bool failed = false;
    try {
        entry.blocker->Block();
    } catch (const Error& thrown) {
        error = thrown;
        failed = true;
    }
    const Settlement settled = Settle(error);
    const Error* const reported = error.GetLayerCount() == 0 ? nullptr : &error;
    multiBlocker.Notify(entry, {settled.stopped && failed, settled.interrupts, reported});
}

} // namespace Mt
