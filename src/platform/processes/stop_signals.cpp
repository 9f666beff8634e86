#include "platform/processes/stop_signals.h"

#include "platform/processes/in_flight.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr std::array kNumbers{SIGINT, SIGTERM, SIGHUP};

// One request may arrive twice: timeout(1) signals its child and then the group that the child is in, a closing
// terminal is told of by the shell and by the kernel. Nanoseconds.
constexpr qint64 kOneRequest = 30'000'000;

// A signal handler has nothing but static data to reach its program by.
int pipeEnds[2] = {-1, -1};
std::array<struct sigaction, kNumbers.size()> before;
std::atomic<bool> waits = false;     // for the running item
std::atomic<qint64> firstMoment = 0; // 0: none came yet
std::atomic<int> firstNumber = 0;
static_assert(std::atomic<qint64>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

qint64 now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<qint64>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// On any thread, and on two at once.
void onSignal(int number) {
    const int saved = errno;
    const qint64 moment = now();
    qint64 first = 0;
    if (waits && firstMoment.compare_exchange_strong(first, moment)) {
        firstNumber = number;
        [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], "x", 1);
    } else if (!waits || moment - first > kOneRequest) {
        inFlight::endAtOnce();
        ::_exit(128 + number);
    }
    errno = saved;
}

// nohup ignores SIGHUP for its program. SIGINT is taken all the same: a shell without job control ignores it for every
// command in the background, and who sends it to one of them means it.
bool staysIgnored(int number, const struct sigaction& action) {
    return number == SIGHUP && action.sa_handler == SIG_IGN;
}

void install() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART; // workers are in the middle of reads and waits
    sigemptyset(&action.sa_mask);
    for (const int number : kNumbers) sigaddset(&action.sa_mask, number);
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
        ::sigaction(kNumbers[i], nullptr, &before[i]);
        if (!staysIgnored(kNumbers[i], before[i])) ::sigaction(kNumbers[i], &action, nullptr);
    }
}

} // namespace

StopSignals::StopSignals(std::function<void()> stop) {
    if (stop && ::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) == 0) {
        notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [stop = std::move(stop)] {
            char byte = 0;
            if (::read(pipeEnds[0], &byte, 1) == 1) stop();
        });
        waits = true;
    }
    install();
}

StopSignals::~StopSignals() {
    for (std::size_t i = 0; i < kNumbers.size(); ++i) ::sigaction(kNumbers[i], &before[i], nullptr);
    notifier_.reset();
    for (int& end : pipeEnds) {
        if (end >= 0) ::close(std::exchange(end, -1));
    }
    waits = false;
    firstMoment = 0;
    firstNumber = 0;
}

bool StopSignals::happened() const { return firstNumber != 0; }

int StopSignals::exitStatus() const { return firstNumber == 0 ? 0 : 128 + firstNumber; }

} // namespace ostrel
