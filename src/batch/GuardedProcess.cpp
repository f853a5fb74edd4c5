#include "batch/GuardedProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tessaly {

namespace {

[[noreturn]] void runAsCopy(const std::function<int()>& work, pid_t parent, const sigset_t& mask) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(EXIT_FAILURE); // it has gone already
    }
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none); // an end by a signal is what this process is for
    // A file that may not grow is an error of writing, not an end.
    std::signal(SIGXFSZ, SIG_IGN);
    const int code = work();
    std::fflush(nullptr);
    _exit(code); // nothing is left to be tidied up
}

/// Waits for a signal of the copy's end; false when the time is over.
bool waitForEnd(const sigset_t& childEnd, std::chrono::steady_clock::time_point end) {
    using std::chrono::duration_cast;
    for (;;) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left.count() <= 0) {
            return false;
        }
        const auto seconds = duration_cast<std::chrono::seconds>(left);
        const timespec time{seconds.count(), duration_cast<std::chrono::nanoseconds>(left - seconds).count()};
        if (sigtimedwait(&childEnd, nullptr, &time) == SIGCHLD) {
            return true;
        }
    }
}

} // namespace

GuardedEnd runGuarded(const std::function<int()>& work, std::chrono::seconds timeLimit) {
    sigset_t childEnd;
    sigset_t former;
    sigemptyset(&childEnd);
    sigaddset(&childEnd, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childEnd, &former);
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t copy = fork();
    if (copy == 0) {
        runAsCopy(work, parent, former);
    }
    GuardedEnd end;
    if (copy < 0) {
        end.notStarted = true;
    } else {
        if (!waitForEnd(childEnd, std::chrono::steady_clock::now() + timeLimit)) {
            end.timedOut = true;
            kill(copy, SIGKILL);
        }
        int status = 0;
        while (waitpid(copy, &status, 0) < 0 && errno == EINTR) {
        }
        if (WIFEXITED(status)) {
            end.exitCode = WEXITSTATUS(status);
        } else {
            end.signal = WTERMSIG(status);
        }
    }
    sigprocmask(SIG_SETMASK, &former, nullptr);
    return end;
}

} // namespace Tessaly
