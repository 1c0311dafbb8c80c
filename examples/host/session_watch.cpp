#include "host/session_watch.h"

#include "host/narrator.h"

#include <tessel/tessel.h>

#include <csignal>
#include <iostream>
#include <string>
#include <thread>

using namespace Demo;

namespace {

using Session = Win32::SessionChangeBlocker;

// While it lives Ctrl-C, or an end that is asked for, interrupts the thread that has made it: that ends its
// wait like any other. Made before there are other threads, which inherit that they do not get the signal.
class InterruptByCtrlC {
public:
    InterruptByCtrlC()
    {
        ::sigemptyset(&signals);
        ::sigaddset(&signals, SIGINT);
        ::sigaddset(&signals, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        TesselInitialize();
        listener = std::thread([this, waiting = Mt::CurrentThread()->GetThread()] {
            int number = 0;
            ::sigwait(&signals, &number);
            waiting->Interrupt();
        });
    }
    ~InterruptByCtrlC()
    {
        ::pthread_kill(listener.native_handle(), SIGINT); // if none has come yet
        listener.join();
    }
    InterruptByCtrlC(const InterruptByCtrlC&) = delete;
    InterruptByCtrlC& operator=(const InterruptByCtrlC&) = delete;

private:
    sigset_t signals;
    std::thread listener;
};

void Describe(const FacePtr<Session>& session)
{
    const std::int32_t state = session->GetSessionState();
    Say(std::string(state == Session::locked ? "locked"
                : state == Session::active   ? "active"
                                             : "logged off, or not active")
        + (session->IsConsoleSession() ? ", at the console" : ", not at the console")
        + (session->IsRemoteSession() ? ", remote" : ""));
    std::cout.flush();
}

void Watch()
{
    const FacePtr<Session> session{Clsid(Win32::sessionChangeBlockerClass)};
    if (!session->CanSeeTransition(Session::active, Session::locked))
        Say("This system tells of no locks; what can be seen is looked at once a second.");
    session->Update();
    for (;;) {
        Describe(session);
        session->Block();
    }
}

} // namespace

int Demo::WatchSession()
{
    const InterruptByCtrlC interrupting;
    Chapter("The session of this process, until Ctrl-C:");
    try {
        Watch();
    } catch (const Error& error) {
        Claim(error.HasCode(Error::interrupted), "The wait has ended by the interrupt.");
        if (HasFailed())
            std::cout << Narrow(error.Format()) << '\n';
    }
    return HasFailed() ? 1 : 0;
}
