#include "mt/thread_impl.h"

#include "mt/thread_blocker.h"
#include "mt/thread_creation.h"
#include "object/hooks.h"
#include "platform/threads.h"
#include <tessel/base/error.h>
#include <tessel/module.h>

#include <new>

namespace Mt {

namespace {

constexpr const char* tag = "tessel/mt";
constexpr std::int32_t lowest = -2;
constexpr std::int32_t highest = 2;
// A destructor among a thread's locals may touch the thread service again, and so on.
constexpr int endRounds = 4;

class Registration : public Face<InterrupterRegistration> {
public:
    Registration(FacePtr<ThreadImpl> registeredOn, const FacePtr<Interrupter>& interrupter)
        : thread(std::move(registeredOn))
    {
        thread->PushInterrupter(interrupter);
    }
    ~Registration() { thread->PopInterrupter(); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    const FacePtr<ThreadImpl> thread;
};

Error BuildInterrupted()
{
    Error error;
    error.AddLayer(Error::interrupted, {}, false);
    return error;
}

// Made with the first record, and never destroyed.
const Error& InterruptedReserve()
{
    static const Error& reserve = *new Error(BuildInterrupted());
    return reserve;
}

} // namespace

constinit thread_local ThreadImpl* ThreadImpl::current = nullptr;

ThreadImpl::ThreadImpl() : interruptEvent(Platform::CreateEventW(true, false))
{
    if (interruptEvent.GetHandle() == Platform::NULL_HANDLE)
        throw std::bad_alloc();
    InterruptedReserve();
}

ThreadImpl::~ThreadImpl()
{
    Platform::CloseHandle(interruptEvent.GetHandle());
    if (handle != Platform::NULL_HANDLE)
        Platform::CloseHandle(handle);
}

ThreadImpl& ThreadImpl::Adopt()
{
    Hooks::SetThreadEnd(&OnThreadEnd);
    const FacePtr<ThreadImpl> made(new Impl<ThreadImpl, Module>);
    if (!Platform::ArmThreadEnd())
        throw std::bad_alloc();
    made->id = Platform::GetCurrentThreadId();
    made->handle = Platform::OpenCurrentThread();
    current = FacePtr<ThreadImpl>(made).Detach();
    return *current;
}

void ThreadImpl::OnThreadEnd(bool)
{
    for (int round = 0; current && round < endRounds; ++round)
        EndCurrent();
}

// The slot is cleared first, so that whoever touches the service in a last destructor is adopted anew instead
// of reviving a dying record.
void ThreadImpl::EndCurrent()
{
    Locals observers; // a copy, for they may change the store
    try {
        observers = current->locals;
    } catch (const std::bad_alloc&) {
        observers.swap(current->locals); // so they find it empty, and no thread ends the process for this
    }
    for (const auto& [key, value] : observers)
        try {
            if (const auto observer = value.TryCast<CurrentThread::Notification>())
                observer->OnThreadEnd();
        } catch (const Error&) { // NOLINT(bugprone-empty-catch): nobody is there to be told
        }
    const FacePtr<ThreadImpl> ending = FacePtr<ThreadImpl>::Adopt(std::exchange(current, nullptr));
}

// The new thread's: its reference was made before it started.
void ThreadImpl::Main(void* thread)
{
    current = static_cast<ThreadImpl*>(thread);
    current->id = Platform::GetCurrentThreadId();
    current->Start();
}

void ThreadImpl::Suspend()
{
    if (Platform::SuspendThread(handle) == Platform::SUSPEND_FAILED)
        throw Error("SuspendThread() err %d", tag, Platform::GetLastError());
}

void ThreadImpl::Resume()
{
    if (Platform::ResumeThread(handle) == Platform::SUSPEND_FAILED)
        throw Error("ResumeThread() err %d", tag, Platform::GetLastError());
}

std::int32_t ThreadImpl::GetPriority()
{
    const std::int32_t priority = Platform::GetThreadPriority(handle);
    if (priority == Platform::THREAD_PRIORITY_ERROR_RETURN)
        throw Error("GetThreadPriority() err %d", tag, Platform::GetLastError());
    return std::clamp(priority, lowest, highest);
}

void ThreadImpl::SetPriority(std::int32_t priority)
{
    if (priority < lowest || priority > highest)
        return;
    if (!Platform::SetThreadPriority(handle, priority))
        throw Error("SetThreadPriority() err %d", tag, Platform::GetLastError());
}

void ThreadImpl::Interrupt()
{
    const SectionLock section(lock);
    if (interruptCount.fetch_add(1, std::memory_order_acq_rel) != 0)
        return;
    Platform::SetEvent(interruptEvent);
    // By index, for an interrupter may register or drop others.
    for (std::size_t above = interrupters.size(); above > 0; --above)
        if (above <= interrupters.size())
            FacePtr<Interrupter>(interrupters[above - 1])->OnInterrupt();
}

void ThreadImpl::ClearInterrupt()
{
    const SectionLock section(lock);
    if (interruptCount.fetch_sub(1, std::memory_order_acq_rel) <= 1)
        Platform::ResetEvent(interruptEvent.GetHandle());
}

Error ThreadImpl::MakeInterrupted()
try {
    return BuildInterrupted();
} catch (const std::bad_alloc&) {
    return InterruptedReserve();
}

FacePtr<InterrupterRegistration> ThreadImpl::Register(const FacePtr<Interrupter>& interrupter)
{
    FacePtr<InterrupterRegistration> made(
        new Impl<Registration, Module>(FacePtr<ThreadImpl>(this), interrupter));
    // Behind it, so that no interrupt falls in between; if this throws, the registration goes again.
    CheckInterrupted();
    return made;
}

void ThreadImpl::PushInterrupter(const FacePtr<Interrupter>& interrupter)
{
    const SectionLock section(lock);
    interrupters.push_back(interrupter);
}

void ThreadImpl::PopInterrupter()
{
    FacePtr<Interrupter> popped; // goes behind the lock
    const SectionLock section(lock);
    if (interrupters.empty())
        return;
    popped = std::move(interrupters.back());
    interrupters.pop_back();
}

FacePtr<Blocker> ThreadImpl::GetBlocker()
{
    return FacePtr<Blocker>(new Impl<ThreadBasedBlocker, Module>(FacePtr<ThreadImpl>(this)));
}

void ThreadImpl::Join(bool waitOnly)
{
    if (!waitOnly)
        Interrupt();
    Platform::WaitForSingleObject(handle, Platform::INFINITE);
}

} // namespace Mt
