// SPDX-License-Identifier: Apache-2.0
// fork, run, wait. Where there is no fork, nothing is rehearsed.
#include "host/character/reading/rehearsal.h"

#if defined(__unix__)
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace talvisora::host::reading {

#if defined(__unix__)

namespace {

[[noreturn]] void actAsChild(const std::function<void()>& act, rlim_t seconds) {
    // A crash here is an answer: no core file, no handler of the parent's, no words.
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU, SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_DFL);
    const rlimit noCore{0, 0}, processor{seconds, seconds + 1};
    setrlimit(RLIMIT_CORE, &noCore);
    setrlimit(RLIMIT_CPU, &processor);
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
    }
    try {
        act();
    } catch (...) {
    }
    _exit(0); // no destructors, no buffers: they are the parent's
}

} // namespace

Rehearsal rehearse(const std::function<void()>& act, int processorSeconds) {
    const pid_t child = fork();
    if (child < 0) return Rehearsal::kPassed; // no process to be had: go on without
    if (child == 0) actAsChild(act, static_cast<rlim_t>(processorSeconds));
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return Rehearsal::kPassed;
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL ? Rehearsal::kStuck
                                                                          : Rehearsal::kCrashed;
    // A sanitizer ends the child with a status of its own.
    return WEXITSTATUS(status) == 0 ? Rehearsal::kPassed : Rehearsal::kCrashed;
}

#else

Rehearsal rehearse(const std::function<void()>&, int) {
    return Rehearsal::kPassed;
}

#endif

} // namespace talvisora::host::reading
