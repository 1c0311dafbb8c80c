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
    static ObjectRef<NamedObject> FindOrEnter(NamedObject& made);
    static bool OpenFile(NamedObject& object, const NamedRequest& request) noexcept;
    static bool IsAskedFor(const NamedObject& object, const NamedRequest& request) noexcept;

    // Guards the map. A reference is never dropped under it, for the last one takes it. Taken after an
    // object's own lock.
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

// The one of the name, perhaps not open yet; empty if the new one is now that. One whose last reference has
// just gone does not count: it closes its file beside the new one.
ObjectRef<NamedObject> OpenNames::FindOrEnter(NamedObject& made)
{
    const std::lock_guard guard(lock);
    const auto found = Names().find(made.name);
    if (found != Names().end() && found->second->AddReferenceIfAlive())
        return ObjectRef<NamedObject>::Adopt(found->second);
    Names().erase(made.name); // with a key that is a dying object's
    Names().emplace(made.name, &made);
    return {};
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
    using State = NamedObject::State;
    for (;;) {
        ObjectRef<NamedObject> made = MakeObject(request);
        ObjectRef<NamedObject> found; // outlives the lock
        std::unique_lock opening(made->opening); // before anybody else can find it
        found = FindOrEnter(*made);
        if (!found) {
            made->state = OpenFile(*made, request) ? State::Open : State::Failed;
            if (made->state == State::Open)
                return made;
            Close(*made);
            return {};
        }
        opening = std::unique_lock(found->opening);
        if (found->state == State::Open)
            return IsAskedFor(*found, request) ? found : ObjectRef<NamedObject>();
        // That was for another's request, and is no longer in the map.
    }
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
            if (const std::unique_lock opening(object->opening, std::try_to_lock); opening)
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
