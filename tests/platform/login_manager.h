// A login manager for tests, on a system bus that is the test's own: Debian's stand-in for the real one,
// which login_manager.py starts, and changes as it is told.
#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

class LoginManagerProcess {
public:
    // Neither bus nor manager are there yet.
    LoginManagerProcess()
    {
        int toChild[2];
        int fromChild[2];
        if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        child = ::fork();
        if (child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            ::dup2(toChild[0], STDIN_FILENO);
            ::dup2(fromChild[1], STDOUT_FILENO);
            ::execl("/usr/bin/python3", "/usr/bin/python3", TESSEL_LOGIN_MANAGER, nullptr);
            ::_exit(1);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        input = ::fdopen(toChild[1], "w");
        output = ::fdopen(fromChild[0], "r");
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", Answer().c_str(), 1);
    }
    ~LoginManagerProcess()
    {
        std::fclose(input);
        ::waitpid(child, nullptr, 0);
        std::fclose(output);
    }
    LoginManagerProcess(const LoginManagerProcess&) = delete;
    LoginManagerProcess& operator=(const LoginManagerProcess&) = delete;

    // Does what the line says, and returns when it is done: when it began, in nanoseconds of the steady
    // clock.
    long long Do(const std::string& line)
    {
        std::fprintf(input, "%s\n", line.c_str());
        std::fflush(input);
        const std::string answer = Answer();
        char* end = nullptr;
        const long long time = std::strtoll(answer.c_str(), &end, 10);
        if (answer.empty() || *end != 0)
            throw std::runtime_error("login manager: " + answer);
        return time;
    }

private:
    std::string Answer()
    {
        std::string answer;
        for (int c = std::fgetc(output); c != EOF && c != '\n'; c = std::fgetc(output))
            answer += static_cast<char>(c);
        return answer;
    }

    pid_t child = 0;
    std::FILE* input = nullptr;
    std::FILE* output = nullptr;
};
