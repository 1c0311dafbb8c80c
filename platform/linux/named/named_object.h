// An object with a name, as this process has it: one for each name, however many handles there are.
#pragma once

#include "platform/linux/handles/counted_object.h"
#include "platform/linux/named/shared_file.h"
#include "platform/linux/waits/waiter.h"

#include <memory>
#include <mutex>
#include <string>

namespace Platform {

// What a wait knows of a named member between its looks.
struct NamedLook {
    std::uint32_t word; // as it was at the first look, and then as it was slept on
    bool hasSlept;
};

// The steps that a wait makes on a member. Nothing here is ever waited for: a step that fails is tried again
// when the word of SleepOn has changed.
class NamedObject : public CountedObject {
public:
    ~NamedObject() override;

    // The first look of a wait.
    virtual NamedLook Begin() const noexcept = 0;
    // Whether Take would most likely succeed.
    virtual bool IsReady(const Waiter& waiter, const NamedLook& look) const noexcept = 0;
    virtual bool Take(Waiter& waiter, const NamedLook& look) noexcept = 0;
    // Announces a sleeper. The word to sleep on, and in `look.word` the value; null if the object is ready.
    virtual std::atomic<std::uint32_t>* SleepOn(NamedLook& look) noexcept = 0;
    // The wait is over, and this member was not taken.
    virtual void Leave(const NamedLook& look) noexcept = 0;

    // Whether there is one wake only for several sleepers, so that who sleeps has to look again now and then.
    bool NeedsLooks() const noexcept { return kind == ObjectKind::NamedMutex; }
    std::uint32_t SignallersProcessor() const noexcept
    {
        return shared->processor.load(std::memory_order_relaxed);
    }

protected:
    NamedObject(ObjectKind objectKind, std::u16string itsName) noexcept
        : CountedObject(objectKind), name(std::move(itsName))
    {
    }

    SharedObject* shared = nullptr; // set before anybody else has the object

private:
    friend class OpenNames;
    enum class State { Entered, Open, Failed };

    const std::u16string name;
    // Guards the next two until it is open: whoever else opens the name waits for that. Other processes are
    // waited for under it, as long as they open or close this name.
    std::mutex opening;
    State state = State::Entered;
    SharedFile file;
};

// The object of the name, which is made if there is none and `mode` says so. A mutex where an event is asked
// for, or the other way round, is ERROR_INVALID_HANDLE. On success the last error is ERROR_ALREADY_EXISTS or,
// for a new object, ERROR_SUCCESS. A new mutex belongs to `owner` if that is not null; a new event is set if
// `isSignalled`.
struct NamedRequest {
    const char16_t* name;
    NamedKind kind;
    SharedFile::Mode mode;
    bool isSignalled = false;
    Waiter* owner = nullptr;
};
ObjectRef<NamedObject> OpenNamed(const NamedRequest& request) noexcept;

} // namespace Platform
