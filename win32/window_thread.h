// The thread of a message monitor, with its window.
//
// It keeps no monitor alive: it ends when its own has gone, be there another one by then or not. So a new
// monitor may start while the thread of the last one is still in an observer.
#pragma once

#include "win32/message_monitor_factory.h"
#include <tessel/mt/thread.h>
#include <tessel/win32/message_queue.h>

namespace Win32 {

class MessageMonitorImpl::WindowThread : public Face<Mt::Runnable> {
public:
    explicit WindowThread(const FacePtr<MessageMonitorImpl>& itsMonitor) : monitor(itsMonitor) { }
    ~WindowThread() { EndWindow(); } // if it has never run
    WindowThread(const WindowThread&) = delete;
    WindowThread& operator=(const WindowThread&) = delete;

    // Makes queue and window, for Run has nobody to tell of a failure. Throws "msgmon-regcls-%d",
    // "msgmon-crewnd-%d".
    void Initialize() override;
    // Hands messages on until the monitor has gone, or the thread is interrupted.
    void Run() override;

    Platform::HWND GetWindow() const { return window; }

private:
    static std::int64_t OnMessage(
        Platform::HWND window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam);

    static std::vector<FacePtr<Observer>> AwaitObservers(MessageMonitorImpl& living, std::uint32_t message);
    void TellObservers(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const;
    void DispatchMessages() const;
    void EndWindow() noexcept;

    // That of the calling thread while it runs; for the window's procedure.
    static constinit thread_local const WindowThread* current;

    const WeakPtr<MessageMonitorImpl> monitor;
    FacePtr<Gui::MessageQueue> queue;
    Platform::HWND window = Platform::NULL_HANDLE; // stays as it is when the window has gone
    Platform::ATOM windowClass = 0; // while it has a share in it
};

} // namespace Win32
