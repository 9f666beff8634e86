#include "app/hearing/waveform_window.h"

#include <algorithm>

namespace ostrel {

void WaveformWindow::setDuration(double duration) {
    if (duration == duration_) return;
    duration_ = duration;
    showWhole();
}

void WaveformWindow::showWhole() {
    from_ = 0;
    length_ = duration_;
}

void WaveformWindow::zoom(double factor, double time) {
    if (duration_ <= 0) return;
    const double length = std::clamp(length_ / factor, std::min(kShortest, duration_), duration_);
    const double part = length_ > 0 ? (time - from_) / length_ : 0;
    length_ = length;
    moveTo(time - part * length);
}

void WaveformWindow::scroll(double seconds) { moveTo(from_ + seconds); }

void WaveformWindow::follow(double time) {
    constexpr double margin = 0.05; // of what is shown
    moveTo(time - margin * length_);
}

void WaveformWindow::moveTo(double from) { from_ = std::clamp(from, 0.0, std::max(0.0, duration_ - length_)); }

} // namespace ostrel
