#include "platform/processes/stand_still.h"

#include <QFile>
#include <array>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr int kLooks = 8;

struct ProcessTimes {
    pid_t group = 0;
    quint64 ticks = 0;
};

// From /proc/PID/stat, whose second field is the program's name and may hold anything, brackets and blanks too.
ProcessTimes timesOf(const QByteArray& statFile) {
    const QList<QByteArray> fields = statFile.mid(statFile.lastIndexOf(')') + 2).split(' ');
    constexpr qsizetype group = 2;
    constexpr qsizetype user = 11; // then system, and both of children that were waited for
    if (fields.size() < user + 4) return {};
    ProcessTimes result{fields[group].toInt(), 0};
    for (qsizetype i = user; i < user + 4; ++i) result.ticks += fields[i].toULongLong();
    return result;
}

// Empty for a process that has gone meanwhile.
QByteArray readStatFile(const char* process) {
    const QByteArray path = QByteArray("/proc/") + process + "/stat";
    const int descriptor = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return {};
    std::array<char, 1024> buffer;
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    ::close(descriptor);
    return QByteArray(buffer.data(), std::max<ssize_t>(count, 0));
}

quint64 ticksOfGroup(pid_t group) {
    const std::unique_ptr<DIR, int (*)(DIR*)> processes(::opendir("/proc"), ::closedir);
    quint64 ticks = 0;
    while (const dirent* entry = processes ? ::readdir(processes.get()) : nullptr) {
        if (std::atoi(entry->d_name) <= 0) continue;
        const ProcessTimes times = timesOf(readStatFile(entry->d_name));
        if (times.group == group) ticks += times.ticks;
    }
    return ticks;
}

qint64 sizeOf(const QString& file) {
    struct stat found;
    return ::stat(QFile::encodeName(file).constData(), &found) == 0 ? found.st_size : -1;
}

} // namespace

ChildProgress progressOf(pid_t group, const QStringList& files) {
    ChildProgress result{ticksOfGroup(group), {}};
    for (const QString& file : files) result.sizes.push_back(sizeOf(file));
    return result;
}

StandStillWatch::StandStillWatch(std::chrono::milliseconds limit, std::function<ChildProgress()> look,
                                 Clock::time_point now)
    : interval_((limit + std::chrono::milliseconds(kLooks - 1)) / kLooks), look_(std::move(look)),
      nextLook_(now + interval_) {}

bool StandStillWatch::standsStill(Clock::time_point now) {
    if (now < nextLook_) return unchanged_ >= kLooks;
    nextLook_ = now + interval_;
    ChildProgress progress = look_();
    unchanged_ = last_ == progress ? unchanged_ + 1 : 0;
    last_ = std::move(progress);
    return unchanged_ >= kLooks;
}

} // namespace ostrel
