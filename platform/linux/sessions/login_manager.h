// What the login manager says of the session of this process.
#pragma once

#include "platform/linux/sessions/bus.h"
#include "platform/linux/sessions/session_state.h"

#include <string>

namespace Platform {

// The properties of a session.
struct Reading {
    std::uint32_t number = 0; // 0 until its name is known
    bool isActive = false;
    bool isRemote = false;
    bool isLockHinted = false;
    bool isClosing = false;
};

// One thread at a time uses it. What any of it fails with is left as the last error: RPC_S_INVALID_BINDING
// for everything on the manager's side, else what this process lacks.
class LoginManager {
public:
    explicit LoginManager(Bell* bell = nullptr) noexcept : bus(bell) { }

    // Connects and asks for the state, in half a second at most.
    bool Ask() noexcept;
    // The same, and from now on TakeNextSignal learns of changes. The state of before counts for what can
    // only be seen as a change.
    bool Follow() noexcept;
    // Takes in one that has arrived, if any. False when it no longer knows: it is to follow again, later.
    bool TakeNextSignal() noexcept;
    void Close() noexcept { bus.Close(); }
    // As BusConnection.
    bool Wait(std::uint64_t until) noexcept { return bus.Wait(until); }

    bool IsFollowing() const noexcept { return bus.IsOpen(); }
    // Whether there is one; what GetState gives is what was last known.
    bool IsThere() const noexcept { return bus.IsOpen() && !owner.empty(); }
    const SessionState& GetState() const noexcept { return state; }

private:
    bool Connect(bool follow) noexcept;
    bool AddMatch(const char* rule);
    bool Read();
    bool ReadOwner();
    bool FindSession();
    bool FindDisplaySession();
    bool ReadSession();
    bool ReadConsole();
    void Adopt(Reading reading) noexcept;

    bool TakeSignal(const BusMessage& signal);
    bool TakeOwner(const BusMessage& signal);
    bool TakeProperties(const BusMessage& signal);

    BusMessage MakeCall(const std::string& object, const char* interface, const char* member) const noexcept;
    // The answer to a call with these arguments, empty if there is none.
    template <class... Arguments>
    BusMessage Call(const BusMessage& call, Arguments... arguments) noexcept
    {
        return call && (call.Add(arguments) && ...) ? bus.Call(call, deadline) : BusMessage();
    }
    BusMessage GetProperty(const std::string& object, const char* interface, const char* name) noexcept;

    BusConnection bus;
    std::uint64_t deadline = 0; // of the calls that are being made
    std::string owner; // the connection of the manager; empty if there is none
    std::string path; // of the session; empty if there is none
    bool isFoundByDisplay = false;
    Reading known; // of it
    LockJoin lock;
    SessionState state;
};

} // namespace Platform
