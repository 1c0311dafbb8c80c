#include "mt/merged_waiter.h"

#include "mt/multi_blocker_impl.h"
#include "mt/system_message.h"
#include <tessel/base/error.h>

namespace Mt {

namespace {

// With the interrupt event; one less than the system's wait takes, which leaves room for the message queue.
constexpr std::uint32_t handleLimit = Platform::MAXIMUM_WAIT_OBJECTS - 1;

} // namespace

bool MergedBlockerWaiter::AddBlocker(Entry& entry, MultiBlockerImpl& multiBlocker)
{
    if (!entry.info)
        return false;
    ::Handle handle = ToPublic(Platform::NULL_HANDLE);
    std::uint32_t timeout = Platform::INFINITE;
    Win32::MessageSlot messageSlot{nullptr, nullptr};
    entry.info->GetWaitInfo(handle, timeout, messageSlot);
    Kind kind = Kind::Handle;
    if (ToPlatform(handle) != Platform::NULL_HANDLE) {
        if (handleCount == handleLimit)
            return false;
        ++handleCount;
    } else if (messageSlot.message) {
        kind = Kind::Message;
        hasMessage = true;
    } else if (timeout != Platform::INFINITE) {
        kind = Kind::Timeout;
        shortestTimeout = std::min(shortestTimeout, timeout);
    } else {
        return false;
    }
    // Field by field where it lies: a copy would wait for the fields just written.
    WaitRecord& record = records.emplace_back();
    record.kind = kind;
    record.timeout = timeout;
    record.handle = ToPlatform(handle);
    record.messageSlot = messageSlot;
    record.entry = &entry;
    record.multiBlocker = &multiBlocker;
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
    if (FetchMessage(Platform::NULL_HANDLE, outcome.message))
        return outcome;
    while (!FetchMessage(threadOnly, outcome.message)) {
        outcome.result = Platform::MsgWaitForMultipleObjectsEx(
            handleCount, handles, shortestTimeout, Platform::QS_ALLEVENTS, Platform::MWMO_INPUTAVAILABLE);
        if (outcome.result != handleCount || FetchMessage(Platform::NULL_HANDLE, outcome.message))
            break;
    }
    return outcome;
}

bool MergedBlockerWaiter::IsMet(
    const WaitRecord& record, const Outcome& outcome, const Platform::Handle* handles) const
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
    handles[0] = ThreadImpl::Current().GetInterruptEvent().GetHandle();
    std::uint32_t filled = 1;
    for (const WaitRecord& record : records)
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
    const Error* const reported = error.GetLayerCount() == 0 ? nullptr : &error;
    const bool isInterrupt = error.HasCode(Error::interrupted);
    for (auto record = records.begin(); record != records.end();) {
        MultiBlockerImpl& multiBlocker = *record->multiBlocker;
        const SectionLock section(multiBlocker.GetLock()); // for all reports to it that follow each other
        for (; record != records.end() && record->multiBlocker == &multiBlocker; ++record) {
            const bool isMet = IsMet(*record, outcome, handles);
            if (isMet && record->kind == Kind::Message) {
                *record->messageSlot.message = outcome.message;
                *record->messageSlot.received = true;
            }
            const bool cancelled = !isMet && interrupts <= 0;
            const bool isSilent = isMet || (cancelled && isInterrupt);
            multiBlocker.NotifyLocked(
                *record->entry, {cancelled, std::exchange(interrupts, 0), isSilent ? nullptr : reported});
        }
    }
}

} // namespace Mt
