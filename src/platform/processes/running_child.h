// A child between its start and the moment it is waited for: drains its outputs, sees to its limits. For ChildProcess.
#pragma once

#include "platform/processes/child_process.h"
#include "platform/processes/in_flight.h"
#include "platform/processes/output_ends.h"
#include "platform/processes/stand_still.h"

#include <array>
#include <optional>
#include <poll.h>
#include <sys/types.h>

namespace ostrel {

class RunningChild {
public:
    // The child leads a process group of its own. The descriptors are the read ends of its outputs and stay the
    // caller's; -1 for one that is not captured.
    RunningChild(pid_t pid, int output, int error, const ChildLimits& limits);
    ~RunningChild();
    RunningChild(const RunningChild&) = delete;
    RunningChild& operator=(const RunningChild&) = delete;

    // Blocks until it has ended, by itself or not, and takes its exit status.
    ProcessResult finish();

private:
    using Clock = StandStillWatch::Clock;
    enum { kOutput, kError, kEnd }; // places in polled_

    bool isOpen() const { return polled_[kOutput].fd >= 0 || polled_[kError].fd >= 0; }
    void waitForSomething();
    int timeout(Clock::time_point now) const; // milliseconds, -1 for no limit
    void drain();
    void takeOutput(QByteArrayView text);
    void seeWhetherItEnded();
    void keepLimits();
    void end(ChildEnd how, const QString& why);
    void reap();

    pid_t pid_;
    std::optional<inFlight::Child> inFlight_;
    ChildLimits limits_;
    std::array<pollfd, 3> polled_;
    Clock::time_point start_;
    std::optional<StandStillWatch> watch_;
    std::optional<Clock::time_point> exited_;
    OutputEnds error_;
    ProcessResult result_;
};

} // namespace ostrel
