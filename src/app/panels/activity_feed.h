// What a tab's footer and log popover show, and what they may ask of the tab's controller. One per tab.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/processing_status.h"
#include "foundation/records/record_list.h"

#include <QElapsedTimer>
#include <QObject>
#include <functional>

namespace ostrel {

enum class ActivityState { ready, scanning, running, done, error };
QString displayText(ActivityState state);
ProcessingStatus::Color colorOf(ActivityState state);

// From the milliseconds that a share (0 to 1) took. Nothing before 5 seconds, or 2 percent, or when it is done.
QString timeLeftText(qint64 elapsed, double share);

class ActivityFeed : public QObject {
    Q_OBJECT

public:
    ActivityFeed(const QString& logTitle, RecordList<ProcessingLogEntry>& entries, QObject* parent)
        : QObject(parent), title(logTitle), logEntries(entries) {}

    const QString title; // of the popover
    RecordList<ProcessingLogEntry>& logEntries;
    std::function<void()> clearLog;
    std::function<void()> saveLog;
    // What the last run made, and the desktop that shows where it is; absent: nobody asks.
    std::function<QStringList()> outputs;
    std::function<void(const QString& folder)> openFolder;

    void note(LogLevel level, const QString& message) {
        logEntries.append(logEntry(level, LogCategory::system, message));
    }

    ActivityState state() const { return state_; }
    double progress() const { return progress_; }
    // "2 min left" of a running job, as its speed was until now; empty while that tells nothing.
    QString timeLeft() const {
        return state_ == ActivityState::running ? timeLeftText(since_.elapsed(), progress_) : QString();
    }

    void set(ActivityState state, double progress) {
        if (state == state_ && progress == progress_) return;
        if (state == ActivityState::running && (state != state_ || progress < progress_)) since_.start();
        state_ = state;
        progress_ = progress;
        Q_EMIT changed();
    }

Q_SIGNALS:
    void changed();

private:
    ActivityState state_ = ActivityState::ready;
    QElapsedTimer since_;
    double progress_ = 0; // 0 to 1, of a running job
};

} // namespace ostrel
