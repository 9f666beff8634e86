// posix_spawn and not QProcess: an engine has no event loop, and QProcess can't put the child into a process group of
// its own without falling back to fork, which copies the page tables of a large parent for every ffprobe of a scan.
#include "platform/processes/child_process.h"

#include "platform/processes/running_child.h"
#include "platform/text/text.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace ostrel {
namespace {

enum class Stream { inherited, null, captured };

class Pipe {
public:
    Pipe() {
        if (::pipe2(ends_, O_CLOEXEC) != 0) throw ProcessLaunchError(QString::fromLocal8Bit(std::strerror(errno)));
    }
    ~Pipe() {
        closeWriteEnd();
        closeReadEnd();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }
    void closeReadEnd() { close(0); }
    void closeWriteEnd() { close(1); }

private:
    void close(int end) {
        if (ends_[end] >= 0) ::close(std::exchange(ends_[end], -1));
    }
    int ends_[2] = {-1, -1};
};

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void connect(int descriptor, Stream kind, const Pipe& pipe) {
        if (kind == Stream::null) posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0);
        if (kind == Stream::captured) posix_spawn_file_actions_adddup2(&actions_, pipe.writeEnd(), descriptor);
    }
    void changeFolder(const QString& folder) {
        if (!folder.isEmpty()) posix_spawn_file_actions_addchdir_np(&actions_, QFile::encodeName(folder).constData());
    }
    void closeEverythingElse() { posix_spawn_file_actions_addclosefrom_np(&actions_, 3); }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

class Attributes {
public:
    Attributes() {
        posix_spawnattr_init(&attributes_);
        sigset_t defaults;
        sigemptyset(&defaults);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&defaults, signal);
        posix_spawnattr_setsigdefault(&attributes_, &defaults);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

std::vector<char*> pointers(std::vector<QByteArray>& texts) {
    std::vector<char*> result;
    for (QByteArray& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// Less the relative and the empty entries, which mean the working folder: that may be a folder of recordings, and
// whatever lies there is not to be run.
QByteArray absoluteEntries(const QByteArray& path) {
    QByteArrayList result;
    for (const QByteArray& entry : path.split(':')) {
        if (entry.startsWith('/')) result << entry;
    }
    return result.join(':');
}

std::vector<QByteArray> childEnvironment() {
    std::vector<QByteArray> result{"LC_ALL=C.UTF-8"};
    for (char** place = environ; *place; ++place) {
        const QByteArray entry(*place);
        if (entry.startsWith("PATH=")) {
            // None is better than an empty one, which would mean the working folder again.
            const QByteArray path = absoluteEntries(entry.mid(5));
            if (!path.isEmpty()) result.push_back("PATH=" + path);
        } else if (!entry.startsWith("LC_ALL=")) {
            result.push_back(entry);
        }
    }
    return result;
}

// Whoever started us may have had SIGCHLD ignored, which is inherited. Then the kernel throws the exit statuses of
// children away.
void keepExitStatuses() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) ::signal(SIGCHLD, SIG_DFL);
}

pid_t spawn(const QString& executable, const QStringList& arguments, const FileActions& actions) {
    std::vector<QByteArray> words{QFile::encodeName(executable)};
    for (const QString& argument : arguments) words.push_back(argument.toUtf8());
    std::vector<QByteArray> environment = childEnvironment();
    const Attributes attributes;
    pid_t pid = -1;
    const int error = posix_spawn(&pid, words.front().constData(), actions.get(), attributes.get(),
                                  pointers(words).data(), pointers(environment).data());
    if (error != 0) throw ProcessLaunchError(QString::fromLocal8Bit(std::strerror(error)));
    return pid;
}

ProcessResult run(const QString& executable, const QStringList& arguments, const ChildLimits& limits, Stream output,
                  Stream error, const QString& workingFolder = QString()) {
    keepExitStatuses();
    Pipe outputPipe;
    Pipe errorPipe;
    FileActions actions;
    actions.connect(STDIN_FILENO, Stream::null, outputPipe);
    actions.connect(STDOUT_FILENO, output, outputPipe);
    actions.connect(STDERR_FILENO, error, errorPipe);
    actions.changeFolder(workingFolder);
    actions.closeEverythingElse();
    std::optional<RunningChild> child;
    {
        const inFlight::Launch launch;
        child.emplace(spawn(executable, arguments, actions), outputPipe.readEnd(), errorPipe.readEnd(), limits);
    }
    outputPipe.closeWriteEnd();
    errorPipe.closeWriteEnd();
    return child->finish();
}

} // namespace

QString ProcessResult::outputText() const { return decodeUtf8(standardOutput).value_or(QString()); }

QString ProcessResult::errorText(const QString& undecodable) const {
    return why.isEmpty() ? decodeUtf8(standardError).value_or(undecodable) : why;
}

ProcessResult ChildProcess::runForResult(const QString& executable, const QStringList& arguments,
                                         const ChildLimits& limits) {
    return run(executable, arguments, limits, Stream::captured, Stream::captured);
}

ProcessResult ChildProcess::runSilently(const QString& executable, const QStringList& arguments,
                                        const ChildLimits& limits, StandardError standardError,
                                        const QString& workingFolder) {
    return run(executable, arguments, limits, Stream::null,
               standardError == StandardError::captured ? Stream::captured : Stream::null, workingFolder);
}

ProcessResult ChildProcess::runInherited(const QString& executable, const QStringList& arguments,
                                         const ChildLimits& limits) {
    return run(executable, arguments, limits, Stream::inherited, Stream::inherited);
}

} // namespace ostrel
