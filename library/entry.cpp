// What happens when the library comes into a process and when the process ends.
#include "object/hooks.h"
#include "platform/modules.h"
#include "platform/threads.h"

#include <cstdlib>

namespace {

void RunThreadHook(bool processDetach)
{
    if (const Hooks::ThreadEnd hook = Hooks::GetThreadEnd())
        hook(processDetach);
}

// Ahead of all statics. The exit action registered here is the library's first and so runs as its last, for
// no end of a thread is told for the one that calls exit.
[[gnu::constructor(101)]] void Attach()
{
    // A host that opened the library for itself alone would have its modules bind type information to their
    // own copies, and an Error that outlives such a module would dangle.
    Platform::MakeOwnModuleGlobal();
    Platform::SetThreadEndHook([] { RunThreadHook(false); });
    std::atexit([] { RunThreadHook(false); });
}

// Behind all static destructors.
[[gnu::destructor(101)]] void Detach()
{
    RunThreadHook(true);
}

} // namespace
