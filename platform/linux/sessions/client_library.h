// The client library of the system bus, as far as it is used here. It is neither linked nor needed to build:
// these are its functions and types, declared as its stable interface has them.
//
// It is sd-bus, which libsystemd.so.0 and libelogind.so.0 both offer: every system with a login manager has
// one of them. libdbus-1.so.3 is as widespread, but it ends the process on misuse and, by default, when the
// bus goes away, has state of the process that every user shares, and aborts where memory is wanted; sd-bus
// answers with an errno, and its connection is an object that knows nothing of others.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform {

struct sd_bus;
struct sd_bus_message;

// Results below 0 are a negated errno.
struct ClientLibrary {
    // To the address in DBUS_SYSTEM_BUS_ADDRESS, which a privileged process does not read, or the usual one.
    // Connects, but does not wait until the bus answers.
    int (*openSystem)(sd_bus** bus);
    void (*close)(sd_bus* bus);
    sd_bus* (*unref)(sd_bus* bus);

    // What to wait for: a descriptor, its events for poll, and a point on the monotonic clock in
    // microseconds.
    int (*getFd)(sd_bus* bus);
    int (*getEvents)(sd_bus* bus);
    int (*getTimeout)(sd_bus* bus, std::uint64_t* until);
    // One step of work. 0 if there is none; a message that came in, if any, is the caller's.
    int (*process)(sd_bus* bus, sd_bus_message** message);
    int (*send)(sd_bus* bus, sd_bus_message* message, std::uint64_t* cookie);

    int (*newMethodCall)(sd_bus* bus, sd_bus_message** message, const char* destination, const char* path,
        const char* interface, const char* member);
    int (*setAutoStart)(sd_bus_message* message, int automatic);
    int (*appendBasic)(sd_bus_message* message, char type, const void* value);
    sd_bus_message* (*unrefMessage)(sd_bus_message* message);

    int (*getReplyCookie)(sd_bus_message* message, std::uint64_t* cookie);
    int (*isMethodError)(sd_bus_message* message, const char* name);
    int (*isSignal)(sd_bus_message* message, const char* interface, const char* member);
    const char* (*getSender)(sd_bus_message* message);
    const char* (*getPath)(sd_bus_message* message);
    // 0 at the end of a container, and below 0 where something else stands.
    int (*readBasic)(sd_bus_message* message, char type, void* value);
    int (*enterContainer)(sd_bus_message* message, char type, const char* contents);
    int (*exitContainer)(sd_bus_message* message);
    int (*skip)(sd_bus_message* message, const char* types);
};

// Null if the system has none. Once found it stays, and finding it takes no lock any more; before, it takes
// that of the loads, which goes ahead of all others.
const ClientLibrary* FindClientLibrary() noexcept;

} // namespace Platform
