// "CID_Win32::SessionChangeBlocker".
#pragma once

#include "win32/library.h"
#include <tessel/mt/event.h>
#include <tessel/mt/timer.h>
#include <tessel/object/class_factory.h>
#include <tessel/win32/session_change_blocker.h>

namespace Win32 {

// It does not state its condition (Mt::Win32::BlockerInfo): in a composite wait it has a thread of its own.
class SessionChangeBlockerImpl : public Face<SessionChangeBlocker, MessageMonitor::Observer> {
public:
    static constexpr const char16_t* clsid = sessionChangeBlockerClass;

    SessionChangeBlockerImpl();

    void Block() override;
    bool IsConsoleSession() override { return onConsole; }
    bool IsRemoteSession() override { return remote; }
    std::int32_t GetSessionState() override;
    bool Update() override;
    bool CanSeeTransition(std::int32_t from, std::int32_t to) override;

    // On the window thread.
    void OnMessage(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) override;

private:
    void Wait();
    std::int32_t LookUpState();
    std::int32_t GetLogonLockState();
    void OpenLogonLock();

    const FacePtr<Library> library;
    const FacePtr<Mt::TimeBasedBlocker> timer;
    // With notifications, set by OnMessage and never changed; without, the logon lock, once it is there.
    FacePtr<Mt::EventBasedBlocker> wakeEvent;
    bool onConsole;
    bool remote;
    std::int32_t sessionState;
    bool registered = false; // once, and then for ever
};

using TerminalFactory = Object::ClassFactory<SessionChangeBlockerImpl>;

} // namespace Win32
