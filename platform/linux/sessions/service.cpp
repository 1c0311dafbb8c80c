#include "platform/linux/sessions/service.h"

#include "platform/errors.h"
#include "platform/linux/messages/window.h"
#include "platform/linux/suspension.h"

#include <algorithm>
#include <new>

namespace Platform {

namespace {

constexpr std::uint64_t never = ~std::uint64_t{0};
// Milliseconds.
constexpr std::uint32_t shortageDelay = 100; // until what the system is short of is wanted again
constexpr std::uint64_t refusedDelay = 1000; // until a full queue is tried again
constexpr std::uint64_t firstFollowDelay = 250; // doubled at each failure
constexpr std::uint64_t lastFollowDelay = 8000;
constexpr std::uint64_t answerServes = 8; // times as long as it took

} // namespace

SessionService& SessionService::Get() noexcept
{
    alignas(SessionService) static std::byte room[sizeof(SessionService)];
    static SessionService* const made = new (room) SessionService;
    return *made;
}

bool SessionService::Register(HWND window) noexcept
{
    const Inside inside;
    if (!Window::Find(window))
        return false;
    if (!FindClientLibrary()) // which has to be loaded before a lock is taken
        return Fail(RPC_S_INVALID_BINDING);
    const std::lock_guard one(starting);
    {
        const std::lock_guard guard(lock);
        const bool isKnown = isCurrent || (!isRunning && GetTickCount64() >= askAgainAt);
        if (!isKnown)
            return Fail(RPC_S_INVALID_BINDING);
        if (isRunning) {
            bell.Ring();
            return Add(window);
        }
    }
    return Start(window);
}

bool SessionService::UnRegister(HWND window) noexcept
{
    const Inside inside;
    const std::lock_guard one(starting);
    {
        const std::lock_guard guard(lock);
        const auto found = FindRegistration(window);
        if (found == registrations.end())
            return Fail(ERROR_INVALID_PARAMETER);
        if (--found->count == 0)
            registrations.erase(found);
        if (!registrations.empty())
            return true;
    }
    Stop();
    return true;
}

bool SessionService::GetState(SessionState& out) noexcept
{
    {
        const Inside inside;
        const std::lock_guard guard(lock);
        out = state;
        if (isRunning || GetTickCount64() < askAgainAt)
            return isCurrent || Fail(RPC_S_INVALID_BINDING);
    }
    LoginManager asked;
    if (!Ask(asked, false))
        return false;
    out = asked.GetState();
    return true;
}

// The thread takes over the connection with which the manager was asked, so it misses nothing.
bool SessionService::Start(HWND window) noexcept
{
    if (!bell.Open())
        return FailWithErrno();
    if (Ask(manager, true)) {
        const std::lock_guard guard(lock);
        const auto run = [](void* service) -> void* {
            static_cast<SessionService*>(service)->Serve();
            return nullptr;
        };
        if (Add(window)) {
            process = GetCurrentProcessId();
            isRunning = Seam::StartDeafThread(&thread, run, this) == 0 || FailWithErrno();
            if (isRunning)
                return true;
            registrations.clear();
        }
    }
    manager.Close();
    bell.Close();
    return false;
}

void SessionService::Stop() noexcept
{
    if (process == GetCurrentProcessId()) { // a child that ends has no thread, and leaves its parent's alone
        bell.RingTheEnd();
        ::pthread_join(thread, nullptr);
    }
    manager.Close();
    bell.Close();
    const std::lock_guard guard(lock);
    isRunning = false;
    askAgainAt = 0;
}

bool SessionService::Ask(LoginManager& asked, bool follow) noexcept
{
    const std::uint64_t begin = GetTickCount64();
    const bool knows =
        (follow ? asked.Follow() : asked.Ask()) && (asked.IsThere() || Fail(RPC_S_INVALID_BINDING));
    const std::uint64_t end = GetTickCount64();
    const Inside inside;
    const std::lock_guard guard(lock);
    if (isRunning)
        return knows;
    if (knows)
        state = asked.GetState();
    isCurrent = knows;
    askAgainAt = end + (end - begin + 1) * answerServes;
    return knows;
}

std::vector<SessionService::Registration>::iterator SessionService::FindRegistration(HWND window) noexcept
{
    return std::ranges::find(
        registrations, window, [](const Registration& made) { return made.told.GetWindow(); });
}

// Whoever comes to a window that is registered already has missed what it was told of the lock.
bool SessionService::Add(HWND window) noexcept
try {
    const auto found = FindRegistration(window);
    if (found == registrations.end()) {
        registrations.push_back({Told(window, state), 1, 0});
    } else {
        ++found->count;
        found->told.RepeatLock();
    }
    return true;
} catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

void SessionService::Serve() noexcept
{
    std::uint64_t delay = firstFollowDelay;
    std::uint64_t followAt = 0;
    while (!bell.IsTheEnd()) {
        const bool knows = manager.IsFollowing() ? manager.TakeNextSignal()
                                                 : GetTickCount64() >= followAt && manager.Follow();
        if (knows)
            delay = firstFollowDelay;
        else if (GetTickCount64() >= followAt) {
            followAt = GetTickCount64() + delay;
            delay = std::min(delay * 2, lastFollowDelay);
        }
        const std::uint64_t tellAt = Publish();
        if (!manager.Wait(manager.IsFollowing() ? tellAt : std::min(tellAt, followAt)) && !bell.IsTheEnd())
            Sleep(shortageDelay);
    }
}

// Tells the windows, and gives the time at which there is more to be told.
std::uint64_t SessionService::Publish() noexcept
{
    const std::lock_guard guard(lock);
    state = manager.GetState();
    isCurrent = manager.IsThere();
    if (!isCurrent)
        return never;
    const std::uint64_t now = GetTickCount64();
    std::uint64_t next = never;
    for (Registration& registration : registrations) {
        if (now >= registration.tellAt && !registration.told.Tell(state))
            registration.tellAt = now + refusedDelay;
        if (now < registration.tellAt)
            next = std::min(next, registration.tellAt);
    }
    return next;
}

} // namespace Platform
