// A message bus of the benchmark's own with a login manager on it: one session, that of this process, which
// can be locked and unlocked.
#pragma once

#include "require.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// The system's client library, by its own names.
struct sd_bus;
struct sd_bus_message;
template <class Function>
Function* ClientEntry(const char* name)
{
    static void* const library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    Require(library != nullptr, "there is no libsystemd.so.0");
    auto* const entry = reinterpret_cast<Function*>(::dlsym(library, name));
    Require(entry != nullptr, name);
    return entry;
}
inline auto* const busOpen = ClientEntry<int(sd_bus**)>("sd_bus_open_system");
inline auto* const busRequestName =
    ClientEntry<int(sd_bus*, const char*, std::uint64_t)>("sd_bus_request_name");
inline auto* const busFlush = ClientEntry<int(sd_bus*)>("sd_bus_flush");
inline auto* const busFlushCloseUnref = ClientEntry<sd_bus*(sd_bus*)>("sd_bus_flush_close_unref");
inline auto* const busGetDescriptor = ClientEntry<int(sd_bus*)>("sd_bus_get_fd");
inline auto* const busProcess = ClientEntry<int(sd_bus*, sd_bus_message**)>("sd_bus_process");
inline auto* const busWait = ClientEntry<int(sd_bus*, std::uint64_t)>("sd_bus_wait");
inline auto* const busCallMethod = ClientEntry<int(sd_bus*, const char*, const char*, const char*,
    const char*, void*, sd_bus_message**, const char*, ...)>("sd_bus_call_method");
inline auto* const busEmitSignal =
    ClientEntry<int(sd_bus*, const char*, const char*, const char*, const char*, ...)>("sd_bus_emit_signal");
inline auto* const messageUnref = ClientEntry<sd_bus_message*(sd_bus_message*)>("sd_bus_message_unref");
inline auto* const messageIsCall =
    ClientEntry<int(sd_bus_message*, const char*, const char*)>("sd_bus_message_is_method_call");
inline auto* const messageIsSignal =
    ClientEntry<int(sd_bus_message*, const char*, const char*)>("sd_bus_message_is_signal");
inline auto* const replyToCall =
    ClientEntry<int(sd_bus_message*, const char*, ...)>("sd_bus_reply_method_return");

// The daemon of the bus, which becomes the system's one for this process and its client library.
class PrivateBus {
public:
    PrivateBus()
    {
        const std::string socket = "unix:path=" + (folder / "bus").string();
        std::ofstream(folder / "bus.conf")
            << "<busconfig><type>custom</type><listen>" << socket
            << "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
               "<allow eavesdrop=\"false\"/><allow own=\"*\"/><allow user=\"*\"/></policy></busconfig>";
        daemon = ::fork();
        if (daemon == 0) {
            const std::string option = "--config-file=" + (folder / "bus.conf").string();
            ::execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", option.c_str(), nullptr);
            ::_exit(1);
        }
        for (int i = 0; i < 500 && !std::filesystem::exists(folder / "bus"); ++i)
            ::usleep(10'000);
        Require(std::filesystem::exists(folder / "bus"), "dbus-daemon has not started");
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", socket.c_str(), 1);
    }
    ~PrivateBus()
    {
        ::kill(daemon, SIGTERM);
        ::waitpid(daemon, nullptr, 0);
        std::filesystem::remove_all(folder);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

private:
    static std::filesystem::path MakeFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tessel-bus-XXXXXX").string();
        Require(::mkdtemp(name.data()) != nullptr, "no folder for the bus");
        return name;
    }

    const std::filesystem::path folder = MakeFolder();
    pid_t daemon;
};

constexpr const char* sessionPath = "/org/freedesktop/login1/session/_32";
constexpr const char* sessionFace = "org.freedesktop.login1.Session";

class LoginManager {
public:
    LoginManager()
    {
        Require(busOpen(&bus) >= 0 && busRequestName(bus, "org.freedesktop.login1", 0) >= 0,
            "no login manager on the bus");
        thread = std::thread([this] { Serve(); });
    }
    ~LoginManager()
    {
        ::eventfd_write(end, 1);
        thread.join();
        ::close(end);
        busFlushCloseUnref(bus);
    }
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;

    void Emit(const char* signal)
    {
        const std::lock_guard guard(lock);
        busEmitSignal(bus, sessionPath, sessionFace, signal, "");
        busFlush(bus);
    }

private:
    void Serve()
    {
        for (;;) {
            pollfd entries[] = {{busGetDescriptor(bus), POLLIN, 0}, {end, POLLIN, 0}};
            ::poll(entries, 2, -1);
            if (entries[1].revents != 0)
                return;
            const std::lock_guard guard(lock);
            sd_bus_message* call = nullptr;
            while (busProcess(bus, &call) > 0)
                if (call) {
                    Answer(call);
                    messageUnref(call);
                }
            busFlush(bus);
        }
    }

    static void Answer(sd_bus_message* call)
    {
        constexpr const char* manager = "org.freedesktop.login1.Manager";
        constexpr const char* properties = "org.freedesktop.DBus.Properties";
        if (messageIsCall(call, manager, "GetSessionByPID") > 0)
            replyToCall(call, "o", sessionPath);
        else if (messageIsCall(call, manager, "GetSeat") > 0)
            replyToCall(call, "o", "/org/freedesktop/login1/seat/seat0");
        else if (messageIsCall(call, properties, "GetAll") > 0)
            replyToCall(call, "a{sv}", 5, "Id", "s", "2", "Active", "b", 1, "Remote", "b", 0, "State", "s",
                "active", "LockedHint", "b", 0);
        else if (messageIsCall(call, properties, "Get") > 0) // the seat's active session
            replyToCall(call, "v", "(so)", "2", sessionPath);
    }

    std::mutex lock; // guards the connection
    sd_bus* bus = nullptr;
    const int end = ::eventfd(0, EFD_CLOEXEC);
    std::thread thread;
};
