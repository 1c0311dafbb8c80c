// The session services of the system, bound at run time, and what all session blockers of the process share.
#pragma once

#include "platform/modules.h"
#include "platform/sessions.h"
#include <tessel/base/critical_section.h>
#include <tessel/win32/message_monitor.h>

#include <atomic>
#include <cstdint>

namespace Win32 {

// It is told of session changes itself, from before the window is registered: what comes while no blocker
// listens is not lost.
class Library : public Face<MessageMonitor::Observer> {
public:
    // That of the process. Throws "wtsexp:%s:err:%d" and "wtsexp:%s:err%d", tag "win32".
    static FacePtr<Library> Get();

    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool CanNotify() const noexcept { return registerNotification != nullptr; }
    // One of the states of SessionChangeBlocker; loggedOff while it is not known.
    std::int32_t GetSessionState();
    void OnSessionChange(std::uint64_t wParam);
    void OnMessage(std::uint32_t, std::uint64_t wParam, std::int64_t) override { OnSessionChange(wParam); }
    // Registers the monitor's window, unless it is, and then the observer for session changes. False if the
    // window cannot be registered yet. Throws "wtsrsn err %d".
    bool EnsureNotification(const FacePtr<MessageMonitor::Observer>& observer);
    bool IsOnConsole() const noexcept;

private:
    template <class Function>
    using Entry = Function*; // null if it is missing

    // A load that is taken back.
    struct LoadedModule {
        ~LoadedModule()
        {
            if (handle != Platform::NULL_MODULE)
                Platform::FreeLibrary(handle);
        }
        Platform::Module handle;
    };

    void RegisterWindow();
    void ReadSessionId() noexcept;
    std::int32_t QueryState() const noexcept;

    const LoadedModule module;
    std::atomic<std::uint32_t> sessionId{0}; // 0 is none, or not known yet
    std::atomic<bool> isListening{false};
    std::atomic<Platform::HWND> notifiedWindow{Platform::NULL_HANDLE};
    Entry<decltype(Platform::WTSGetActiveConsoleSessionId)> getActiveConsoleSessionId = nullptr;
    Entry<decltype(Platform::ProcessIdToSessionId)> processIdToSessionId = nullptr;
    Entry<decltype(Platform::WTSRegisterSessionNotification)> registerNotification = nullptr;
    Entry<decltype(Platform::WTSUnRegisterSessionNotification)> unregisterNotification = nullptr;
    Entry<decltype(Platform::WTSQuerySessionInformationW)> querySessionInformation = nullptr;
    Entry<decltype(Platform::WTSFreeMemory)> freeMemory = nullptr;
    FacePtr<MessageMonitor> messageMonitor;
    CriticalSection stateLock; // guards sessionState; nothing is called under it
    std::int32_t sessionState;
};

} // namespace Win32
