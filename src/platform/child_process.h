// Runs an outside tool: absolute path, argument list, no shell.
//
// Every call blocks until the child has exited and may be made from any thread; long ones belong on the thread pool.
// The child gets /dev/null as standard input, a UTF-8 locale (some tools abort on other letters without one), a process
// group of its own (so that Ctrl-C in a terminal reaches Ostrel and not the running ffmpeg), and no descriptor of ours
// but the three standard ones. Both pipes are drained while it runs, so a large stderr can't block it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <stdexcept>

namespace ostrel {

// The tool could not be started at all: `description` is the platform's sentence ("No such file or directory").
class ProcessLaunchError : public std::runtime_error {
public:
    explicit ProcessLaunchError(const QString& text) : std::runtime_error(text.toStdString()), description(text) {}
    QString description;
};

struct ProcessResult {
    int exitStatus = 0;        // as the child gave it; 128 + the signal's number if a signal ended it
    bool crashed = false;      // ended by a signal
    QByteArray standardOutput; // whole
    QByteArray standardError;  // the last 4 MiB; tools say what went wrong at their end

    bool succeeded() const { return !crashed && exitStatus == 0; }

    // Undecodable output counts as empty text.
    QString outputText() const;
    QString errorText() const;
};

class ChildProcess {
public:
    // Both outputs captured: ffmpeg, ffprobe and whatever prints a result.
    static ProcessResult runForResult(const QString& executable, const QStringList& arguments);

    // Standard output goes to the null device. Standard error is captured, or dropped too. A working folder other than
    // ours matters to tools whose documents name files by their last component.
    enum class StandardError { captured, dropped };
    static ProcessResult runSilently(const QString& executable, const QStringList& arguments,
                                     StandardError standardError = StandardError::captured,
                                     const QString& workingFolder = QString());

    // The child writes where Ostrel writes; its exit status is the caller's to ignore.
    static ProcessResult runInherited(const QString& executable, const QStringList& arguments);
};

} // namespace ostrel
