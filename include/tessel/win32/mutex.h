// Mutexes of the system as blockers: between processes, by name.
#pragma once

#include <tessel/base/string.h>
#include <tessel/mt/blocker.h>
#include <tessel/object/face_ptr.h>

namespace Win32 {

// Owned by a thread, which may acquire it again and releases it as often. If mutex and interrupt are there at
// once the mutex counts, and the interrupt stays. One whose owner has ended without releasing it, or was
// killed, is acquired like any other. In a composite wait it matters which thread acquires it: see
// mt/multi_blocker.h.
struct Mutex : Face<Mt::Blocker> {
    static constexpr Iid iid = u"IID_Win32::Mutex"_iid;

    struct Creator;

    // Block acquires it. Throws "WFMO mtx %d", tag "win32".
    // Acquires it if that needs no waiting. Throws "WFSO mtx (tmout 0) %d".
    virtual bool TryLock() = 0;
    // By the thread that acquired it; for any other it does nothing.
    virtual void Unlock() = 0;
    // It stays the object's own.
    virtual ::Handle GetHandle() = 0;
};

// "CID_Win32::Mutex_Creator" gives it.
struct Mutex::Creator : Face<> {
    static constexpr Iid iid = u"IID_Win32::Mutex::Creator"_iid;

    // A blocker around an open handle of a mutex, which it takes over and does not check.
    virtual FacePtr<Mutex> CreateFromHandle(::Handle handle) = 0;
    // The mutex of the name, for all processes of the user; without a name one of its own. If it is made
    // here, the calling thread owns it once where `initialOwner` is set; *created, if given, tells. The
    // system knows no securityAttributes: the folder of names is the user's alone. Throws "mtx-cr(%s) %d",
    // tag "win32", with 6 where the name is that of another kind of object.
    virtual FacePtr<Mutex> Create(
        const WideString& name, bool initialOwner, const void* securityAttributes, bool* created) = 0;
};

constexpr const char16_t* mutexCreatorClass = u"CID_Win32::Mutex_Creator";

} // namespace Win32
