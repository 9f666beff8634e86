// Ctrl-C: the first asks the job to stop before its next item, the second ends the program at once.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace ostrel::cli {

// One at a time, on the main thread. `stop` is called there, from the event loop.
class Interrupt {
public:
    explicit Interrupt(std::function<void()> stop);
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool happened() const { return happened_; }

private:
    std::function<void()> stop_;
    bool happened_ = false;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ostrel::cli
