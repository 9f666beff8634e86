// What a tab's footer and log popover show, and what they may ask of the tab's controller. One per tab.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/processing_status.h"
#include "foundation/records/record_list.h"

#include <QObject>
#include <functional>

namespace ostrel {

enum class ActivityState { ready, scanning, running, done, error };
QString displayText(ActivityState state);
ProcessingStatus::Color colorOf(ActivityState state);

class ActivityFeed : public QObject {
    Q_OBJECT

public:
    ActivityFeed(const QString& logTitle, RecordList<ProcessingLogEntry>& entries, QObject* parent)
        : QObject(parent), title(logTitle), logEntries(entries) {}

    const QString title; // of the popover
    RecordList<ProcessingLogEntry>& logEntries;
    std::function<void()> clearLog;
    std::function<void()> saveLog;

    ActivityState state() const { return state_; }
    double progress() const { return progress_; }

    void set(ActivityState state, double progress) {
        if (state == state_ && progress == progress_) return;
        state_ = state;
        progress_ = progress;
        Q_EMIT changed();
    }

Q_SIGNALS:
    void changed();

private:
    ActivityState state_ = ActivityState::ready;
    double progress_ = 0; // 0 to 1, of a running job
};

} // namespace ostrel
