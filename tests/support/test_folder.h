// A temporary folder of one test, and small file services over it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace ostrel::testing {

class TestFolder {
public:
    TestFolder();

    QString path() const { return directory_.path(); }
    QString path(const QString& relative) const; // parents are created
    QString write(const QString& relative, const QByteArray& contents) const;

    // An executable shell script, for fake tools.
    QString writeScript(const QString& relative, const QString& body) const;

private:
    QTemporaryDir directory_;
};

QByteArray readAll(const QString& path);

// The names of a folder's files, hidden ones too, by name.
QStringList namesIn(const QString& folder);

// What must not change: contents, size and modification time of every file below a folder, by path.
QStringList fingerprint(const QString& folder);
QString fingerprintOf(const QString& file);

// The folder of real recordings; empty where it is not there, and then the test skips and says so.
QString samplesFolder();

// The debug log's text; null where another person's program holds it, and then the test skips.
QString debugLog();

// A program of this build ("ostrel-cli").
QString builtProgram(const QString& name);

// The machine's own tool ("ffmpeg"); empty where it has none.
QString installedTool(const QString& name);

using Qt::StringLiterals::operator""_s; // which ours would hide
inline QString operator""_s(const char* text, std::size_t size) {
    return QString::fromUtf8(text, static_cast<qsizetype>(size));
}

// Runs the event loop until the condition holds. False after the time limit (milliseconds).
bool waitUntil(const std::function<bool()>& condition, int limit = 240'000);

} // namespace ostrel::testing

// gtest prints text of Qt.
void PrintTo(const QString& text, std::ostream* stream);
