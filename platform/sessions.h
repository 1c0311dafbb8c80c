// The login session of this process: whether it is active, remote or at the console, and messages when that
// changes, or its screen is locked. It is what the login manager of the system (org.freedesktop.login1 on the
// system bus) says; the bus is reached through its client library, which is bound at run time.
//
// "WTSAPI32.DLL" is the module of these functions; it loads where client library and bus are there. The two
// marked so are "KERNEL32.DLL"'s and always there, as GetSystemMetrics is.
//
// Which session: the one that the process runs in; for one outside of all sessions (a service of the user, a
// scheduled job) the one that is its user's display; else none, which is number 0, never active or locked.
// The manager names sessions by texts. "2" is number 2; any other, such as "c1", has a number from 0x80000000
// on that is always the same for the same text. The console session is the active one of "seat0".
//
// Locks: desktops tell them as a property of the session (LockedHint), as signals (Lock, Unlock), or both.
// The property counts alone from the first time that it was seen true or changing; up to then the signals do.
// So one lock is told once. A desktop that neither sets the property nor sends Unlock is not seen unlocking.
//
// Time: a question to the manager takes half a second at most; where a window is registered, none is asked
// here, for its service knows. Without one, an answer, a failure too, also serves for eight times as long as
// it took: so whoever polls spends a ninth of his time here, at worst.
//
// Safe from any thread. A child made by fork has none of this until it calls exec.
#pragma once

#include "platform/windows.h"

namespace Platform {

constexpr std::uint32_t NO_CONSOLE_SESSION = 0xFFFFFFFF;
constexpr std::uint32_t WM_WTSSESSION_CHANGE = 689;
constexpr std::uint64_t WTS_CONSOLE_CONNECT = 1; // the session has become the console session
constexpr std::uint64_t WTS_CONSOLE_DISCONNECT = 2;
constexpr std::uint64_t WTS_REMOTE_CONNECT = 3; // a remote session has become active
constexpr std::uint64_t WTS_REMOTE_DISCONNECT = 4;
constexpr std::uint64_t WTS_SESSION_LOGON = 5; // there is a session where there was none, or another one
constexpr std::uint64_t WTS_SESSION_LOGOFF = 6; // it has gone, or is being closed
constexpr std::uint64_t WTS_SESSION_LOCK = 7;
constexpr std::uint64_t WTS_SESSION_UNLOCK = 8;

constexpr std::uint32_t NOTIFY_FOR_THIS_SESSION = 0;
constexpr Handle WTS_CURRENT_SERVER_HANDLE = NULL_HANDLE;
constexpr std::uint32_t WTS_CURRENT_SESSION = 0xFFFFFFFF;
constexpr std::uint32_t WTSConnectStateClass = 8;
constexpr std::uint32_t WTSActive = 0;
constexpr std::uint32_t WTSDisconnected = 4;

constexpr int SM_REMOTESESSION = 0x1000;

// ---- "WTSAPI32.DLL"

// From now on the window gets WM_WTSSESSION_CHANGE, with the kind of change and the session's number; first
// of all that the session is locked, if it is. What the window's queue refuses is posted again later, if it
// is still true then. A window that is registered once more is told of a lock again; it has to be
// unregistered as often.
//
// The first registration starts a thread, the service, which ends with the last. It runs with all signals
// blocked. When the bus or the manager goes it waits for the next one, for up to 8 seconds between two looks,
// and then tells what has changed meanwhile. (A Lock signal of that time is lost.)
//
// False with RPC_S_INVALID_BINDING while no manager answers: later it may; ERROR_INVALID_WINDOW_HANDLE,
// ERROR_INVALID_PARAMETER for any other flag, or what keeps a thread from starting.
bool WTSRegisterSessionNotification(HWND window, std::uint32_t flags) noexcept;
// Takes a registration back: with the last one, nothing is posted to the window any more when it returns.
// ERROR_INVALID_PARAMETER for a window that is not registered. It has to be called for one that has gone,
// too.
bool WTSUnRegisterSessionNotification(HWND window) noexcept;

// The connection state of the current session: 4 bytes, WTSActive or WTSDisconnected, which WTSFreeMemory
// frees. False with RPC_S_INVALID_BINDING while no manager answers, ERROR_INVALID_HANDLE for another server,
// ERROR_NOT_SUPPORTED for another session or class, or ERROR_NOT_ENOUGH_MEMORY.
bool WTSQuerySessionInformationW(Handle server, std::uint32_t session, std::uint32_t infoClass,
    char16_t** buffer, std::uint32_t* bytes) noexcept;
void WTSFreeMemory(void* buffer) noexcept;

// ---- "KERNEL32.DLL"

// NO_CONSOLE_SESSION while there is none. While no manager answers, the one that was last known.
std::uint32_t WTSGetActiveConsoleSessionId() noexcept;
// False with RPC_S_INVALID_BINDING while no manager answers, ERROR_NOT_SUPPORTED for another process.
bool ProcessIdToSessionId(std::uint32_t process, std::uint32_t* session) noexcept;

// ---- Of the system

// SM_REMOTESESSION: whether the session is a remote one, as last known; 0 for anything else.
int GetSystemMetrics(int index) noexcept;

} // namespace Platform
