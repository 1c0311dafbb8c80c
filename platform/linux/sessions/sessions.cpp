#include "platform/sessions.h"

#include "platform/errors.h"
#include "platform/linux/sessions/entries.h"
#include "platform/linux/sessions/service.h"

#include <new>

namespace Platform {

namespace {

// What was last known is as good as it gets.
SessionState LastKnownState() noexcept
{
    const LastErrorKeeper keeper;
    SessionState state;
    SessionService::Get().GetState(state);
    return state;
}

} // namespace

const BuiltInEntry sessionEntries[4] = {
    {"WTSRegisterSessionNotification", AddressOf(&WTSRegisterSessionNotification)},
    {"WTSUnRegisterSessionNotification", AddressOf(&WTSUnRegisterSessionNotification)},
    {"WTSQuerySessionInformationW", AddressOf(&WTSQuerySessionInformationW)},
    {"WTSFreeMemory", AddressOf(&WTSFreeMemory)},
};

bool IsBusReachable() noexcept
{
    BusConnection bus;
    return bus.Open();
}

bool WTSRegisterSessionNotification(HWND window, std::uint32_t flags) noexcept
{
    return flags == NOTIFY_FOR_THIS_SESSION ? SessionService::Get().Register(window)
                                            : Fail(ERROR_INVALID_PARAMETER);
}

bool WTSUnRegisterSessionNotification(HWND window) noexcept
{
    return SessionService::Get().UnRegister(window);
}

bool WTSQuerySessionInformationW(Handle server, std::uint32_t session, std::uint32_t infoClass,
    char16_t** buffer, std::uint32_t* bytes) noexcept
{
    if (server != WTS_CURRENT_SERVER_HANDLE)
        return Fail(ERROR_INVALID_HANDLE);
    if (session != WTS_CURRENT_SESSION || infoClass != WTSConnectStateClass)
        return Fail(ERROR_NOT_SUPPORTED);
    SessionState state;
    if (!SessionService::Get().GetState(state))
        return false;
    auto* const answer = new (std::nothrow) std::uint32_t(state.isActive ? WTSActive : WTSDisconnected);
    if (!answer)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    *buffer = reinterpret_cast<char16_t*>(answer);
    *bytes = sizeof(*answer);
    return true;
}

void WTSFreeMemory(void* buffer) noexcept
{
    delete static_cast<std::uint32_t*>(buffer);
}

std::uint32_t WTSGetActiveConsoleSessionId() noexcept
{
    return LastKnownState().console;
}

bool ProcessIdToSessionId(std::uint32_t process, std::uint32_t* session) noexcept
{
    if (process != GetCurrentProcessId())
        return Fail(ERROR_NOT_SUPPORTED);
    SessionState state;
    if (!SessionService::Get().GetState(state))
        return false;
    *session = state.session;
    return true;
}

int GetSystemMetrics(int index) noexcept
{
    return index == SM_REMOTESESSION && LastKnownState().isRemote ? 1 : 0;
}

} // namespace Platform
