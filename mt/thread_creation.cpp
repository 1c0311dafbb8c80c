// The start of a thread. Its creator waits until the new thread has come through Initialize, with three ways
// to go on: the start-up is over, the thread has ended, or the creator itself is interrupted. Then `claim`
// decides:
//
//     the new thread claims first    it runs, whatever the creator throws meanwhile
//     the creator claims first       it interrupts the new thread and waits for its end; the new thread finds
//                                    the claim taken, at the latest behind Initialize, and does not run
//
// Either way the creator leaves only when nobody looks at its locals any more.
#include "mt/thread_creation.h"

#include "platform/threads.h"
#include "platform/waits.h"
#include <tessel/module.h>

namespace Mt {

namespace {
constexpr const char* tag = "tessel/mt";
}

ThreadImpl::CreationData::CreationData(FacePtr<Runnable> work, const Locals& locals)
    : runnable(std::move(work)), creatorLocals(locals), startedEvent(Platform::CreateEventW(true, false))
{
}

ThreadImpl::CreationData::~CreationData()
{
    if (startedEvent != Platform::NULL_HANDLE)
        Platform::CloseHandle(startedEvent);
}

bool ThreadImpl::Create(
    const FacePtr<Runnable>& runnable, FacePtr<ThreadImpl>& created, std::uint32_t stackSize)
{
    if (!runnable)
        throw Error("thr-null", tag);
    ThreadImpl& creator = Current();
    const FacePtr<ThreadImpl> thread(new Impl<ThreadImpl, Module>);
    const FacePtr<CreationData> creation(new Impl<CreationData, Module>(runnable, creator.locals));
    thread->creationData = creation;

    // The new thread's own reference: it has to be there before that thread can end.
    ThreadImpl* const own = FacePtr<ThreadImpl>(thread).Detach();
    created = thread;
    if (!Platform::_beginthreadex(&Main, own, &thread->handle, stackSize)) {
        const std::uint32_t code = Platform::GetLastError();
        own->Release();
        created = nullptr;
        throw Error("_beginthreadex() err %d", tag, code);
    }

    const Platform::Handle handles[] = {
        creation->startedEvent, thread->handle, creator.interruptEvent.GetHandle()};
    const std::uint32_t result = Platform::WaitForMultipleObjects(3, handles, Platform::INFINITE);
    const std::uint32_t code = Platform::GetLastError();
    if (result == 0) {
        if (!creation->failure)
            return creation->runs;
        thread->Join(true);
        std::rethrow_exception(creation->failure);
    }
    // Interrupted, or without an event to wait for.
    if (result != 1 && creation->Claim()) {
        thread->Join(false);
        thread->ClearInterrupt(); // that one came from here
    }
    if (result == 2)
        creator.CheckInterrupted();
    throw Error("thr-init:res %d:err %d", tag, result, code);
}

// True if the thread is to run. Behind `startedEvent` it touches no more of what it shares with its creator.
bool ThreadImpl::StartUp(Runnable& runnable)
{
    CreationData& creation = *creationData;
    try {
        for (const auto& [key, value] : creation.creatorLocals)
            if (const auto observer = value.TryCast<CurrentThread::Notification>())
                observer->OnThreadStart();
        runnable.Initialize();
        if (!creation.Claim())
            throw MakeInterrupted();
        CheckInterrupted();
        creation.runs = true;
    } catch (const Error& error) {
        if (error.GetLayerCount() != 0 && !error.HasCode(Error::interrupted))
            creation.failure = std::current_exception();
    } catch (...) {
        creation.failure = std::current_exception();
    }
    const bool runs = creation.runs;
    if (creation.startedEvent != Platform::NULL_HANDLE)
        Platform::SetEvent(creation.startedEvent);
    creationData = nullptr;
    return runs;
}

void ThreadImpl::Start()
{
    const FacePtr<Runnable> runnable = creationData->runnable;
    if (!StartUp(*runnable))
        return;
    try {
        runnable->Run();
    } catch (const Error&) { // NOLINT(bugprone-empty-catch): the creator has gone on; nobody is to be told
    }
}

} // namespace Mt
