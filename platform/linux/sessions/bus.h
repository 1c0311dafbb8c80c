// A connection with the system bus, for calls with a time-out and for signals.
#pragma once

#include "platform/linux/sessions/bell.h"
#include "platform/linux/sessions/client_library.h"

#include <deque>
#include <memory>

namespace Platform {

// A message of the bus, with what stands in it read from front to back. What does not read as the type asked
// for is refused: nothing is believed of what comes in.
class BusMessage {
public:
    BusMessage() = default;
    BusMessage(const ClientLibrary& itsLibrary, sd_bus_message* owned) noexcept
        : library(&itsLibrary), message(owned, itsLibrary.unrefMessage)
    {
    }
    explicit operator bool() const noexcept { return message != nullptr; }
    sd_bus_message* Get() const noexcept { return message.get(); }

    // Appends to a call.
    bool Add(const char* text) const noexcept { return library->appendBasic(Get(), 's', text) >= 0; }
    bool Add(std::uint32_t number) const noexcept { return library->appendBasic(Get(), 'u', &number) >= 0; }

    bool IsSignal(const char* interface, const char* member) const noexcept
    {
        return library->isSignal(Get(), interface, member) > 0;
    }
    // Null is any error.
    bool IsError(const char* name) const noexcept { return library->isMethodError(Get(), name) > 0; }
    bool IsReplyTo(std::uint64_t cookie) const noexcept
    {
        std::uint64_t replied = 0;
        return library->getReplyCookie(Get(), &replied) >= 0 && replied == cookie;
    }
    bool IsFrom(const char* name) const noexcept;
    // Of the object that sent a signal; empty if there is none.
    const char* GetPath() const noexcept
    {
        const char* const path = library->getPath(Get());
        return path ? path : "";
    }

    // The text stays the message's.
    bool Read(const char*& text) const noexcept { return library->readBasic(Get(), 's', &text) > 0; }
    bool ReadPath(const char*& path) const noexcept { return library->readBasic(Get(), 'o', &path) > 0; }
    bool Read(bool& truth) const noexcept
    {
        int number = 0;
        const bool isRead = library->readBasic(Get(), 'b', &number) > 0;
        truth = number != 0;
        return isRead;
    }
    // False also at the end of the container around.
    bool Enter(char type, const char* contents) const noexcept
    {
        return library->enterContainer(Get(), type, contents) > 0;
    }
    bool Exit() const noexcept { return library->exitContainer(Get()) >= 0; }
    bool Skip(const char* types) const noexcept { return library->skip(Get(), types) >= 0; }

private:
    const ClientLibrary* library = nullptr;
    std::unique_ptr<sd_bus_message, sd_bus_message* (*)(sd_bus_message*)> message{nullptr, nullptr};
};

// One thread at a time uses it. Once it is broken every operation fails, until it is opened again.
class BusConnection {
public:
    // One that can be woken: when the bell rings the end, what is under way fails.
    explicit BusConnection(Bell* itsBell = nullptr) noexcept : bell(itsBell) { }
    ~BusConnection() { Close(); }
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    // Does not wait for the bus. False with errno.
    bool Open() noexcept;
    void Close() noexcept;
    bool IsOpen() const noexcept { return bus != nullptr; }

    // A call, for arguments to be added. It never makes the bus start a service. Empty for want of memory.
    BusMessage MakeCall(
        const char* destination, const char* path, const char* interface, const char* member) const noexcept;
    // The answer, which may be an error; empty if there was none at this time (GetTickCount64). Signals that
    // come meanwhile wait for Receive.
    BusMessage Call(const BusMessage& call, std::uint64_t deadline) noexcept;
    // The next signal, in the order of their coming, or empty. False when the connection is broken.
    bool Receive(BusMessage& signal) noexcept;
    // Sleeps until there is something to receive, the bell rings, or that time has come. False when the bell
    // rings the end, or for a failure of the system.
    bool Wait(std::uint64_t until) noexcept;

private:
    bool Process(BusMessage& message) noexcept;
    bool Sleep(std::uint64_t until) noexcept;
    int MillisecondsTo(std::uint64_t until) const noexcept;

    Bell* const bell;
    const ClientLibrary* library = nullptr;
    sd_bus* bus = nullptr;
    std::deque<BusMessage> waiting;
};

} // namespace Platform
