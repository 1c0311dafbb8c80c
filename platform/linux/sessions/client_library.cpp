#include "platform/linux/sessions/client_library.h"

#include "platform/linux/modules/module_list.h"
#include "platform/linux/sessions/calls.h"

#include <atomic>
#include <mutex>

namespace Platform {

namespace {

template <class Function>
bool Find(void* library, const char* name, Function*& function) noexcept
{
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    return function != nullptr;
}

bool Bind(void* library, ClientLibrary& bound) noexcept
{
    return Find(library, "sd_bus_open_system", bound.openSystem) && Find(library, "sd_bus_close", bound.close)
        && Find(library, "sd_bus_unref", bound.unref) && Find(library, "sd_bus_get_fd", bound.getFd)
        && Find(library, "sd_bus_get_events", bound.getEvents)
        && Find(library, "sd_bus_get_timeout", bound.getTimeout)
        && Find(library, "sd_bus_process", bound.process) && Find(library, "sd_bus_send", bound.send)
        && Find(library, "sd_bus_message_new_method_call", bound.newMethodCall)
        && Find(library, "sd_bus_message_set_auto_start", bound.setAutoStart)
        && Find(library, "sd_bus_message_append_basic", bound.appendBasic)
        && Find(library, "sd_bus_message_unref", bound.unrefMessage)
        && Find(library, "sd_bus_message_get_reply_cookie", bound.getReplyCookie)
        && Find(library, "sd_bus_message_is_method_error", bound.isMethodError)
        && Find(library, "sd_bus_message_is_signal", bound.isSignal)
        && Find(library, "sd_bus_message_get_sender", bound.getSender)
        && Find(library, "sd_bus_message_get_path", bound.getPath)
        && Find(library, "sd_bus_message_read_basic", bound.readBasic)
        && Find(library, "sd_bus_message_enter_container", bound.enterContainer)
        && Find(library, "sd_bus_message_exit_container", bound.exitContainer)
        && Find(library, "sd_bus_message_skip", bound.skip);
}

bool Load(ClientLibrary& bound) noexcept
{
    for (const char* const name : {"libsystemd.so.0", "libelogind.so.0"})
        if (void* const library = Seam::LoadForGood(name); library && Bind(library, bound))
            return true;
    return false;
}

} // namespace

const ClientLibrary* FindClientLibrary() noexcept
{
    static constinit std::atomic<const ClientLibrary*> found{nullptr};
    static constinit ClientLibrary bound{}; // written under the lock until it is found
    if (const ClientLibrary* const library = found.load(std::memory_order_acquire))
        return library;
    const std::lock_guard guard(loaderLock);
    if (!found.load(std::memory_order_relaxed) && Load(bound))
        found.store(&bound, std::memory_order_release);
    return found.load(std::memory_order_relaxed);
}

} // namespace Platform
