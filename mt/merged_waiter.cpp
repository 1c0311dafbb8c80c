#include "mt/merged_waiter.h"

#include "mt/multi_blocker_impl.h"
#include "mt/wait_handle.h"
#include "platform/messages.h"
#include <tessel/base/error.h>

namespace Mt {

namespace {

// With the interrupt event; one less than the system's wait takes, which leaves room for the message queue.
constexpr std::uint32_t handleLimit = Platform::MAXIMUM_WAIT_OBJECTS - 1;

// For messages to the thread itself and to no window.
constexpr Platform::Handle threadOnly = Platform::INVALID_HANDLE_VALUE;

bool Fetch(Platform::Handle window, Win32::SystemMessage& out)
{
    Platform::MSG fetched;
    if (!Platform::PeekMessageW(&fetched, window, 0, 0, Platform::PM_REMOVE))
        return false;
    out = {ToPublic(fetched.hwnd), fetched.message, fetched.wParam, fetched.lParam, fetched.time, fetched.x,
        fetched.y};
    return true;
}

} // namespace

bool MergedBlockerWaiter::Add(Entry& entry, MultiBlockerImpl& multiBlocker)
{
    if (!entry.info)
        return false;
    Record record{
        Kind::Handle, Platform::INFINITE, Platform::NULL_HANDLE, {nullptr, nullptr}, &entry, &multiBlocker};
    ::Handle handle = ToPublic(Platform::NULL_HANDLE);
    entry.info->GetWaitInfo(handle, record.timeout, record.messageSlot);
    record.handle = ToPlatform(handle);
    if (record.handle != Platform::NULL_HANDLE) {
        if (handleCount == handleLimit)
            return false;
        ++handleCount;
    } else if (record.messageSlot.message) {
        record.kind = Kind::Message;
        hasMessage = true;
    } else if (record.timeout != Platform::INFINITE) {
        record.kind = Kind::Timeout;
        shortestTimeout = std::min(shortestTimeout, record.timeout);
    } else {
        return false;
    }
    records.push_back(record);
    return true;
}

MergedBlockerWaiter::Outcome MergedBlockerWaiter::Wait(const Platform::Handle* handles)
{
    if (hasMessage)
        return WaitWithMessages(handles);
    return {Platform::WaitForMultipleObjects(handleCount, handles, shortestTimeout), {}};
}

// A message that is there already goes before all handles. The span begins anew with each pass.
MergedBlockerWaiter::Outcome MergedBlockerWaiter::WaitWithMessages(const Platform::Handle* handles)
{
    Outcome outcome{handleCount, {}};
    if (Fetch(Platform::NULL_HANDLE, outcome.message))
        return outcome;
    while (!Fetch(threadOnly, outcome.message)) {
        outcome.result = Platform::MsgWaitForMultipleObjectsEx(
            handleCount, handles, shortestTimeout, Platform::QS_ALLEVENTS, Platform::MWMO_INPUTAVAILABLE);
        if (outcome.result != handleCount || Fetch(Platform::NULL_HANDLE, outcome.message))
            break;
    }
    return outcome;
}

bool MergedBlockerWaiter::IsMet(
    const Record& record, const Outcome& outcome, const Platform::Handle* handles) const
{
    const std::uint32_t result = outcome.result;
    switch (record.kind) {
    case Kind::Timeout:
        return result == Platform::WAIT_TIMEOUT && record.timeout == shortestTimeout;
    case Kind::Message:
        return result == handleCount;
    case Kind::Handle:
        // By handle and not by index: two members may have the same one.
        return result != 0 && result < handleCount && handles[result] == record.handle;
    }
    return false;
}

void MergedBlockerWaiter::Run()
{
    Platform::Handle handles[handleLimit]; // NOLINT: filled as far as `handleCount`
    handles[0] = ThreadImpl::Current().GetInterruptEvent();
    std::uint32_t filled = 1;
    for (const Record& record : records)
        if (record.kind == Kind::Handle)
            handles[filled++] = record.handle;

    Outcome outcome = Wait(handles);
    const std::uint32_t code = Platform::GetLastError();
    if (outcome.result >= Platform::WAIT_ABANDONED_0
        && outcome.result < Platform::WAIT_ABANDONED_0 + Platform::MAXIMUM_WAIT_OBJECTS)
        outcome.result -= Platform::WAIT_ABANDONED_0; // an abandoned mutex counts as signalled
    Error error;
    if (outcome.result == 0)
        error = ThreadImpl::MakeInterrupted();
    std::int32_t interrupts = Settle(error).interrupts;
    if (outcome.result == Platform::WAIT_FAILED)
        error = Error("WFMO err %d(%d)", "mt", -1, code);

    // The first report carries all interrupts, and with them the interrupt error if they came from outside.
    for (const Record& record : records) {
        const bool isMet = IsMet(record, outcome, handles);
        if (isMet && record.kind == Kind::Message) {
            *record.messageSlot.message = outcome.message;
            *record.messageSlot.received = true;
        }
        const bool cancelled = !isMet && interrupts <= 0;
        const bool isSilent = isMet || (cancelled && error.HasCode(Error::interrupted));
        record.multiBlocker->Notify(
            *record.entry, {cancelled, std::exchange(interrupts, 0), isSilent ? Error() : error});
    }
}

} // namespace Mt
