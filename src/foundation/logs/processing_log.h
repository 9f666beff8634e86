// The log that a person reads.
#pragma once

#include "foundation/records/proof_record.h"

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <vector>

namespace ostrel {

enum class LogLevel { info, success, warning, error };
enum class LogCategory { scan, process, metadata, cleanup, system };
// What a job says most.
inline constexpr LogCategory kScan = LogCategory::scan;
inline constexpr LogCategory kProcess = LogCategory::process;
inline constexpr LogCategory kMetadata = LogCategory::metadata;

LogLevel levelOf(ProofFinding finding); // at which a log tells of it

QString rawText(LogLevel level);       // "INFO", "OK", "WARN", "ERROR"
QString rawText(LogCategory category); // "SCAN", "PROCESS", "META", "CLEANUP", "SYSTEM"

struct ProcessingLogEntry {
    QUuid id = QUuid::createUuid();
    QDateTime timestamp = QDateTime::currentDateTime();
    LogLevel level = LogLevel::info;
    LogCategory category = LogCategory::system;
    QString message;
    QString baseName; // the item that it speaks of; not printed

    bool operator==(const ProcessingLogEntry&) const = default;

    // "[14:03:59] [OK] [PROCESS] Created: Take1.wav", local time; one line, whatever the names in it hold.
    QString formattedEntry() const;
};

ProcessingLogEntry logEntry(LogLevel level, LogCategory category, const QString& message,
                            const QString& baseName = QString());

// A whole log as text, without a line break at its end.
QString exportToText(const std::vector<ProcessingLogEntry>& entries, const QString& sourcePath, const QString& mode,
                     const QString& layout);

} // namespace ostrel
