// The composite wait. How its strands end and account for interrupts is told in waiter.h.
#pragma once

#include "mt/merged_waiter.h"
#include <tessel/base/error.h>
#include <tessel/mt/multi_blocker.h>

#include <exception>
#include <list>

namespace Mt {

// What a strand tells of one member when its wait is over.
struct Report {
    bool cancelled; // its condition was not met
    std::int32_t interrupts; // that the strand took off its thread, less those that stopped it
    const Error* error; // null for none
    bool isLast = true; // no further report on this member will follow
};

class MultiBlockerImpl;

// A member, with what is kept of its last wait.
struct Entry {
    FacePtr<Blocker> blocker;
    FacePtr<Win32::BlockerInfo> info; // null if it has none
    MultiBlockerImpl* nested = nullptr; // the member itself, if it is of this class
    bool pending = false; // nobody has reported on it yet
    bool cancelled = false; // its wait has ended without its condition
    bool failed = false; // an error was reported
    std::int32_t interrupts = 0; // that reports have brought
    Error error; // the first one
};

class MultiBlockerImpl : public Face<MultiBlocker> {
public:
    // By which another one knows its own kind.
    static constexpr Iid iid = u"IID_Mt::MultiBlockerImpl"_iid;

    explicit MultiBlockerImpl(bool forAll) noexcept : allMode(forAll) { }

    void Block() override;
    void Add(const FacePtr<Blocker>& blocker) override;
    void Remove(const FacePtr<Blocker>& blocker) override;
    std::vector<FacePtr<Blocker>> GetSignalled() override;

    // On the strand's thread.
    void Notify(Entry& entry, const Report& report)
    {
        const SectionLock section(lock);
        NotifyLocked(entry, report);
    }
    // The same for a strand that holds the lock, for it has several reports to make.
    CriticalSection& GetLock() { return lock; }
    void NotifyLocked(Entry& entry, const Report& report);

private:
    using Waiters = std::vector<FacePtr<Waiter>>;

    void BuildWaiters(Waiters& waiters, MergedBlockerWaiter& merged, ThreadImpl& owner);
    void RunWaiters(const Waiters& waiters);
    static void StopWaiters(const Waiters& waiters, std::vector<FacePtr<ThreadImpl>>& stopped);
    // An interrupt from outside may reach a strand just when its member was met. In the wait for all nobody
    // would see it then while others are waited for, so it ends the wait like one that comes as an error.
    bool IsOver() const
    {
        return errors > 0 || interrupts > 0 || pendings == 0 || (!allMode && pendings < entries.size());
    }

    const bool allMode;
    // Of the multi-blocker that this one was flattened into, during a wait; null in the outermost one.
    MultiBlockerImpl* parent = nullptr;
    Entry* parentEntry = nullptr;
    // Guards the state of the entries during a wait. The parent's, a waiter's and a thread's follow, in this
    // order.
    CriticalSection lock;
    std::list<Entry> entries;
    std::size_t pendings = 0; // entries that are pending
    std::size_t errors = 0; // entries with an error
    std::int32_t interrupts = 0; // of all reports
    bool hasStopped = false; // the first waiter was told to stop
    FacePtr<Waiter> firstWaiter; // the one on the calling thread; the outermost one's, during a wait
};

} // namespace Mt
