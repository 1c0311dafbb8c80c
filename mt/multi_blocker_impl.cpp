#include "mt/multi_blocker_impl.h"

#include "mt/blocker_waiter.h"
#include <tessel/module.h>
#include <tessel/mt/timer.h>

#include <algorithm>

namespace Mt {

void MultiBlockerImpl::Add(const FacePtr<Blocker>& blocker)
{
    if (!blocker)
        throw Error("mblck-null", "mt");
    Entry entry;
    entry.blocker = blocker;
    entry.info = blocker.TryCast<Win32::BlockerInfo>();
    entry.nested = blocker.TryCast<MultiBlockerImpl>().Get(); // alive as long as `blocker`
    entries.push_back(std::move(entry));
}

void MultiBlockerImpl::Remove(const FacePtr<Blocker>& blocker)
{
    const auto found = std::ranges::find(entries, blocker, &Entry::blocker);
    if (found != entries.end())
        entries.erase(found);
}

std::vector<FacePtr<Blocker>> MultiBlockerImpl::GetSignalled()
{
    std::vector<FacePtr<Blocker>> signalled;
    for (const Entry& entry : entries)
        if (!entry.pending && !entry.cancelled && !entry.failed)
            signalled.push_back(entry.blocker);
    return signalled;
}

// Any other exception than an Error ends the wait as well: no strand may outlive it.
void MultiBlockerImpl::Block()
{
    ThreadImpl& self = ThreadImpl::Current();
    Waiters waiters;
    const FacePtr<MergedBlockerWaiter> merged(new Impl<MergedBlockerWaiter, Module>(self));
    merged->Reserve(entries.size());
    BuildWaiters(waiters, *merged, self);
    if (waiters.empty())
        return;

    std::vector<FacePtr<ThreadImpl>> stopped;
    stopped.reserve(waiters.size()); // winding up must not fail
    firstWaiter = waiters.front();
    Error failure;
    std::exception_ptr foreign;
    try {
        RunWaiters(waiters);
    } catch (const Error& error) {
        failure = error;
    } catch (...) {
        foreign = std::current_exception();
    }
    firstWaiter->Finish();
    StopWaiters(waiters, stopped);
    const Waiter::Settlement settled = firstWaiter->Settle(failure);
    std::int32_t total = settled.interrupts - settled.raised;
    for (std::size_t i = 1; i < waiters.size(); ++i)
        total += waiters[i]->CountLeftInterrupts();
    for (const Entry& entry : entries) {
        total += entry.interrupts;
        if (entry.failed && failure.GetLayerCount() == 0)
            failure = entry.error;
    }
    for (; total < 0; ++total)
        self.ClearInterrupt();
    for (; total > 0; --total)
        self.Interrupt();
    firstWaiter = nullptr;
    if (foreign)
        std::rethrow_exception(foreign);
    self.CheckInterrupted();
    if (failure.GetLayerCount() != 0)
        throw Error(failure);
}

void MultiBlockerImpl::BuildWaiters(Waiters& waiters, MergedBlockerWaiter& merged, ThreadImpl& owner)
{
    parent = nullptr;
    parentEntry = nullptr;
    pendings = entries.size();
    errors = 0;
    interrupts = 0;
    hasStopped = false;
    for (Entry& entry : entries) {
        entry.pending = true;
        entry.cancelled = false;
        entry.interrupts = 0;
        if (std::exchange(entry.failed, false))
            entry.error.Clear();
        if (entry.nested && entry.nested->allMode == allMode) {
            entry.nested->BuildWaiters(waiters, merged, owner);
            entry.nested->parent = this;
            entry.nested->parentEntry = &entry;
            if (allMode && entry.nested->pendings == 0) { // an empty one, on which nobody will report
                entry.pending = false;
                --pendings;
            }
            continue;
        }
        const bool isFirst = merged.IsEmpty();
        if (!allMode && merged.AddBlocker(entry, *this)) {
            if (isFirst)
                waiters.emplace_back(&merged);
            continue;
        }
        waiters.push_back(MakeFace<Impl<BlockerWaiter, Module>>(*this, entry, allMode, owner));
    }
}

// In the wait for all, the calling thread has then done its own strand and sleeps until the strand that ends
// the wait interrupts it.
void MultiBlockerImpl::RunWaiters(const Waiters& waiters)
{
    waiters.front()->Initialize();
    for (std::size_t i = 1; i < waiters.size(); ++i)
        waiters[i]->Start();
    waiters.front()->Run();
    if (!allMode)
        return;
    try {
        Sleep(Platform::INFINITE);
    } catch (const Error& error) {
        if (!error.HasCode(Error::interrupted))
            throw;
    }
}

// All are told before the first end is waited for, so that they end side by side.
void MultiBlockerImpl::StopWaiters(const Waiters& waiters, std::vector<FacePtr<ThreadImpl>>& stopped)
{
    for (std::size_t i = 1; i < waiters.size(); ++i)
        if (FacePtr<ThreadImpl> thread = waiters[i]->RequestStop())
            stopped.push_back(std::move(thread));
    for (const FacePtr<ThreadImpl>& thread : stopped)
        thread->Join(true);
}

void MultiBlockerImpl::NotifyLocked(Entry& entry, const Report& report)
{
    entry.interrupts += report.interrupts;
    interrupts += report.interrupts;
    if (report.error && !entry.failed) {
        entry.error = *report.error;
        entry.failed = true;
        ++errors;
    }
    // Several reports come on a nested one: for any it is met by one that was met, for all by all of them.
    if (!entry.failed) {
        if (entry.pending)
            entry.cancelled = report.cancelled || (allMode && entry.cancelled);
        else if (!report.cancelled)
            entry.cancelled = false;
    }
    if (entry.pending && report.isLast) {
        entry.pending = false;
        --pendings;
    }
    if (parent) {
        parent->Notify(
            *parentEntry, {report.cancelled, report.interrupts, report.error, !allMode || pendings == 0});
    } else if (IsOver() && !std::exchange(hasStopped, true)) {
        firstWaiter->RequestStop(); // its thread is the caller's, so there is no end to wait for
    }
}

} // namespace Mt
