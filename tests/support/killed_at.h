// A program that is killed in the middle of a job: at any of the moments at which it changes something on the disk.
#pragma once

#include "support/system_calls.h"

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel::testing {

// Runs the job in a process of its own, which is killed ahead of its `moment`th call (from 1) that writes, renames,
// links, removes or flushes. False if the job came to its end before that.
inline bool isKilledAt(int moment, const std::function<void()>& job) {
    const pid_t child = ::fork();
    if (child == 0) {
        int calls = 0;
        const auto answer = [&](const QByteArray&, const QByteArray&) {
            if (++calls == moment) ::raise(SIGKILL);
            return 0;
        };
        const OnSystemCall write(SystemCall::write, answer);
        const OnSystemCall exchange(SystemCall::renameat2, answer);
        const OnSystemCall rename(SystemCall::rename, answer);
        const OnSystemCall link(SystemCall::link, answer);
        const OnSystemCall remove(SystemCall::unlink, answer);
        const OnSystemCall flush(SystemCall::fsync, answer);
        job();
        ::_exit(0);
    }
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

} // namespace ostrel::testing
