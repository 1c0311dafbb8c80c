#include "platform/linux/named/named_object.h"

#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/named/named_event.h"
#include "platform/linux/named/named_mutex.h"

#include <map>
#include <mutex>
#include <new>

namespace Platform {

// The names that this process has open. Not counted: an object takes itself out at its end.
class OpenNames {
public:
    static ObjectRef<NamedObject> Open(const NamedRequest& request);
    static void Close(NamedObject& object) noexcept;
    // For the end of the process, where nobody closes the handles that are left.
    static void LeaveAll() noexcept;

private:
    static std::map<std::u16string_view, NamedObject*>& Names() noexcept;
    static ObjectRef<NamedObject> FindOpen(std::u16string_view name) noexcept;
    static bool OpenFile(NamedObject& object, const NamedRequest& request) noexcept;
    static bool IsAskedFor(const NamedObject& object, const NamedRequest& request) noexcept;

    // Guards the map, and that a name is opened once. A reference is never dropped under it, for the last one
    // takes it; other processes are waited for, as long as they open or close this name.
    static constinit std::mutex lock;
};
constinit std::mutex OpenNames::lock;

namespace {

ObjectRef<NamedObject> MakeObject(const NamedRequest& request)
{
    NamedObject* made = nullptr;
    if (request.kind == NamedKind::Mutex)
        made = new NamedMutex(request.name);
    else
        made = new NamedEvent(request.name);
    return ObjectRef<NamedObject>::Adopt(made);
}

} // namespace

NamedObject::~NamedObject()
{
    OpenNames::Close(*this);
}

// Never destroyed: names are closed while the process ends.
std::map<std::u16string_view, NamedObject*>& OpenNames::Names() noexcept
{
    using Map = std::map<std::u16string_view, NamedObject*>;
    alignas(Map) static std::byte room[sizeof(Map)];
    static Map* const made = new (room) Map;
    return *made;
}

// One whose last reference has just gone does not count: it closes its file beside the new one.
ObjectRef<NamedObject> OpenNames::FindOpen(std::u16string_view name) noexcept
{
    const auto found = Names().find(name);
    return found != Names().end() && found->second->AddReferenceIfAlive()
        ? ObjectRef<NamedObject>::Adopt(found->second)
        : ObjectRef<NamedObject>();
}

// True with the last error as CreateEventW tells it.
bool OpenNames::OpenFile(NamedObject& object, const NamedRequest& request) noexcept
{
    bool made = false;
    const SharedFile::NewObject missing{
        request.kind, request.isSignalled ? NamedEvent::signalledWord : 0, request.owner != nullptr};
    if (!object.file.Open(object.name, request.mode, missing, &made))
        return false;
    object.shared = object.file.Get();
    if (!IsAskedFor(object, request))
        return false;
    if (made && request.owner)
        static_cast<NamedMutex&>(object).BeginOwned(*request.owner);
    SetLastError(made ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return true;
}

bool OpenNames::IsAskedFor(const NamedObject& object, const NamedRequest& request) noexcept
{
    SetLastError(ERROR_ALREADY_EXISTS);
    const bool isMutex = object.shared->kind == NamedKind::Mutex;
    return isMutex == (request.kind == NamedKind::Mutex) || Fail(ERROR_INVALID_HANDLE);
}

ObjectRef<NamedObject> OpenNames::Open(const NamedRequest& request)
{
    ObjectRef<NamedObject> made = MakeObject(request);
    ObjectRef<NamedObject> found;
    const std::lock_guard guard(lock); // goes before the two references
    found = FindOpen(made->name);
    if (found)
        return IsAskedFor(*found, request) ? found : ObjectRef<NamedObject>();
    Names().erase(made->name); // with a key that is a dying object's
    const auto place = Names().emplace(made->name, made.Get()).first; // before what must not be undone
    if (OpenFile(*made, request))
        return made;
    Names().erase(place);
    return {};
}

void OpenNames::Close(NamedObject& object) noexcept
{
    const std::lock_guard guard(lock);
    const auto present = Names().find(object.name);
    if (present != Names().end() && present->second == &object)
        Names().erase(present);
}

void OpenNames::LeaveAll() noexcept
{
    const std::unique_lock attempt(lock, std::try_to_lock); // not at the price of hanging here
    if (attempt)
        for (const auto& [name, object] : Names())
            object->file.UnlinkIfAlone();
}

namespace {
[[gnu::destructor(101)]] void LeaveNames()
{
    OpenNames::LeaveAll();
}
} // namespace

ObjectRef<NamedObject> OpenNamed(const NamedRequest& request) noexcept
try {
    return OpenNames::Open(request);
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return {};
}

} // namespace Platform
