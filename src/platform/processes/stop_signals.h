// SIGINT, SIGTERM and SIGHUP: the first asks the job to stop after its running item, a second ends the program at once,
// with its children and without its unfinished files.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace ostrel {

// One at a time, on the main thread; what the signals did before is theirs again when it goes. A SIGHUP that was
// ignored from the start, as under nohup, stays ignored.
class StopSignals {
public:
    // `stop` is called once, from the event loop. Without it there is nothing to wait for: the first signal ends the
    // program at once.
    explicit StopSignals(std::function<void()> stop = {});
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // Whether a signal came, told before the event loop has its turn: for loops that hold the main thread.
    bool happened() const;
    // 128 and the number of the first signal; 0 if none came.
    int exitStatus() const;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ostrel
