#include "support/test_folder.h"

#include "platform/paths.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>
#include <chrono>
#include <gtest/gtest.h>

void PrintTo(const QString& text, std::ostream* stream) { *stream << '"' << text.toStdString() << '"'; }

namespace ostrel::testing {

TestFolder::TestFolder() { EXPECT_TRUE(directory_.isValid()); }

QString TestFolder::path(const QString& relative) const {
    const QString result = paths::append(directory_.path(), relative);
    QDir().mkpath(paths::parent(result));
    return result;
}

QString TestFolder::write(const QString& relative, const QByteArray& contents) const {
    QFile file(path(relative));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << file.errorString().toStdString();
    file.write(contents);
    return file.fileName();
}

QString TestFolder::writeScript(const QString& relative, const QString& body) const {
    const QString script = write(relative, QStringLiteral("#!/bin/sh\n%1\n").arg(body).toUtf8());
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return script;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

QString fingerprintOf(const QString& file) {
    const QFileInfo info(file);
    const QByteArray hash = QCryptographicHash::hash(readAll(file), QCryptographicHash::Sha256).toHex();
    return QStringLiteral("%1 %2 %3").arg(file, QString::fromLatin1(hash)).arg(info.lastModified().toMSecsSinceEpoch());
}

QStringList fingerprint(const QString& folder) {
    QStringList result;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) result << fingerprintOf(walk.next());
    result.sort();
    return result;
}

QString samplesFolder() {
    const QString folder = QDir::cleanPath(QStringLiteral(OSTREL_SAMPLES_DIR));
    return QFile::exists(folder + QStringLiteral("/samples.json")) ? folder : QString();
}

QString debugLog() {
    const QString path = QStringLiteral("/tmp/ostrel_debug.log");
    const QFileInfo info(path);
    if (info.exists() && !(info.isReadable() && info.isWritable())) return {};
    return QString::fromUtf8(readAll(path));
}

QString builtProgram(const QString& name) { return paths::append(QStringLiteral(OSTREL_BIN_DIR), name); }

bool waitUntil(const std::function<bool()>& condition, int limit) {
    const QDeadlineTimer deadline(limit);
    // Sleeps between events: given a time of its own, processEvents() would not, and would keep a processor busy.
    QTimer wake;
    wake.start(std::chrono::milliseconds(2));
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

QStringList namesIn(const QString& folder) { return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

QString installedTool(const QString& name) { return QStandardPaths::findExecutable(name); }

} // namespace ostrel::testing
