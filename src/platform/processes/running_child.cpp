#include "platform/processes/running_child.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr qsizetype kMostOutput = 64 << 20;
constexpr qsizetype kFirstOfError = 64 << 10;
constexpr qsizetype kLastOfError = 4 << 20;

// For what a child that has exited left behind on its outputs: whatever it said itself is in the pipe already.
constexpr milliseconds kGrace = 2s;

// How often a kernel that gives no descriptor for the end of a process is asked for it.
constexpr milliseconds kAskAgain = 20ms;

QString seconds(milliseconds time) {
    return QString::number(static_cast<double>(time.count()) / 1000) + QStringLiteral(" s");
}

} // namespace

RunningChild::RunningChild(pid_t pid, int output, int error, const ChildLimits& limits)
    : pid_(pid), inFlight_(pid),
      limits_(limits), polled_{pollfd{output, POLLIN, 0}, pollfd{error, POLLIN, 0},
                               pollfd{static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)), POLLIN, 0}},
      start_(Clock::now()), error_(kFirstOfError, kLastOfError) {
    if (!limits_.standStill) return;
    const auto look = [group = pid, files = limits_.standStill->files] { return progressOf(group, files); };
    watch_.emplace(limits_.standStill->limit, look, start_);
}

RunningChild::~RunningChild() {
    if (polled_[kEnd].fd >= 0) ::close(polled_[kEnd].fd);
}

ProcessResult RunningChild::finish() {
    while (!exited_ || isOpen()) {
        waitForSomething();
        drain();
        seeWhetherItEnded();
        keepLimits();
    }
    inFlight_.reset();
    reap();
    if (result_.ended != ChildEnd::byItself) result_.standardOutput.clear();
    result_.standardError = error_.take();
    return std::move(result_);
}

void RunningChild::waitForSomething() {
    // Once it has ended, its descriptor would end every wait at once.
    const nfds_t count = exited_ ? nfds_t{kEnd} : polled_.size();
    if (::poll(polled_.data(), count, timeout(Clock::now())) < 0) {
        for (pollfd& polled : polled_) polled.revents = 0;
    }
}

int RunningChild::timeout(Clock::time_point now) const {
    constexpr Clock::time_point never = Clock::time_point::max();
    Clock::time_point next = never;
    if (exited_) {
        next = *exited_ + kGrace;
    } else {
        if (polled_[kEnd].fd < 0) next = now + kAskAgain;
        if (result_.ended == ChildEnd::byItself) { // else it only takes a moment to die
            if (limits_.total) next = std::min(next, start_ + *limits_.total);
            if (watch_) next = std::min(next, watch_->nextLook());
        }
    }
    if (next == never) return -1;
    return static_cast<int>(std::clamp<qint64>(std::chrono::ceil<milliseconds>(next - now).count(), 0, 60'000));
}

void RunningChild::drain() {
    std::array<char, 65536> buffer;
    for (const auto place : {kOutput, kError}) {
        pollfd& polled = polled_[place];
        if (polled.fd < 0 || !polled.revents) continue;
        const ssize_t count = ::read(polled.fd, buffer.data(), buffer.size());
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count <= 0) {
            polled.fd = -1;
        } else if (place == kOutput) {
            takeOutput(QByteArrayView(buffer.data(), count));
        } else {
            error_.append(QByteArrayView(buffer.data(), count));
        }
    }
}

void RunningChild::takeOutput(QByteArrayView text) {
    if (result_.ended != ChildEnd::byItself) return;
    if (result_.standardOutput.size() + text.size() <= kMostOutput) {
        result_.standardOutput.append(text);
    } else {
        end(ChildEnd::outputTooLong, QStringLiteral("ended because it printed more than 64 MiB"));
    }
}

// The child stays unreaped, so that its number, which is its group's, can't become another's meanwhile.
void RunningChild::seeWhetherItEnded() {
    if (exited_) return;
    siginfo_t info{};
    const int asked = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
    if (asked == 0 ? info.si_pid == pid_ : errno == ECHILD) exited_ = Clock::now();
}

void RunningChild::keepLimits() {
    const Clock::time_point now = Clock::now();
    if (exited_) {
        if (!isOpen() || now < *exited_ + kGrace) return;
        ::kill(-pid_, SIGKILL);
        // One that left the group lives on; it is not waited for.
        polled_[kOutput].fd = polled_[kError].fd = -1;
    } else if (result_.ended == ChildEnd::byItself) {
        if (limits_.total && now >= start_ + *limits_.total) {
            end(ChildEnd::timeLimit, QStringLiteral("ended because it ran longer than ") + seconds(*limits_.total));
        } else if (watch_ && watch_->standsStill(now)) {
            end(ChildEnd::stoodStill, QStringLiteral("ended because it used no processor time and wrote nothing for ") +
                                          seconds(limits_.standStill->limit));
        }
    }
}

void RunningChild::end(ChildEnd how, const QString& why) {
    result_.ended = how;
    result_.why = why;
    ::kill(-pid_, SIGKILL);
    ::kill(pid_, SIGKILL); // it may have left the group
}

void RunningChild::reap() {
    int status = SIGKILL; // a status that somebody else took away counts as a failure
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    result_.crashed = WIFSIGNALED(status);
    result_.exitStatus = result_.crashed ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace ostrel
