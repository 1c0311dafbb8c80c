#include "win32/session_change_blocker_impl.h"

#include "mt/wait_handle.h"
#include "platform/waits.h"
#include <tessel/mt/multi_blocker.h>

#include <utility>

namespace Win32 {

namespace {

constexpr std::int32_t unknown = -1;
constexpr std::uint32_t pollingSpan = 1000; // milliseconds

bool IsSessionRemote() noexcept
{
    Platform::OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    return Platform::GetVersionExW(&version) && version.dwMajorVersion >= 4
        && Platform::GetSystemMetrics(Platform::SM_REMOTESESSION) != 0;
}

template <class Seen>
bool Note(Seen& last, Seen now) noexcept
{
    return std::exchange(last, now) != now;
}

} // namespace

SessionChangeBlockerImpl::SessionChangeBlockerImpl()
    : library(Library::Get()),
      timer(Clsid(Mt::timeBasedBlockerClass)),
      onConsole(library->IsOnConsole()),
      remote(IsSessionRemote()),
      sessionState(unknown)
{
    timer->SetTimeout(pollingSpan);
    if (library->CanNotify())
        wakeEvent = FacePtr<Mt::EventBasedBlocker>(Clsid(Mt::autoEventClass));
}

void SessionChangeBlockerImpl::Block()
{
    while (!Update())
        Wait();
}

// Timer and event become one wait of this thread.
void SessionChangeBlockerImpl::Wait()
{
    if (!registered) {
        timer->Block();
        return;
    }
    const FacePtr<Mt::MultiBlocker> either{Clsid(Mt::multiBlockerClass)};
    either->Add(timer);
    either->Add(wakeEvent);
    either->Block();
}

std::int32_t SessionChangeBlockerImpl::GetSessionState()
{
    if (sessionState == unknown)
        sessionState = library->CanNotify() ? library->GetSessionState() : GetLogonLockState();
    return sessionState;
}

bool SessionChangeBlockerImpl::Update()
{
    if (library->CanNotify() && !registered)
        registered = library->EnsureNotification(FacePtr<MessageMonitor::Observer>(this));
    GetSessionState();
    const bool hasOtherState = Note(sessionState, LookUpState());
    const bool hasOtherConsole = Note(onConsole, library->IsOnConsole());
    const bool isElsewhere = Note(remote, IsSessionRemote());
    return hasOtherState || hasOtherConsole || isElsewhere;
}

std::int32_t SessionChangeBlockerImpl::LookUpState()
{
    if (!library->CanNotify())
        return GetLogonLockState();
    return registered ? library->GetSessionState() : loggedOff;
}

bool SessionChangeBlockerImpl::CanSeeTransition(std::int32_t from, std::int32_t to)
{
    if (library->CanNotify())
        return true;
    OpenLogonLock();
    return wakeEvent && ((from == active && to == locked) || (from == locked && to == active));
}

std::int32_t SessionChangeBlockerImpl::GetLogonLockState()
{
    OpenLogonLock();
    if (!wakeEvent)
        return loggedOff;
    return wakeEvent->IsReset() ? active : locked;
}

void SessionChangeBlockerImpl::OpenLogonLock()
{
    if (wakeEvent)
        return;
    // First, for if it cannot be had, nobody would close the handle.
    const FacePtr<Mt::Win32::EventFactory> events{Clsid(Mt::Win32::eventFactoryClass)};
    const Platform::Handle opened = Platform::OpenEventW(Platform::SYNCHRONIZE, u"KV7_LOGON_LOCK");
    if (opened != Platform::NULL_HANDLE)
        wakeEvent = events->CreateFromHandle(Mt::ToPublic(opened));
}

// What comes through the window the library has heard already; not so where somebody else calls.
void SessionChangeBlockerImpl::OnMessage(std::uint32_t, std::uint64_t wParam, std::int64_t)
{
    library->OnSessionChange(wParam);
    wakeEvent->Set();
}

} // namespace Win32
