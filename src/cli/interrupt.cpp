#include "cli/interrupt.h"

#include "cli/exit_status.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel::cli {
namespace {

// A signal handler has nothing but static data to reach its program by.
int pipeEnds[2] = {-1, -1};
volatile std::sig_atomic_t signals = 0;

void onSignal(int) {
    signals = signals + 1;
    if (signals > 1) ::_exit(interrupted);
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], "x", 1);
}

} // namespace

Interrupt::Interrupt(std::function<void()> stop) : stop_(std::move(stop)) {
    if (::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) return; // Ctrl-C then ends the program as it always does
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        char byte = 0;
        if (::read(pipeEnds[0], &byte, 1) != 1) return;
        happened_ = true;
        stop_();
    });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    notifier_.reset();
    for (int& end : pipeEnds) {
        if (end >= 0) ::close(std::exchange(end, -1));
    }
    signals = 0;
}

} // namespace ostrel::cli
