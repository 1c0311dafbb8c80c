#include "platform/linux/sessions/bus.h"

#include "platform/kernel.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

namespace Platform {

namespace {

constexpr std::size_t waitingLimit = 1000; // of signals that come before an answer

} // namespace

bool BusMessage::IsFrom(const char* name) const noexcept
{
    const char* const sender = library->getSender(Get());
    return sender && std::strcmp(sender, name) == 0;
}

bool BusConnection::Open() noexcept
{
    Close();
    library = FindClientLibrary();
    errno = ENOENT;
    return library && Seam::OpenSystemBus(*library, &bus) == 0;
}

void BusConnection::Close() noexcept
{
    waiting.clear();
    if (!bus)
        return;
    library->close(bus); // without a wait for what is still to be sent
    library->unref(bus);
    bus = nullptr;
}

BusMessage BusConnection::MakeCall(
    const char* destination, const char* path, const char* interface, const char* member) const noexcept
{
    sd_bus_message* made = nullptr;
    if (!bus || library->newMethodCall(bus, &made, destination, path, interface, member) < 0)
        return {};
    BusMessage call(*library, made);
    return library->setAutoStart(made, 0) < 0 ? BusMessage() : std::move(call);
}

// The library's own waits for an answer begin with one for the bus to accept the connection, which has
// another time-out. So the answer is told by its number here.
BusMessage BusConnection::Call(const BusMessage& call, std::uint64_t deadline) noexcept
try {
    std::uint64_t cookie = 0;
    if (!bus || !call || library->send(bus, call.Get(), &cookie) < 0)
        return {};
    for (;;) {
        BusMessage message;
        if (!Process(message))
            return {};
        if (message && message.IsReplyTo(cookie))
            return message;
        if (GetTickCount64() >= deadline || (!message && !Sleep(deadline)))
            return {};
        if (message && message.IsSignal(nullptr, nullptr)) {
            if (waiting.size() == waitingLimit)
                return {};
            waiting.push_back(std::move(message));
        }
    }
} catch (const std::bad_alloc&) {
    return {};
}

bool BusConnection::Receive(BusMessage& signal) noexcept
{
    if (!waiting.empty()) {
        signal = std::move(waiting.front());
        waiting.pop_front();
        return true;
    }
    do {
        if (!Process(signal))
            return false;
    } while (signal && !signal.IsSignal(nullptr, nullptr));
    return true;
}

// The next message that has come in, or empty.
bool BusConnection::Process(BusMessage& message) noexcept
{
    message = BusMessage();
    while (bus) {
        sd_bus_message* received = nullptr;
        const int result = library->process(bus, &received);
        if (received)
            message = BusMessage(*library, received);
        if (result < 0)
            return false;
        if (received || result == 0)
            return true;
    }
    return false;
}

bool BusConnection::Wait(std::uint64_t until) noexcept
{
    return Sleep(waiting.empty() ? until : 0);
}

bool BusConnection::Sleep(std::uint64_t until) noexcept
{
    pollfd descriptors[2] = {{-1, 0, 0}, {-1, 0, 0}}; // those below 0 are passed over
    if (bus) {
        const int events = library->getEvents(bus);
        descriptors[0].fd = library->getFd(bus);
        descriptors[0].events = static_cast<short>(events);
        if (events < 0) // it is broken, which the next step of work tells
            until = 0;
    }
    if (bell) {
        descriptors[1].fd = bell->GetDescriptor();
        descriptors[1].events = POLLIN;
    }
    if (Seam::Poll(descriptors, 2, MillisecondsTo(until)) < 0 && errno != EINTR)
        return false;
    if (!bell)
        return true;
    if (descriptors[1].revents)
        bell->Silence();
    return !bell->IsTheEnd();
}

// Rounded up; the library may want to be asked earlier.
int BusConnection::MillisecondsTo(std::uint64_t until) const noexcept
{
    std::uint64_t microseconds = 0;
    if (bus && library->getTimeout(bus, &microseconds) > 0)
        until = std::min(until, microseconds / 1000 + 1);
    const std::uint64_t now = GetTickCount64();
    return until <= now ? 0 : static_cast<int>(std::min<std::uint64_t>(until - now, INT_MAX));
}

} // namespace Platform
