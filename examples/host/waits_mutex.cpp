#include "host/waits_mutex.h"

#include "host/narrator.h"

#include <tessel/tessel.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace Demo;

namespace {

FacePtr<Win32::Mutex> OpenMutex()
{
    const FacePtr<Win32::Mutex::Creator> creator{Clsid(Win32::mutexCreatorClass)};
    return creator->Create(u"tessel demo\\workshop", false, nullptr, nullptr);
}

// Its number, once it has the mutex.
pid_t StartHolder()
{
    int ends[2];
    if (::pipe(ends) != 0)
        return -1;
    const pid_t holder = ::fork();
    if (holder == 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        ::execl("/proc/self/exe", "demo", holderCommand, nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    char word = 0;
    const bool holds = ::read(ends[0], &word, 1) == 1;
    ::close(ends[0]);
    return holds ? holder : -1;
}

} // namespace

int Demo::HoldMutex()
{
    TesselInitialize();
    OpenMutex()->Block();
    if (::write(STDOUT_FILENO, "!", 1) == 1)
        ::pause();
    return 1;
}

void Demo::ShareMutex()
{
    Chapter("A mutex with a name, shared with a second process:");
    const FacePtr<Win32::Mutex> mutex = OpenMutex();
    const pid_t holder = StartHolder();
    Claim(holder > 0 && !mutex->TryLock(), "The other process has it, and this one does not get it.");
    if (holder > 0) {
        ::kill(holder, SIGKILL);
        mutex->Block();
        Claim(true, "The other process was killed while it held it: this one has it at once.");
        ::waitpid(holder, nullptr, 0);
        mutex->Unlock();
    }
}
