// Runs an outside tool: absolute path, argument list, no shell.
//
// Every call blocks until the child has exited and may be made from any thread; long ones belong on the thread pool.
// The child gets /dev/null as standard input, a UTF-8 locale (some tools abort on other letters without one), a PATH of
// absolute folders only, the default answer to signals that we may ignore or catch, a process group of its own (so that
// Ctrl-C in a terminal reaches Ostrel and not the running ffmpeg), and no descriptor of ours but the three standard
// ones. Both pipes are drained while it runs, so a large stderr can't block it.
//
// A child that misbehaves is ended with its whole group: one that prints without end always is, one that never comes to
// an end where the caller sets limits. A process that it leaves behind on its outputs is waited for two seconds.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>
#include <stdexcept>

namespace ostrel {

// The tool could not be started at all: `description` is the platform's sentence ("No such file or directory").
class ProcessLaunchError : public std::runtime_error {
public:
    explicit ProcessLaunchError(const QString& text) : std::runtime_error(text.toStdString()), description(text) {}
    QString description;
};

// Neither the child's process group used processor time nor did one of the files grow, for this long.
struct StandStill {
    QStringList files; // what the child writes
    std::chrono::milliseconds limit = std::chrono::minutes(2);
};

// See tool_limits.h for those of the tools that Ostrel runs.
struct ChildLimits {
    std::optional<std::chrono::milliseconds> total;
    std::optional<StandStill> standStill;
};

enum class ChildEnd { byItself, outputTooLong, timeLimit, stoodStill };

struct ProcessResult {
    int exitStatus = 0;        // as the child gave it; 128 + the signal's number if a signal ended it
    bool crashed = false;      // ended by a signal, ours included
    QByteArray standardOutput; // whole; empty where we ended the child: half a document must not pass for one
    QByteArray standardError;  // whole, or the first 64 KiB and the last 4 MiB with a line between that says so
    ChildEnd ended = ChildEnd::byItself;
    QString why; // why we ended it: "ended because it ran longer than 60 s"; otherwise empty

    bool succeeded() const { return !crashed && exitStatus == 0 && ended == ChildEnd::byItself; }

    // Undecodable output counts as empty text.
    QString outputText() const;

    // What to tell of a failure: why we ended the child, or all that it said on standard error.
    QString errorText(const QString& undecodable = QString()) const;
};

class ChildProcess {
public:
    // Both outputs captured: ffmpeg, ffprobe and whatever prints a result.
    static ProcessResult runForResult(const QString& executable, const QStringList& arguments,
                                      const ChildLimits& limits = {});

    // Standard output goes to the null device. Standard error is captured, or dropped too. A working folder other than
    // ours matters to tools whose documents name files by their last component.
    enum class StandardError { captured, dropped };
    static ProcessResult runSilently(const QString& executable, const QStringList& arguments, const ChildLimits& limits,
                                     StandardError standardError = StandardError::captured,
                                     const QString& workingFolder = QString());
    static ProcessResult runSilently(const QString& executable, const QStringList& arguments,
                                     StandardError standardError = StandardError::captured,
                                     const QString& workingFolder = QString()) {
        return runSilently(executable, arguments, ChildLimits(), standardError, workingFolder);
    }

    // The child writes where Ostrel writes; its exit status is the caller's to ignore.
    static ProcessResult runInherited(const QString& executable, const QStringList& arguments,
                                      const ChildLimits& limits = {});
};

} // namespace ostrel
