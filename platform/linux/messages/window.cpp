#include "platform/linux/messages/window.h"

#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"
#include "platform/linux/suspension.h"
#include "platform/text.h"

#include <algorithm>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace Platform {

namespace {

constexpr ATOM firstAtom = 0xC000;
constexpr std::size_t atomCount = 0x4000;
constexpr std::size_t nameLimit = 255;

struct WindowClass {
    std::u16string name;
    WNDPROC procedure;
    std::size_t windows = 0;
};

// All there is. Never destroyed: threads post while the process ends.
struct Desktop {
    std::mutex lock; // guards both; a queue's lock and those of the handles are taken under it
    std::map<ATOM, WindowClass> classes;
    std::vector<ObjectRef<Window>> windows; // in the order of their making
};
Desktop& TheDesktop() noexcept
{
    alignas(Desktop) static std::byte room[sizeof(Desktop)];
    static Desktop* const made = new (room) Desktop;
    return *made;
}

ATOM FailClass(std::uint32_t code) noexcept
{
    SetLastError(code);
    return 0;
}
HWND FailWindow(std::uint32_t code) noexcept
{
    SetLastError(code);
    return NULL_HANDLE;
}

bool IsGoodName(const char16_t* name) noexcept
{
    return name && *name && std::u16string_view(name).size() <= nameLimit;
}

// The lowest that is free; for it the map is in their order.
ATOM FreeAtom(const std::map<ATOM, WindowClass>& classes) noexcept
{
    ATOM atom = firstAtom;
    for (const auto& entry : classes)
        if (entry.first == atom)
            ++atom;
    return atom;
}

// Ends windows, on the thread that owns them. First they leave the list, so that a broadcast meets none that
// is gone; then the handle goes, and whoever has found the window by it before posts before its messages are
// dropped, or is refused.
template <class Condition>
void EndWhere(Condition isMeant) noexcept
{
    Desktop& desktop = TheDesktop();
    for (;;) {
        ObjectRef<Window> ending;
        {
            const std::lock_guard guard(desktop.lock);
            const auto found = std::ranges::find_if(
                desktop.windows, [&](const ObjectRef<Window>& window) { return isMeant(*window); });
            if (found == desktop.windows.end())
                return;
            --desktop.classes.find((*found)->windowClass)->second.windows;
            ending = std::move(*found);
            desktop.windows.erase(found);
        }
        CloseHandleOfKind(ending->handle, ObjectKind::Window);
        ending->queue->Forget(*ending);
    }
}

std::uint32_t Now() noexcept
{
    return static_cast<std::uint32_t>(GetCoarseTickCount64());
}

bool Broadcast(MSG message) noexcept
{
    const std::lock_guard guard(TheDesktop().lock);
    bool haveAll = true;
    for (const ObjectRef<Window>& window : TheDesktop().windows) {
        message.hwnd = window->handle;
        haveAll = window->queue->Post(message, window.Get()) && haveAll;
    }
    return haveAll;
}

} // namespace

ObjectRef<Window> Window::Find(HWND handle) noexcept
{
    ObjectRef<Window> found = FindHandle<Window>(handle, 0);
    if (!found)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return found;
}

void Window::EndAllOf(const ThreadQueue& queue) noexcept
{
    EndWhere([&queue](const Window& window) { return window.queue.Get() == &queue; });
}

ATOM RegisterClassW(WNDPROC procedure, const char16_t* name) noexcept
try {
    const Inside inside;
    if (!procedure || !IsGoodName(name))
        return FailClass(ERROR_INVALID_PARAMETER);
    Desktop& desktop = TheDesktop();
    const std::lock_guard guard(desktop.lock);
    for (const auto& entry : desktop.classes)
        if (_wcsicmp(entry.second.name.c_str(), name) == 0)
            return FailClass(ERROR_CLASS_ALREADY_EXISTS);
    if (desktop.classes.size() == atomCount)
        return FailClass(ERROR_NOT_ENOUGH_MEMORY);
    const ATOM atom = FreeAtom(desktop.classes);
    desktop.classes.emplace(atom, WindowClass{name, procedure});
    return atom;
} catch (const std::bad_alloc&) {
    return FailClass(ERROR_NOT_ENOUGH_MEMORY);
}

bool UnregisterClassW(ATOM windowClass) noexcept
{
    const Inside inside;
    Desktop& desktop = TheDesktop();
    const std::lock_guard guard(desktop.lock);
    const auto found = desktop.classes.find(windowClass);
    if (found == desktop.classes.end())
        return Fail(ERROR_CLASS_DOES_NOT_EXIST);
    if (found->second.windows != 0)
        return Fail(ERROR_CLASS_HAS_WINDOWS);
    desktop.classes.erase(found);
    return true;
}

HWND CreateWindowExW(ATOM windowClass) noexcept
try {
    const Inside inside;
    ThreadQueue* const queue = ThreadQueue::Current();
    if (!queue)
        return NULL_HANDLE;
    Desktop& desktop = TheDesktop();
    const std::lock_guard guard(desktop.lock);
    const auto found = desktop.classes.find(windowClass);
    if (found == desktop.classes.end())
        return FailWindow(ERROR_CANNOT_FIND_WND_CLASS);
    queue->AddReferences(1);
    ObjectRef<ThreadQueue> own = ObjectRef<ThreadQueue>::Adopt(queue); // before what may throw
    const auto made =
        ObjectRef<Window>::Adopt(new Window(windowClass, found->second.procedure, std::move(own)));
    desktop.windows.push_back(made);
    made->handle = MakeHandle(made, 0);
    if (made->handle == NULL_HANDLE)
        desktop.windows.pop_back();
    else
        ++found->second.windows;
    return made->handle;
} catch (const std::bad_alloc&) {
    return FailWindow(ERROR_NOT_ENOUGH_MEMORY);
}

bool DestroyWindow(HWND handle) noexcept
{
    const Inside inside;
    const ObjectRef<Window> window = Window::Find(handle);
    if (!window)
        return false;
    if (!window->IsOfCallingThread())
        return Fail(ERROR_ACCESS_DENIED);
    EndWhere([&window](const Window& other) { return &other == window.Get(); });
    return true;
}

std::int64_t DefWindowProcW(HWND, std::uint32_t, std::uint64_t, std::int64_t) noexcept
{
    return 0;
}

bool TranslateMessage(const MSG*) noexcept
{
    return false;
}

std::int64_t DispatchMessageW(const MSG* message)
{
    WNDPROC procedure = nullptr;
    if (message->hwnd != NULL_HANDLE) {
        const Inside inside;
        const ObjectRef<Window> window = Window::Find(message->hwnd);
        if (window && window->IsOfCallingThread())
            procedure = window->procedure;
        else if (window)
            SetLastError(ERROR_ACCESS_DENIED);
    }
    return procedure ? procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

bool PostMessageW(HWND handle, std::uint32_t number, std::uint64_t wParam, std::int64_t lParam) noexcept
{
    const Inside inside;
    const MSG message{handle, number, wParam, lParam, Now(), 0, 0};
    if (handle == HWND_BROADCAST)
        return Broadcast(message);
    if (handle == NULL_HANDLE) {
        ThreadQueue* const own = ThreadQueue::Current();
        return own && own->Post(message, nullptr);
    }
    const ObjectRef<Window> window = Window::Find(handle);
    return window && window->queue->Post(message, window.Get());
}

} // namespace Platform
