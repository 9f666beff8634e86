#include "app/hearing/day_clock.h"

#include "delivery/facts/recording_facts.h"

#include <cmath>

namespace ostrel {

void DayClock::setFiles(const QStringList& files) {
    if (files == files_) return;
    files_ = files;
    reading_.cancel();
    reading_ = TaskHandle();
    start_.reset();
    Q_EMIT changed();
    if (!files.isEmpty()) read(files, reading_);
}

QCoro::Task<> DayClock::read(QStringList files, TaskHandle task) {
    const auto work = [files, task]() -> std::optional<TimecodeOfDay> {
        for (const QString& file : files) {
            if (task.isCancelled()) return std::nullopt;
            if (auto start = readRecordingFacts(file).start()) return start;
        }
        return std::nullopt;
    };
    const std::optional<TimecodeOfDay> start = co_await inBackground(this, work);
    if (task.isCancelled() || !start) co_return;
    start_ = start;
    Q_EMIT changed();
}

QString DayClock::label(double seconds) const {
    if (!start_) return {};
    TimecodeOfDay now = *start_;
    now.samples += static_cast<quint64>(std::llround(std::max(0.0, seconds) * now.sampleRate));
    return now.label();
}

QString DayClock::rate() const { return start_ ? start_->rate.name() : QString(); }

} // namespace ostrel
