// The log of one tool as a person reads, keeps and copies it. Belongs to a controller; main thread.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/record_list.h"
#include "platform/desktop_services.h"

namespace ostrel {

class ActivityLog : public RecordList<ProcessingLogEntry> {
public:
    // How the log tells that it was kept or copied. That it could not be saved is an error in every tool.
    struct Telling {
        LogLevel level = LogLevel::success;
        bool showsFolder = true; // of the saved file
    };
    ActivityLog() = default;
    explicit ActivityLog(Telling telling) : telling_(telling) {}

    void add(LogLevel level, LogCategory category, const QString& message, const QString& baseName = QString()) {
        append(logEntry(level, category, message, baseName));
    }

    // The entries as lines, without a line break at the end.
    QString lines() const;

    // Asks where to, and writes the text there whole or not at all. What became of it is an entry, unless the person
    // changed their mind.
    void save(DesktopServices& desktop, const QString& suggestedName, const QString& text);
    void copy(DesktopServices& desktop, const QString& text);

private:
    Telling telling_;
};

} // namespace ostrel
