#include "bench/ratio.h"

#include "platform/processes/child_process.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace ostrel::bench {
namespace {

struct Measured {
    double seconds = 0;
    double processorSeconds = 0; // of all threads and of the tools that were run
    double mebibytes = 0;        // peak resident memory of the process that did the work, its children not counted
};

double processorSeconds(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// In a child of its own: what one run leaves in memory doesn't count for the next.
Measured measure(const Side& side) {
    side.before();
    ::sync(); // what other runs left unwritten would be written during this one, and at a gigabyte slow it down
    auto* shared = static_cast<Measured*>(
        ::mmap(nullptr, sizeof(Measured), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t pid = ::fork();
    if (pid == 0) {
        const auto start = std::chrono::steady_clock::now();
        side.work();
        shared->seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        shared->processorSeconds = processorSeconds(RUSAGE_SELF) + processorSeconds(RUSAGE_CHILDREN);
        // Not what wait4 gives: that counts the tools we ran, too.
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        shared->mebibytes = static_cast<double>(usage.ru_maxrss) / 1024;
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    const Measured result = *shared;
    ::munmap(shared, sizeof(Measured));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s failed\n", side.name.toUtf8().constData());
        std::exit(1);
    }
    return result;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

void compare(const QString& title, double goal, const Side& ours, const Side& bare, int runs) {
    measure(bare);
    measure(ours);
    std::vector<double> our;
    std::vector<double> their;
    std::vector<double> ratios;
    double ourLeast = std::numeric_limits<double>::infinity();
    double theirLeast = ourLeast;
    double peak = 0;
    for (int i = 0; i < runs; ++i) {
        // In turns, as a busy machine's mood may have a rhythm.
        const bool oursFirst = i % 2 != 0;
        const Measured first = measure(oursFirst ? ours : bare);
        const Measured second = measure(oursFirst ? bare : ours);
        const Measured& one = oursFirst ? first : second;
        const Measured& other = oursFirst ? second : first;
        our.push_back(one.seconds);
        their.push_back(other.seconds);
        ratios.push_back(one.seconds / other.seconds);
        ourLeast = std::min(ourLeast, one.processorSeconds);
        theirLeast = std::min(theirLeast, other.processorSeconds);
        peak = std::max(peak, one.mebibytes);
    }
    std::printf("%-46s %9.3f s %9.3f s   ratio %6.3f   goal %5.2f   processor %6.3f   peak %5.1f MiB\n",
                title.toUtf8().constData(), median(our), median(their), median(ratios), goal, ourLeast / theirLeast,
                peak);
    std::fflush(stdout);
}

void runBare(const QString& program, const QStringList& arguments) {
    const ProcessResult result = ChildProcess::runForResult(program, arguments);
    if (result.succeeded()) return;
    std::fprintf(stderr, "%s failed: %s\n", program.toUtf8().constData(), result.standardError.constData());
    ::_exit(1);
}

} // namespace ostrel::bench
