#include "win32/window_thread.h"

#include "mt/system_message.h"
#include <tessel/base/critical_section.h>
#include <tessel/base/error.h>

#include <new>

namespace Win32 {

namespace {

constexpr const char* tag = "win32";

// The window class is one for the process, and there while a window thread has a share in it: there may be
// several, the new monitor's and those of old ones that still end.
class SharedClass {
public:
    // Throws "msgmon-regcls-%d".
    Platform::ATOM Take(Platform::WNDPROC procedure)
    {
        const SectionLock lock(section);
        if (atom == 0)
            atom = Platform::RegisterClassW(procedure, u"tessel/msgmon");
        if (atom == 0)
            throw Error("msgmon-regcls-%d", tag, Platform::GetLastError());
        ++shares;
        return atom;
    }

    // Behind the end of the caller's window; but a thread that was interrupted before it ran may still be
    // about to end it, and then the class stays for the next one.
    void GiveBack() noexcept
    {
        const SectionLock lock(section);
        if (--shares == 0 && Platform::UnregisterClassW(atom))
            atom = 0;
    }

private:
    CriticalSection section; // guards both; only the platform is called under it
    Platform::ATOM atom = 0;
    std::uint32_t shares = 0;
};
constinit SharedClass sharedClass;

} // namespace

constinit thread_local const MessageMonitorImpl::WindowThread* MessageMonitorImpl::WindowThread::current =
    nullptr;

void MessageMonitorImpl::WindowThread::Initialize()
{
    queue = FacePtr<Gui::MessageQueue>(Clsid(Gui::messageQueueClass));
    const Platform::ATOM taken = sharedClass.Take(&OnMessage);
    window = Platform::CreateWindowExW(taken);
    if (window == Platform::NULL_HANDLE) {
        const std::uint32_t code = Platform::GetLastError();
        sharedClass.GiveBack();
        throw Error("msgmon-crewnd-%d", tag, code);
    }
    windowClass = taken;
}

void MessageMonitorImpl::WindowThread::Run()
{
    struct Ending { // whatever ends the loop
        WindowThread& self;
        ~Ending()
        {
            self.EndWindow();
            current = nullptr;
        }
    } const ending{*this};
    current = this;
    DispatchMessages();
}

// Between the look at the monitor and the wait it may go: then an interrupt or a message is on its way.
void MessageMonitorImpl::WindowThread::DispatchMessages() const
{
    while (!monitor.IsDead()) {
        queue->Block();
        Mt::Win32::SystemMessage message;
        queue->GetMessage(message);
        const Platform::MSG dispatched = Mt::ToPlatform(message);
        Platform::TranslateMessage(&dispatched);
        Platform::DispatchMessageW(&dispatched);
    }
}

std::int64_t MessageMonitorImpl::WindowThread::OnMessage(
    Platform::HWND window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam)
{
    current->TellObservers(message, wParam, lParam);
    return Platform::DefWindowProcW(window, message, wParam, lParam);
}

// What arrives while there is no memory for the list waits until there is, and is not lost.
std::vector<FacePtr<MessageMonitor::Observer>> MessageMonitorImpl::WindowThread::AwaitObservers(
    MessageMonitorImpl& living, std::uint32_t message)
{
    for (;;)
        try {
            return living.GetObservers(message);
        } catch (const std::bad_alloc&) {
            Platform::Sleep(1);
        }
}

// The monitor is held until the last observer has returned: so who drops its last reference on another thread
// waits for no observer, and can hold what observers want.
void MessageMonitorImpl::WindowThread::TellObservers(
    std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const
{
    const FacePtr<MessageMonitorImpl> living = monitor.Lock();
    if (!living)
        return;
    for (const FacePtr<Observer>& observer : AwaitObservers(*living, message))
        try {
            observer->OnMessage(message, wParam, lParam);
        } catch (const Error&) { // NOLINT(bugprone-empty-catch): nobody is there to be told
        }
}

void MessageMonitorImpl::WindowThread::EndWindow() noexcept
{
    if (windowClass == 0)
        return;
    // Fails behind the end of the thread, which has taken its windows along.
    Platform::DestroyWindow(window);
    sharedClass.GiveBack();
    windowClass = 0;
}

} // namespace Win32
