#include "foundation/logs/debug_log.h"

#include "platform/diagnostics.h"
#include "platform/text/text.h"

#include <QDateTime>
#include <QFile>
#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

const QString kSharedLog = QStringLiteral("/tmp/ostrel_debug.log");

} // namespace

QString debugLogLine(const QString& tag, const QString& message) {
    QString line = QStringLiteral("[%1] [%2] %3").arg(mediumTime(QDateTime::currentDateTime()), tag, message);
    return line.replace(u'\n', u' ');
}

bool appendToLog(const QString& path, const QString& line) {
    const int descriptor = ::open(QFile::encodeName(path).constData(),
                                  O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    // One write a line, so that lines of several threads and programs stay whole.
    const QByteArray bytes = line.toUtf8() + '\n';
    const ssize_t written = ::write(descriptor, bytes.constData(), static_cast<size_t>(bytes.size()));
    ::close(descriptor);
    return written == bytes.size();
}

bool appendToDebugLog(const QString& tag, const QString& message, const QString& fallback) {
    const QString line = debugLogLine(tag, message);
    return appendToLog(kSharedLog, line) || (!fallback.isEmpty() && appendToLog(fallback, line));
}

void writeToFirst(const QStringList& logs, const QString& line) {
    const auto takes = [&](const QString& log) { return !log.isEmpty() && appendToLog(log, line); };
    if (std::none_of(logs.begin(), logs.end(), takes)) printDiagnostic(line);
}

void writeDebugLine(const QString& tag, const QString& message, const QString& fallback) {
    writeToFirst({kSharedLog, fallback}, debugLogLine(tag, message));
}

} // namespace ostrel
