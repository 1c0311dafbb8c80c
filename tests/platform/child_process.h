// Tests with other processes. Such a process is this program once more, with the name of what it is to do in
// its environment; it runs that and nothing else.
//
//     const ChildRole sets("sets", [](int value) { ...; return 0; });   // at namespace scope
//     const ChildProcess child = sets.Start(7);
#pragma once

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

// A name of this run of the tests alone, in all of its processes.
inline std::u16string NameInThisRun(std::u16string text)
{
    const char* const run = std::getenv("TESSEL_TEST_RUN");
    for (const char digit : run ? std::string(run) : std::to_string(::getpid()))
        text += static_cast<char16_t>(digit);
    return text;
}

class ChildProcess {
public:
    explicit ChildProcess(pid_t started) : pid(started) { }
    ChildProcess(ChildProcess&& other) noexcept : pid(std::exchange(other.pid, 0)) { }
    ChildProcess& operator=(ChildProcess&& other) noexcept
    {
        std::swap(pid, other.pid);
        return *this;
    }
    ~ChildProcess() { Kill(); }

    // The exit code of one that had ended by itself, -1 if it is killed here.
    int Kill()
    {
        if (pid == 0)
            return -1;
        ::kill(pid, SIGKILL);
        return Wait();
    }
    // Its exit code, or -1 if a signal ended it.
    int Wait()
    {
        int status = 0;
        ::waitpid(std::exchange(pid, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid;
};

// Runs the function in a copy of this process, whose exit code is what it gives (0 to 255).
template <class Function>
ChildProcess Forked(Function function)
{
    const pid_t pid = ::fork();
    if (pid == 0)
        ::_exit(function());
    return ChildProcess(pid);
}

class ChildRole {
public:
    using Body = int (*)(int argument);

    ChildRole(const char* itsName, Body body) : name(itsName)
    {
        const char* const asked = std::getenv("TESSEL_TEST_ROLE");
        if (asked && std::strcmp(asked, name) == 0)
            ::_exit(body(std::atoi(std::getenv("TESSEL_TEST_ARGUMENT"))));
    }

    ChildProcess Start(int argument) const
    {
        ::setenv("TESSEL_TEST_RUN", std::to_string(::getpid()).c_str(), 1);
        ::setenv("TESSEL_TEST_ROLE", name, 1);
        ::setenv("TESSEL_TEST_ARGUMENT", std::to_string(argument).c_str(), 1);
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::execl("/proc/self/exe", "child", nullptr);
            ::_exit(99);
        }
        ::unsetenv("TESSEL_TEST_ROLE");
        return ChildProcess(pid);
    }

private:
    const char* name;
};
