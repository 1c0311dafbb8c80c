// The service that tells windows of changes, and answers what the session is.
#pragma once

#include "platform/linux/sessions/login_manager.h"

#include <mutex>
#include <vector>

namespace Platform {

// One for the process. While windows are registered a thread follows the login manager, and what is asked is
// answered from what it knows; otherwise whoever asks asks the manager himself, without a lock.
class SessionService {
public:
    // Never destroyed: the thread may run on while the process ends.
    static SessionService& Get() noexcept;

    bool Register(HWND window) noexcept;
    bool UnRegister(HWND window) noexcept;
    // False with the last error if it is not known at present: then it is what was last known.
    bool GetState(SessionState& out) noexcept;

private:
    struct Registration {
        Told told;
        std::uint32_t count; // how often the window is registered
        std::uint64_t tellAt; // not before
    };

    bool Start(HWND window) noexcept;
    void Stop() noexcept;
    bool Ask(LoginManager& asked, bool follow) noexcept;
    std::vector<Registration>::iterator FindRegistration(HWND window) noexcept;
    bool Add(HWND window) noexcept;
    void Serve() noexcept;
    std::uint64_t Publish() noexcept;

    // Whoever registers or unregisters, one at a time; also while the first one waits for the manager, and
    // the last one for the end of the thread. `lock` is taken under it, and nothing of it by the thread.
    std::mutex starting;
    Bell bell;
    LoginManager manager{&bell}; // the thread's while it runs
    pthread_t thread{};
    std::uint32_t process = 0; // the thread's

    std::mutex lock; // guards what follows; messages are posted under it
    bool isRunning = false;
    bool isCurrent = false; // whether `state` holds now
    SessionState state;
    std::uint64_t askAgainAt = 0; // without the thread
    std::vector<Registration> registrations;
};

} // namespace Platform
