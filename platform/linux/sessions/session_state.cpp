#include "platform/linux/sessions/session_state.h"

#include "platform/errors.h"

#include <charconv>

namespace Platform {

namespace {

constexpr std::uint32_t namedSessions = 0x80000000; // numbers below are those that the manager gives itself

// The digits of a number as the manager writes it, or 0.
std::uint32_t AsNumber(std::string_view name) noexcept
{
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [read, failure] = std::from_chars(name.data(), end, number);
    return failure == std::errc() && read == end && name.front() != '0' && number < namedSessions ? number
                                                                                                  : 0;
}

// FNV-1a
std::uint32_t Hash(std::string_view name) noexcept
{
    std::uint32_t hash = 0x811C9DC5;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
    return hash;
}

} // namespace

std::uint32_t SessionNumber(std::string_view name) noexcept
{
    if (const std::uint32_t number = name.empty() ? 0 : AsNumber(name))
        return number;
    const std::uint32_t named = Hash(name) | namedSessions;
    return named == NO_CONSOLE_SESSION ? namedSessions : named;
}

Told::Told(HWND itsWindow, const SessionState& now) noexcept
    : window(itsWindow),
      session(now.session),
      isOnConsole(now.IsOnConsole()),
      isRemote(now.IsActiveRemotely())
{
}

bool Told::Tell(const SessionState& now) noexcept
{
    return TellEnds(now) && TellBegins(now);
}

bool Told::TellEnds(const SessionState& now) noexcept
{
    const bool isSame = session == now.session;
    if (!Turn(isOnConsole, isOnConsole && isSame && now.IsOnConsole(), WTS_CONSOLE_CONNECT,
            WTS_CONSOLE_DISCONNECT)
        || !Turn(isRemote, isRemote && isSame && now.IsActiveRemotely(), WTS_REMOTE_CONNECT,
            WTS_REMOTE_DISCONNECT))
        return false;
    if (isSame || session == 0)
        return true;
    if (!Post(WTS_SESSION_LOGOFF))
        return false;
    session = 0;
    isLocked = false;
    isLockToRepeat = false;
    return true;
}

bool Told::TellBegins(const SessionState& now) noexcept
{
    if (session != now.session) {
        session = now.session;
        if (!Post(WTS_SESSION_LOGON)) {
            session = 0;
            return false;
        }
    }
    return Turn(isOnConsole, now.IsOnConsole(), WTS_CONSOLE_CONNECT, WTS_CONSOLE_DISCONNECT)
        && Turn(isRemote, now.IsActiveRemotely(), WTS_REMOTE_CONNECT, WTS_REMOTE_DISCONNECT)
        && TellLock(now.isLocked);
}

bool Told::TellLock(bool now) noexcept
{
    if (isLocked == now && !isLockToRepeat)
        return true;
    if (!Post(now ? WTS_SESSION_LOCK : WTS_SESSION_UNLOCK))
        return false;
    isLocked = now;
    isLockToRepeat = false;
    return true;
}

bool Told::Turn(bool& told, bool now, std::uint64_t begin, std::uint64_t end) noexcept
{
    if (told == now)
        return true;
    if (!Post(now ? begin : end))
        return false;
    told = now;
    return true;
}

bool Told::Post(std::uint64_t kind) const noexcept
{
    return PostMessageW(window, WM_WTSSESSION_CHANGE, kind, session)
        || GetLastError() == ERROR_INVALID_WINDOW_HANDLE; // to one that has gone there is nothing to tell
}

} // namespace Platform
