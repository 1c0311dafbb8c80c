#include "platform/linux/modules/module_list.h"

#include <unwind.h>

namespace Platform {

namespace {

struct StackSearch {
    AddressRange range;
    bool found;
};

_Unwind_Reason_Code LookAtFrame(_Unwind_Context* frame, void* context)
{
    StackSearch& search = *static_cast<StackSearch*>(context);
    int isExact = 0;
    std::uintptr_t address = _Unwind_GetIPInfo(frame, &isExact);
    // A return address may lie behind its function, when the call never returns; the call itself does not.
    if (!isExact)
        --address;
    search.found = search.range.Contains(address);
    return search.found ? _URC_NORMAL_STOP : _URC_NO_REASON;
}

} // namespace

bool CallStackEnters(Module module) noexcept
{
    StackSearch search{RangeOf(module), false};
    if (search.range.end != 0)
        _Unwind_Backtrace(&LookAtFrame, &search);
    return search.found;
}

} // namespace Platform
