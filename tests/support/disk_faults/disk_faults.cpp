#include "support/disk_faults/disk_faults.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

DiskFault& armed() {
    static DiskFault fault;
    return fault;
}

// Whether the call is to fail; errno says how.
bool isStruck(DiskCall call) {
    if (!armed()) return false;
    const int error = armed()(call);
    if (error == 0) return false;
    errno = error;
    return true;
}

} // namespace

DiskFaults::DiskFaults(DiskFault fault) { armed() = std::move(fault); }
DiskFaults::~DiskFaults() { armed() = nullptr; }

bool isKilledAt(int moment, const std::function<void()>& job) {
    const pid_t child = ::fork();
    if (child == 0) {
        int calls = 0;
        const DiskFaults faults([&](DiskCall) {
            if (++calls == moment) ::raise(SIGKILL);
            return 0;
        });
        job();
        ::_exit(0);
    }
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return child > 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

} // namespace ostrel::testing

// In place of those of the C library.
using ostrel::testing::DiskCall;
using ostrel::testing::isStruck;

extern "C" {

int fsync(int file) { return isStruck(DiskCall::flush) ? -1 : static_cast<int>(::syscall(SYS_fsync, file)); }

int rename(const char* from, const char* to) noexcept {
    if (isStruck(DiskCall::rename)) return -1;
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    const bool exchanges = (flags & RENAME_EXCHANGE) != 0;
    if (isStruck(exchanges ? DiskCall::exchange : DiskCall::rename)) return -1;
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int link(const char* from, const char* to) noexcept {
    if (isStruck(DiskCall::link)) return -1;
    return static_cast<int>(::syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int unlink(const char* path) noexcept {
    if (isStruck(DiskCall::remove)) return -1;
    return static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

ssize_t write(int file, const void* bytes, size_t count) {
    if (isStruck(DiskCall::write)) return -1;
    return ::syscall(SYS_write, file, bytes, count);
}
}
