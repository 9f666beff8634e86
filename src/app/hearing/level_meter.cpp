#include "app/hearing/level_meter.h"

#include "app/controls/layouts.h"
#include "app/controls/theme.h"
#include "platform/audio/audio_output.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

constexpr int kLookEvery = 40;     // milliseconds
constexpr double kFall = 20 / 1.7; // dB a second, as IEC 60268-10 has a programme meter fall
constexpr double kHold = 1.5;      // seconds
constexpr double kTellEvery = 1;   // seconds
constexpr double kWarm = -9;       // dB
constexpr double kHot = -1;
constexpr int kWidth = 84;
constexpr int kHeight = 18;

double decibels(float peak) {
    return peak > 0 ? std::max(LevelMeter::kFloor, 20 * std::log10(static_cast<double>(peak))) : LevelMeter::kFloor;
}

} // namespace

LevelMeter::LevelMeter(AudioOutput& output, QWidget* parent) : QWidget(parent), output_(output) {
    named(this, QStringLiteral("Level"));
    setToolTip(QStringLiteral("Peak level of each output channel, −60 to 0 dB; the line is the highest of the last "
                              "1.5 seconds"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    timer_.setInterval(kLookEvery);
    connect(&timer_, &QTimer::timeout, this, &LevelMeter::look);
}

QSize LevelMeter::sizeHint() const { return {kWidth, kHeight}; }

void LevelMeter::setRunning(bool isRunning) {
    if (isRunning == timer_.isActive()) return;
    output_.takePeaks(); // of another player, or of the end of what was heard before
    levels_.clear();
    held_.clear();
    heldFor_.clear();
    untold_ = 0;
    if (isRunning) {
        sinceLook_.start();
        timer_.start();
    } else {
        timer_.stop();
    }
    tell();
    update();
}

void LevelMeter::look() { take(output_.takePeaks(), static_cast<double>(sinceLook_.restart()) / 1000.0); }

void LevelMeter::take(const std::vector<float>& peaks, double seconds) {
    levels_.resize(peaks.size(), kFloor);
    held_.resize(peaks.size(), kFloor);
    heldFor_.resize(peaks.size(), 0);
    for (std::size_t channel = 0; channel < peaks.size(); ++channel) {
        const double peak = decibels(peaks[channel]);
        levels_[channel] = std::max(peak, std::max(kFloor, levels_[channel] - kFall * seconds));
        heldFor_[channel] += seconds;
        if (peak < held_[channel] && heldFor_[channel] < kHold) continue;
        held_[channel] = levels_[channel];
        heldFor_[channel] = 0;
    }
    untold_ += seconds;
    if (untold_ >= kTellEvery) tell();
    update();
}

void LevelMeter::tell() {
    untold_ = 0;
    const double highest = held_.empty() ? kFloor : std::ranges::max(held_);
    setAccessibleDescription(highest > kFloor ? QStringLiteral("Peak %1 dB").arg(std::lround(highest))
                                              : QStringLiteral("Silence"));
}

void LevelMeter::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(theme.border);
    painter.setBrush(theme.base);
    painter.drawRect(area);
    const QRectF inner = area.adjusted(1.5, 1.5, -1.5, -1.5);
    const auto xOf = [&](double level) { return inner.left() + (level - kFloor) / -kFloor * inner.width(); };
    const double height = inner.height() / static_cast<double>(std::max<std::size_t>(1, levels_.size()));
    const double gap = height > 3 ? 1 : 0;
    for (std::size_t channel = 0; channel < levels_.size(); ++channel) {
        const double top = inner.top() + height * static_cast<double>(channel);
        const auto fill = [&](double from, double to, const QColor& color) {
            if (to > from) painter.fillRect(QRectF(xOf(from), top, xOf(to) - xOf(from), height - gap), color);
        };
        fill(kFloor, std::min(levels_[channel], kWarm), theme.green);
        fill(kWarm, std::min(levels_[channel], kHot), theme.orange);
        fill(kHot, levels_[channel], theme.red);
        if (held_[channel] <= kFloor) continue;
        const QColor line = held_[channel] > kHot ? theme.red : theme.text;
        painter.fillRect(QRectF(xOf(held_[channel]) - 1.5, top, 1.5, height - gap), line);
    }
}

} // namespace ostrel
