// The debug log that engines append to: "/tmp/ostrel_debug.log", one line an event.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// "[10:42:07] [tag] message": the time in the locale's medium style, without a date.
QString debugLogLine(const QString& tag, const QString& message);

// Appends that line. Never throws and never follows a link (the folder is shared with other people). If the log can't
// be written, the line goes to `fallback`, a path of the user's own, if there is one. False if it was written nowhere.
bool appendToDebugLog(const QString& tag, const QString& message, const QString& fallback = QString());

// The same, and where it can be written nowhere the line goes to standard output.
void writeDebugLine(const QString& tag, const QString& message, const QString& fallback = QString());

// A line to the first of these logs that takes it, an empty path being none; to standard output where none does.
void writeToFirst(const QStringList& logs, const QString& line);

// The same to a log of another name, without a fallback.
bool appendToLog(const QString& path, const QString& line);

} // namespace ostrel
