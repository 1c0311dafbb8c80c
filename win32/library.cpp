#include "win32/library.h"

#include "mt/wait_handle.h"
#include "platform/errors.h"
#include <tessel/base/error.h>
#include <tessel/base/utf8.h>
#include <tessel/module.h>
#include <tessel/object/global.h>
#include <tessel/win32/session_change_blocker.h>

#include <cstring>

namespace Win32 {

namespace {

constexpr const char* tag = "win32";
constexpr std::int32_t unknown = -1; // not fetched yet

// Null if the module has no such entry.
template <class Function>
void Find(Platform::Module module, const char* name, Function*& found)
{
    found = reinterpret_cast<Function*>(Platform::GetProcAddress(module, name));
    const std::uint32_t code = found ? Platform::ERROR_SUCCESS : Platform::GetLastError();
    if (code != Platform::ERROR_SUCCESS && code != Platform::ERROR_PROC_NOT_FOUND)
        throw Error("wtsexp:%s:err:%d", tag, StringFromUtf8(name), code);
}

template <class Function>
void FindOrThrow(Platform::Module module, const char* name, Function*& found)
{
    Find(module, name, found);
    if (!found)
        throw Error("wtsexp:%s:err%d", tag, StringFromUtf8(name), Platform::GetLastError());
}

} // namespace

FacePtr<Library> Library::Get()
{
    return ImplGlobal<Library, Module>::Get();
}

Library::Library()
    : module{Platform::LoadLibraryW(u"WTSAPI32.DLL")},
      messageMonitor(Clsid(messageMonitorClass)),
      sessionState(unknown)
{
    if (module.handle == Platform::NULL_MODULE)
        return;
    const Platform::Module kernel = Platform::GetModuleHandleW(u"KERNEL32.DLL");
    Find(module.handle, "WTSRegisterSessionNotification", registerNotification);
    Find(module.handle, "WTSUnRegisterSessionNotification", unregisterNotification);
    Find(kernel, "WTSGetActiveConsoleSessionId", getActiveConsoleSessionId);
    FindOrThrow(module.handle, "WTSQuerySessionInformationW", querySessionInformation);
    FindOrThrow(module.handle, "WTSFreeMemory", freeMemory);
    processIdToSessionId = reinterpret_cast<decltype(processIdToSessionId)>(
        Platform::GetProcAddress(kernel, "ProcessIdToSessionId"));
    ReadSessionId();
}

Library::~Library()
{
    if (notifiedWindow != Platform::NULL_HANDLE && unregisterNotification)
        unregisterNotification(notifiedWindow);
}

// The query is made outside of the lock, which the window thread takes; what has become known meanwhile is
// newer than its answer.
std::int32_t Library::GetSessionState()
{
    {
        const SectionLock guard(stateLock);
        if (sessionState != unknown)
            return sessionState;
    }
    const std::int32_t queried = QueryState();
    const SectionLock guard(stateLock);
    if (sessionState == unknown)
        sessionState = queried;
    return sessionState == unknown ? SessionChangeBlocker::loggedOff : sessionState;
}

// What is not known does not stay so.
std::int32_t Library::QueryState() const noexcept
{
    char16_t* buffer = nullptr;
    std::uint32_t bytes = 0;
    if (!querySessionInformation
        || !querySessionInformation(Platform::WTS_CURRENT_SERVER_HANDLE, Platform::WTS_CURRENT_SESSION,
            Platform::WTSConnectStateClass, &buffer, &bytes))
        return unknown;
    std::uint32_t connection = 0;
    const bool isWhole = bytes == sizeof(connection);
    if (isWhole)
        std::memcpy(&connection, buffer, sizeof(connection));
    freeMemory(buffer);
    if (!isWhole)
        return unknown;
    return connection == Platform::WTSActive ? SessionChangeBlocker::active : SessionChangeBlocker::loggedOff;
}

void Library::OnSessionChange(std::uint64_t wParam)
{
    if (wParam == Platform::WTS_SESSION_LOGON)
        ReadSessionId();
    const SectionLock guard(stateLock);
    if (wParam == Platform::WTS_SESSION_LOGON || wParam == Platform::WTS_SESSION_UNLOCK)
        sessionState = SessionChangeBlocker::active;
    else if (wParam == Platform::WTS_SESSION_LOGOFF)
        sessionState = SessionChangeBlocker::loggedOff;
    else if (wParam == Platform::WTS_SESSION_LOCK)
        sessionState = SessionChangeBlocker::locked;
}

bool Library::EnsureNotification(const FacePtr<MessageMonitor::Observer>& observer)
{
    if (notifiedWindow == Platform::NULL_HANDLE)
        RegisterWindow();
    if (notifiedWindow == Platform::NULL_HANDLE)
        return false;
    messageMonitor->AddObserver(Platform::WM_WTSSESSION_CHANGE, observer);
    if (sessionId == 0)
        ReadSessionId();
    return true;
}

void Library::RegisterWindow()
{
    if (!isListening) { // two threads at once: being told twice does no harm
        messageMonitor->AddObserver(Platform::WM_WTSSESSION_CHANGE, FacePtr<MessageMonitor::Observer>(this));
        isListening = true;
    }
    const Platform::HWND window = Mt::ToPlatform(messageMonitor->GetWindow());
    if (!registerNotification(window, Platform::NOTIFY_FOR_THIS_SESSION)) {
        const std::uint32_t code = Platform::GetLastError();
        if (code != Platform::RPC_S_INVALID_BINDING)
            throw Error("wtsrsn err %d", tag, code);
        return;
    }
    const Platform::HWND other = notifiedWindow.exchange(window);
    if (other != Platform::NULL_HANDLE && unregisterNotification) // two threads at once: one is enough
        unregisterNotification(other);
}

// Where it cannot be known when the process starts, it is read again with the first success to register; and
// at each logon, for a process outside of all sessions has that of its user.
void Library::ReadSessionId() noexcept
{
    std::uint32_t read = 0;
    if (processIdToSessionId && processIdToSessionId(Platform::GetCurrentProcessId(), &read))
        sessionId = read;
}

bool Library::IsOnConsole() const noexcept
{
    return sessionId == (getActiveConsoleSessionId ? getActiveConsoleSessionId() : 0);
}

} // namespace Win32
