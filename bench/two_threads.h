// Two threads that answer each other, on one processor or on two.
#pragma once

#include <atomic>
#include <cstdlib>
#include <sched.h>
#include <thread>

inline void PinTo(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    if (::sched_setaffinity(0, sizeof set, &set) != 0)
        std::abort();
}

// The calling thread on one processor for a scope.
class Pinned {
public:
    explicit Pinned(int processor)
    {
        ::sched_getaffinity(0, sizeof before, &before);
        PinTo(processor);
    }
    ~Pinned() { ::sched_setaffinity(0, sizeof before, &before); }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

private:
    cpu_set_t before;
};

// The second thread: calls wait() and answer() by turns until it is told that it is over and is woken once
// more.
template <class Wait, class Answer>
class Partner {
public:
    Partner(int processor, Wait wait, Answer answer)
        : thread([this, processor, wait, answer] {
              PinTo(processor);
              for (wait(); !isOver; wait())
                  answer();
          })
    {
    }
    // `wake` makes the last wait return.
    template <class Wake>
    void End(Wake wake)
    {
        isOver = true;
        wake();
        thread.join();
    }

private:
    std::atomic<bool> isOver{false};
    std::thread thread;
};
