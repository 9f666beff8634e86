// posix_spawn and not QProcess: an engine has no event loop, and QProcess can't put the child into a process group of
// its own without falling back to fork, which copies the page tables of a large parent for every ffprobe of a scan.
#include "platform/child_process.h"

#include "platform/text.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace ostrel {
namespace {

constexpr qsizetype kMostStandardError = 4 << 20;

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

    void connect(int descriptor, Stream stream, const Pipe& pipe) {
        if (stream == Stream::null) posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0);
        if (stream == Stream::captured) posix_spawn_file_actions_adddup2(&actions_, pipe.writeEnd(), descriptor);
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
        sigaddset(&defaults, SIGPIPE);
        sigaddset(&defaults, SIGINT);
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

std::vector<QByteArray> childEnvironment() {
    std::vector<QByteArray> result;
    for (char** entry = environ; *entry; ++entry) {
        if (std::strncmp(*entry, "LC_ALL=", 7) != 0) result.emplace_back(*entry);
    }
    result.emplace_back("LC_ALL=C.UTF-8");
    return result;
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

// Reads what is there; false at the end of the stream.
bool drain(int descriptor, QByteArray& into, qsizetype most) {
    std::array<char, 65536> buffer;
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0) return errno == EINTR || errno == EAGAIN;
    if (count == 0) return false;
    into.append(buffer.data(), count);
    if (most > 0 && into.size() > 2 * most) into = into.last(most);
    return true;
}

// The end of a text, begun at a whole letter: half of one would make all of it undecodable.
QByteArray endOf(const QByteArray& text) {
    qsizetype start = text.size() - kMostStandardError;
    while (start < text.size() && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) ++start;
    return text.sliced(start);
}

void drainBoth(Pipe& output, Pipe& error, ProcessResult& result) {
    std::array<pollfd, 2> polled{pollfd{output.readEnd(), POLLIN, 0}, pollfd{error.readEnd(), POLLIN, 0}};
    while (polled[0].fd >= 0 || polled[1].fd >= 0) {
        if (::poll(polled.data(), polled.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (polled[0].revents && !drain(polled[0].fd, result.standardOutput, 0)) polled[0].fd = -1;
        if (polled[1].revents && !drain(polled[1].fd, result.standardError, kMostStandardError)) polled[1].fd = -1;
    }
    if (result.standardError.size() > kMostStandardError) result.standardError = endOf(result.standardError);
}

void waitForEnd(pid_t pid, ProcessResult& result) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.crashed = WIFSIGNALED(status);
    result.exitStatus = result.crashed ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

ProcessResult run(const QString& executable, const QStringList& arguments, Stream output, Stream error,
                  const QString& workingFolder = QString()) {
    Pipe outputPipe;
    Pipe errorPipe;
    FileActions actions;
    actions.connect(STDIN_FILENO, Stream::null, outputPipe);
    actions.connect(STDOUT_FILENO, output, outputPipe);
    actions.connect(STDERR_FILENO, error, errorPipe);
    actions.changeFolder(workingFolder);
    actions.closeEverythingElse();
    const pid_t pid = spawn(executable, arguments, actions);
    outputPipe.closeWriteEnd();
    errorPipe.closeWriteEnd();
    ProcessResult result;
    drainBoth(outputPipe, errorPipe, result);
    waitForEnd(pid, result);
    return result;
}

} // namespace

QString ProcessResult::outputText() const { return decodeUtf8(standardOutput).value_or(QString()); }

QString ProcessResult::errorText() const { return decodeUtf8(standardError).value_or(QString()); }

ProcessResult ChildProcess::runForResult(const QString& executable, const QStringList& arguments) {
    return run(executable, arguments, Stream::captured, Stream::captured);
}

ProcessResult ChildProcess::runSilently(const QString& executable, const QStringList& arguments,
                                        StandardError standardError, const QString& workingFolder) {
    return run(executable, arguments, Stream::null,
               standardError == StandardError::captured ? Stream::captured : Stream::null, workingFolder);
}

ProcessResult ChildProcess::runInherited(const QString& executable, const QStringList& arguments) {
    return run(executable, arguments, Stream::inherited, Stream::inherited);
}

} // namespace ostrel
