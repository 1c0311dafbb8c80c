// Work and conditions for tests, made of lambdas.
#pragma once

#include "platform/kernel.h"
#include "tests/platform/thread_count.h"
#include <tessel/tessel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace Testing {

using Action = std::function<void()>;

class Work : public Face<Mt::Runnable> {
public:
    Work(Action first, Action then) : initialize(std::move(first)), run(std::move(then)) { }
    void Initialize() override { initialize(); }
    void Run() override { run(); }

private:
    Action initialize;
    Action run;
};

inline FacePtr<Mt::Thread> Start(
    Action run, Action initialize = [] {})
{
    const FacePtr<Mt::Runnable> work(new Impl<Work, Module>(std::move(initialize), std::move(run)));
    return Mt::CurrentThread()->CreateThread(work, 0);
}

// A blocker that says nothing of its condition, so that it takes a thread of its own in a composite wait.
class ActionBlocker : public Face<Mt::Blocker> {
public:
    explicit ActionBlocker(Action onBlock) : block(std::move(onBlock)) { }
    void Block() override { block(); }

private:
    Action block;
};

inline FacePtr<Mt::Blocker> Blocking(Action block)
{
    return FacePtr<Mt::Blocker>(new Impl<ActionBlocker, Module>(std::move(block)));
}

class Observer : public Face<Mt::CurrentThread::Notification> {
public:
    Observer(Action onStart, Action onEnd) : start(std::move(onStart)), end(std::move(onEnd)) { }
    void OnThreadStart() override { start(); }
    void OnThreadEnd() override { end(); }

private:
    Action start;
    Action end;
};

// For a thread's locals: told of the threads that it creates, and of its end.
inline FacePtr<BaseFace> Observing(Action start, Action end)
{
    return FacePtr<BaseFace>(Primary(
        FacePtr<Mt::CurrentThread::Notification>(new Impl<Observer, Module>(std::move(start), std::move(end)))
            .Get()));
}

inline FacePtr<Mt::EventBasedBlocker> ManualEvent()
{
    return FacePtr<Mt::EventBasedBlocker>(Clsid(Mt::manualEventClass));
}
inline FacePtr<Mt::EventBasedBlocker> AutoEvent()
{
    return FacePtr<Mt::EventBasedBlocker>(Clsid(Mt::autoEventClass));
}
inline FacePtr<Mt::TimeBasedBlocker> Timer(std::uint32_t milliseconds)
{
    FacePtr<Mt::TimeBasedBlocker> timer{Clsid(Mt::timeBasedBlockerClass)};
    timer->SetTimeout(milliseconds);
    return timer;
}

// What an action throws: "interrupted", or "tag: text" of an internal error; empty if it throws nothing.
inline std::string Thrown(const Action& action)
{
    try {
        action();
    } catch (const Error& error) {
        if (error.HasCode(Error::interrupted))
            return "interrupted";
        const BaseString<SbcsTraits> text(error.GetLayerText(0).c_str());
        const std::string_view whole = text.c_str();
        const std::size_t start = whole.find('(') + 1;
        return std::string(whole.substr(start, whole.rfind(')') - start));
    }
    return {};
}

inline void InterruptSelf(int times = 1)
{
    for (; times > 0; --times)
        Mt::CurrentThread()->GetThread()->Interrupt();
}

// Takes all interrupts off the calling thread; how many there were.
inline int DrainInterrupts()
{
    int drained = 0;
    for (; Mt::CurrentThread()->GetThread()->IsInterrupted(); ++drained)
        Mt::CurrentThread()->ClearInterrupt();
    return drained;
}

// Only for what has been set going already.
template <class Condition>
void Await(Condition holds)
{
    while (!holds())
        Platform::Sleep(0);
}

} // namespace Testing
