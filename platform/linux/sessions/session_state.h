// What is known of the session of this process, and how changes of it become messages.
#pragma once

#include "platform/sessions.h"

#include <string_view>

namespace Platform {

// The number of the session that the login manager calls so, as sessions.h tells. Never 0.
std::uint32_t SessionNumber(std::string_view name) noexcept;

struct SessionState {
    std::uint32_t session = 0; // 0 is none
    std::uint32_t console = NO_CONSOLE_SESSION;
    bool isActive = false;
    bool isRemote = false;
    bool isLocked = false;

    bool IsOnConsole() const noexcept { return session != 0 && session == console; }
    bool IsActiveRemotely() const noexcept { return isRemote && isActive; }
};

// Whether the session is locked, out of the two things that desktops tell.
class LockJoin {
public:
    void OnHint(bool hint) noexcept
    {
        isHintTrusted = isHintTrusted || hint || hint != lastHint;
        lastHint = hint;
        if (isHintTrusted)
            isLocked = hint;
    }
    void OnSignal(bool locks) noexcept
    {
        if (!isHintTrusted)
            isLocked = locks;
    }
    bool IsLocked() const noexcept { return isLocked; }

private:
    bool isLocked = false;
    bool lastHint = false;
    bool isHintTrusted = false;
};

// What one window has been told.
class Told {
public:
    // Knows all but the lock, for that is what nobody can ask for.
    Told(HWND itsWindow, const SessionState& now) noexcept;

    HWND GetWindow() const noexcept { return window; }
    // A lock that was told is told again; or if it has gone by then, that it has.
    void RepeatLock() noexcept { isLockToRepeat = isLocked; }
    // Posts what differs: what ends first, and the lock last, so that a logon does not cover it. A session
    // that ends takes its lock along without a word, for an unlock would say that it lives. False if a
    // message was refused: then it and those behind it are still to be told.
    bool Tell(const SessionState& now) noexcept;

private:
    bool TellEnds(const SessionState& now) noexcept;
    bool TellBegins(const SessionState& now) noexcept;
    bool TellLock(bool now) noexcept;
    // Posts unless it is told already.
    bool Turn(bool& told, bool now, std::uint64_t begin, std::uint64_t end) noexcept;
    bool Post(std::uint64_t kind) const noexcept;

    HWND window;
    std::uint32_t session;
    bool isOnConsole;
    bool isRemote;
    bool isLocked = false;
    bool isLockToRepeat = false;
};

} // namespace Platform
