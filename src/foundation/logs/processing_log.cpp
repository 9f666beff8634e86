#include "foundation/logs/processing_log.h"

#include <QStringList>

namespace ostrel {
namespace {

// File names may hold line breaks; an entry is one line all the same.
QString onOneLine(QString text) { return text.replace(u'\n', u' ').replace(u'\r', u' '); }

} // namespace

LogLevel levelOf(ProofFinding finding) {
    switch (finding) {
    case ProofFinding::identical: return LogLevel::success;
    case ProofFinding::unproven: return LogLevel::warning;
    case ProofFinding::differs: break;
    }
    return LogLevel::error;
}

QString rawText(LogLevel level) {
    switch (level) {
    case LogLevel::info: return QStringLiteral("INFO");
    case LogLevel::success: return QStringLiteral("OK");
    case LogLevel::warning: return QStringLiteral("WARN");
    case LogLevel::error: break;
    }
    return QStringLiteral("ERROR");
}

QString rawText(LogCategory category) {
    switch (category) {
    case LogCategory::scan: return QStringLiteral("SCAN");
    case LogCategory::process: return QStringLiteral("PROCESS");
    case LogCategory::metadata: return QStringLiteral("META");
    case LogCategory::cleanup: return QStringLiteral("CLEANUP");
    case LogCategory::system: break;
    }
    return QStringLiteral("SYSTEM");
}

QString ProcessingLogEntry::formattedEntry() const {
    return QStringLiteral("[%1] [%2] [%3] %4")
        .arg(timestamp.toLocalTime().toString(QStringLiteral("HH:mm:ss")), rawText(level), rawText(category),
             onOneLine(message));
}

ProcessingLogEntry logEntry(LogLevel level, LogCategory category, const QString& message, const QString& baseName) {
    ProcessingLogEntry entry;
    entry.level = level;
    entry.category = category;
    entry.message = message;
    entry.baseName = baseName;
    return entry;
}

QString exportToText(const std::vector<ProcessingLogEntry>& entries, const QString& sourcePath, const QString& mode,
                     const QString& layout) {
    QStringList lines{QStringLiteral("Ostrel Log"),
                      QStringLiteral("Generated: ") + QDateTime::currentDateTimeUtc().toString(Qt::ISODate),
                      QStringLiteral("Source: ") + sourcePath,
                      QStringLiteral("Mode: ") + mode,
                      QStringLiteral("Layout: ") + layout,
                      QString()};
    for (const ProcessingLogEntry& entry : entries) lines << entry.formattedEntry();
    return lines.join(QLatin1Char('\n'));
}

} // namespace ostrel
