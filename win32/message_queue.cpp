#include "win32/message_queue.h"

#include "mt/system_message.h"
#include "mt/thread_impl.h"
#include "platform/windows.h"
#include <tessel/base/error.h>

namespace Gui {

namespace {

void ThrowUnless(bool isPosted)
{
    if (isPosted)
        return;
    const std::uint32_t code = Platform::GetLastError();
    WideString text;
    text.SystemError(code);
    Error failure;
    failure.AddLayer(code, text, false);
    throw failure;
}

} // namespace

MessageQ::MessageQ()
{
    Platform::GetQueueStatus(Platform::QS_ALLEVENTS);
}

// A message that is there already goes before an interrupt; behind a wait the interrupt goes first, and the
// message stays in the queue.
void MessageQ::Block()
{
    if (Fetch())
        return;
    Mt::ThreadImpl& self = Mt::ThreadImpl::Current();
    const Platform::Handle interrupt = self.GetInterruptEvent().GetHandle();
    do {
        Platform::MsgWaitForMultipleObjectsEx(
            1, &interrupt, Platform::INFINITE, Platform::QS_ALLEVENTS, Platform::MWMO_INPUTAVAILABLE);
        self.CheckInterrupted();
    } while (!Fetch());
}

bool MessageQ::Fetch()
{
    received = Mt::FetchMessage(Platform::NULL_HANDLE, message) || Mt::FetchMessage(Mt::threadOnly, message);
    return received;
}

bool MessageQ::HasMessage()
{
    return received || Fetch();
}

void MessageQ::GetMessage(Mt::Win32::SystemMessage& out)
{
    if (!received)
        message.number = 0;
    received = false;
    out = message;
}

void MessageQ::GetWaitInfo(::Handle&, std::uint32_t&, Mt::Win32::MessageSlot& messageSlot)
{
    messageSlot = {&message, &received};
}

void PostThreadMessage(std::uint32_t thread, std::uint32_t number, std::uint64_t wParam, std::int64_t lParam)
{
    ThrowUnless(Platform::PostThreadMessageW(thread, number, wParam, lParam));
}

void PostMessage(::Handle window, std::uint32_t number, std::uint64_t wParam, std::int64_t lParam)
{
    ThrowUnless(Platform::PostMessageW(Mt::ToPlatform(window), number, wParam, lParam));
}

} // namespace Gui
