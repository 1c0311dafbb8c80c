// What a wait is for: handles, and behind them the messages of the thread, if it wants them.
#pragma once

#include "platform/linux/handles/handle_table.h"
#include "platform/linux/messages/thread_queue.h"
#include "platform/waits.h"

namespace Platform {

constexpr bool IsNamed(ObjectKind kind)
{
    return kind == ObjectKind::NamedEvent || kind == ObjectKind::NamedMutex;
}
constexpr KindSet waitableKinds(
    ObjectKind::Event, ObjectKind::Mutex, ObjectKind::Thread, ObjectKind::NamedEvent, ObjectKind::NamedMutex);

// Objects are found when the wait comes to them, for most waits end before the last one; from then on they
// are counted until the wait is over.
class WaitObjects {
public:
    // `queue` may be null.
    WaitObjects(std::uint32_t count, const Handle* itsHandles, ThreadQueue* itsQueue) noexcept
        : total(count + (itsQueue ? 1 : 0)), handles(itsHandles), queue(itsQueue)
    {
    }
    ~WaitObjects()
    {
        for (std::uint32_t i = 0; i < found; ++i)
            if (objects[i] != queue)
                objects[i]->DropReferences(1);
    }
    WaitObjects(const WaitObjects&) = delete;
    WaitObjects& operator=(const WaitObjects&) = delete;

    // Whether all handles are good just now; false with the last error.
    bool Check() const noexcept
    {
        return CheckHandles(total - (queue ? 1 : 0), handles, waitableKinds, SYNCHRONIZE);
    }

    std::uint32_t Count() const noexcept { return total; }
    // Finds the object of the index, after those below; false with the last error if its handle was closed
    // meanwhile.
    bool Find(std::uint32_t index) noexcept { return index < found || FindNext(); }
    CountedObject& operator[](std::uint32_t index) const noexcept { return *objects[index]; }
    bool HaveNamed() const noexcept { return named > 0; }
    bool AreAllNamed() const noexcept { return named == found; }

private:
    bool FindNext() noexcept
    {
        if (queue && found == total - 1) {
            objects[found++] = queue; // the thread's own, and not counted
            return true;
        }
        CountedObject* const next = FindObject(handles[found], waitableKinds, SYNCHRONIZE).Detach();
        if (!next)
            return false;
        named += IsNamed(next->kind) ? 1 : 0;
        objects[found++] = next;
        return true;
    }

    const std::uint32_t total;
    const Handle* const handles;
    ThreadQueue* const queue;
    std::uint32_t found = 0;
    std::uint32_t named = 0; // of those that are found
    CountedObject* objects[MAXIMUM_WAIT_OBJECTS]; // NOLINT: filled as far as `found`
};

} // namespace Platform
