#include "platform/linux/sessions/login_manager.h"

#include "platform/errors.h"

#include <cstring>
#include <new>

namespace Platform {

namespace {

constexpr const char* managerName = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* seatInterface = "org.freedesktop.login1.Seat";
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* consolePath = "/org/freedesktop/login1/seat/seat0";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

constexpr std::uint64_t timeout = 500; // milliseconds, for all calls of one question
constexpr std::size_t nameLimit = 255;

// "" is no session.
bool ReadName(const BusMessage& message, std::uint32_t& number) noexcept
{
    const char* name = nullptr;
    if (!message.Read(name) || std::strlen(name) > nameLimit)
        return false;
    number = *name ? SessionNumber(name) : 0;
    return true;
}

// A value of a property: a session's name and path. No session is "" and "/".
bool ReadSessionReference(const BusMessage& message, std::uint32_t& number, const char*& path) noexcept
{
    return message.Enter('v', "(so)") && message.Enter('r', "so") && ReadName(message, number)
        && message.ReadPath(path) && message.Exit() && message.Exit();
}

// How managers of different ages say that a process is in none.
bool IsNoSession(const BusMessage& answer) noexcept
{
    return answer.IsError("org.freedesktop.login1.NoSessionForPID")
        || answer.IsError("org.freedesktop.login1.NoSuchSession") || answer.IsError("System.Error.ENXIO");
}

bool ReadState(const BusMessage& message, bool& isClosing) noexcept
{
    const char* state = nullptr;
    const bool isRead = message.Read(state);
    isClosing = isRead && std::strcmp(state, "closing") == 0;
    return isRead;
}

bool ReadProperty(const BusMessage& message, std::string_view name, Reading& reading) noexcept
{
    const auto readFlag = [&](bool& flag) {
        return message.Enter('v', "b") && message.Read(flag) && message.Exit();
    };
    if (name == "Active")
        return readFlag(reading.isActive);
    if (name == "Remote")
        return readFlag(reading.isRemote);
    if (name == "LockedHint")
        return readFlag(reading.isLockHinted);
    if (name == "Id")
        return message.Enter('v', "s") && ReadName(message, reading.number) && message.Exit();
    if (name == "State")
        return message.Enter('v', "s") && ReadState(message, reading.isClosing) && message.Exit();
    return message.Skip("v");
}

bool ReadProperties(const BusMessage& message, Reading& reading) noexcept
{
    if (!message.Enter('a', "{sv}"))
        return false;
    while (message.Enter('e', "sv")) {
        const char* name = nullptr;
        if (!message.Read(name) || !ReadProperty(message, name, reading) || !message.Exit())
            return false;
    }
    return message.Exit(); // fails before the end of the array
}

} // namespace

bool LoginManager::Ask() noexcept
{
    return Connect(false);
}

bool LoginManager::Follow() noexcept
{
    return Connect(true);
}

bool LoginManager::Connect(bool follow) noexcept
try {
    deadline = GetTickCount64() + timeout;
    owner.clear();
    if (!bus.Open()) {
        const bool isOurs = errno == ENOMEM || errno == EMFILE || errno == ENFILE;
        return isOurs ? FailWithErrno() : Fail(RPC_S_INVALID_BINDING);
    }
    const bool knows =
        (!follow
            || (AddMatch("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                         "arg0='org.freedesktop.login1'")
                && AddMatch("type='signal',sender='org.freedesktop.login1',"
                            "path_namespace='/org/freedesktop/login1'")))
        && ReadOwner() && (owner.empty() || Read());
    if (!knows)
        bus.Close();
    return knows || Fail(RPC_S_INVALID_BINDING);
} catch (const std::bad_alloc&) {
    bus.Close();
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

bool LoginManager::AddMatch(const char* rule)
{
    const BusMessage answer = Call(bus.MakeCall(busName, busPath, busName, "AddMatch"), rule);
    return answer && !answer.IsError(nullptr);
}

bool LoginManager::ReadOwner()
{
    const BusMessage answer = Call(bus.MakeCall(busName, busPath, busName, "GetNameOwner"), managerName);
    if (!answer)
        return false;
    if (answer.IsError("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return true;
    const char* name = nullptr;
    if (answer.IsError(nullptr) || !answer.Read(name)) // an error has a text to read, too
        return false;
    owner = name;
    return true;
}

// Signals that come before an answer are older than it, but are taken in behind it: then so is the last of
// them, which tells what the answer already has.
bool LoginManager::Read()
{
    return FindSession() && ReadSession() && ReadConsole();
}

// By number 0, which is whoever asks: that also holds in a container with process numbers of its own.
bool LoginManager::FindSession()
{
    const BusMessage answer =
        Call(MakeCall(managerPath, managerInterface, "GetSessionByPID"), std::uint32_t{0});
    if (!answer)
        return false;
    if (IsNoSession(answer))
        return FindDisplaySession();
    const char* found = nullptr;
    if (!answer.ReadPath(found))
        return false;
    path = found;
    isFoundByDisplay = false;
    return true;
}

bool LoginManager::FindDisplaySession()
{
    path.clear();
    isFoundByDisplay = true;
    const BusMessage answer =
        Call(MakeCall(managerPath, managerInterface, "GetUser"), std::uint32_t{::getuid()});
    if (!answer)
        return false;
    if (answer.IsError("org.freedesktop.login1.NoSuchUser"))
        return true;
    const char* user = nullptr;
    if (!answer.ReadPath(user))
        return false;
    const BusMessage display = GetProperty(user, userInterface, "Display");
    std::uint32_t number = 0;
    const char* session = nullptr;
    if (!display || !ReadSessionReference(display, number, session))
        return false;
    if (number != 0)
        path = session;
    return true;
}

bool LoginManager::ReadSession()
{
    Reading reading;
    if (!path.empty()) {
        const BusMessage answer = Call(MakeCall(path, propertiesInterface, "GetAll"), sessionInterface);
        if (!answer || !ReadProperties(answer, reading) || reading.number == 0)
            return false;
    }
    Adopt(reading);
    return true;
}

// A system without the seat has no console.
bool LoginManager::ReadConsole()
{
    const BusMessage answer = GetProperty(consolePath, seatInterface, "ActiveSession");
    std::uint32_t number = 0;
    const char* session = nullptr;
    if (!answer || (!answer.IsError(nullptr) && !ReadSessionReference(answer, number, session)))
        return false;
    state.console = number == 0 ? NO_CONSOLE_SESSION : number;
    return true;
}

void LoginManager::Adopt(Reading reading) noexcept
{
    if (reading.number != known.number)
        lock = LockJoin();
    if (reading.number != 0)
        lock.OnHint(reading.isLockHinted);
    known = reading;
    const bool isThere = known.number != 0 && !known.isClosing;
    state.session = isThere ? known.number : 0;
    state.isActive = isThere && known.isActive;
    state.isRemote = isThere && known.isRemote;
    state.isLocked = isThere && lock.IsLocked();
}

bool LoginManager::TakeNextSignal() noexcept
try {
    BusMessage signal;
    deadline = GetTickCount64() + timeout;
    const bool knows = bus.Receive(signal) && (!signal || TakeSignal(signal));
    if (!knows)
        bus.Close();
    return knows;
} catch (const std::bad_alloc&) {
    bus.Close();
    return false;
}

// Others than the bus and the manager can send what looks like these, to this connection alone.
bool LoginManager::TakeSignal(const BusMessage& signal)
{
    if (signal.IsFrom(busName))
        return !signal.IsSignal(busName, "NameOwnerChanged") || TakeOwner(signal);
    if (owner.empty() || !signal.IsFrom(owner.c_str()))
        return true;
    if (signal.IsSignal(managerInterface, "SessionNew")
        || signal.IsSignal(managerInterface, "SessionRemoved"))
        return Read();
    if (signal.IsSignal(propertiesInterface, "PropertiesChanged"))
        return TakeProperties(signal);
    const bool locks = signal.IsSignal(sessionInterface, "Lock");
    if (path == signal.GetPath() && (locks || signal.IsSignal(sessionInterface, "Unlock"))) {
        lock.OnSignal(locks);
        state.isLocked = state.session != 0 && lock.IsLocked();
    }
    return true;
}

bool LoginManager::TakeOwner(const BusMessage& signal)
{
    const char* name = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (!signal.Read(name) || !signal.Read(before) || !signal.Read(now))
        return false;
    if (std::strcmp(name, managerName) != 0)
        return true;
    owner = now;
    return owner.empty() || Read();
}

// What is told only as no longer known, or is odd, is read anew.
bool LoginManager::TakeProperties(const BusMessage& signal)
{
    const char* interface = nullptr;
    if (!signal.Read(interface))
        return true;
    if (std::strcmp(interface, seatInterface) == 0 && std::strcmp(signal.GetPath(), consolePath) == 0)
        return ReadConsole();
    if (std::strcmp(interface, userInterface) == 0 && isFoundByDisplay)
        return Read();
    if (std::strcmp(interface, sessionInterface) != 0 || path != signal.GetPath())
        return true;
    Reading reading = known;
    const char* unknown = nullptr;
    const bool isWhole = ReadProperties(signal, reading) && reading.number == known.number
        && signal.Enter('a', "s") && !signal.Read(unknown);
    if (!isWhole)
        return ReadSession();
    Adopt(reading);
    return true;
}

BusMessage LoginManager::MakeCall(
    const std::string& object, const char* interface, const char* member) const noexcept
{
    return bus.MakeCall(owner.c_str(), object.c_str(), interface, member);
}

BusMessage LoginManager::GetProperty(
    const std::string& object, const char* interface, const char* name) noexcept
{
    return Call(MakeCall(object, propertiesInterface, "Get"), interface, name);
}

} // namespace Platform
