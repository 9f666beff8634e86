#include "foundation/run/journal.h"

#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QFile>
#include <QFileInfo>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace ostrel {
namespace {

using Json = nlohmann::json;

constexpr std::array kOperations{JournalOperation::move, JournalOperation::remove, JournalOperation::replace};

std::string text(const QString& value) { return value.toStdString(); }
QString text(const Json& line, const char* key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_string() ? QString::fromStdString(found->get<std::string>()) : QString();
}
qint64 number(const Json& line, const char* key) {
    const auto found = line.find(key);
    return found != line.end() && found->is_number_integer() ? found->get<qint64>() : 0;
}

// When a process began, in clock ticks since the machine did: a number of a process is given out again.
qint64 beginOf(qint64 process) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    const QByteArray stat = file.readAll();
    // The name of the program, in brackets, may hold anything; the 22nd field is the 20th behind it.
    constexpr int kField = 20;
    return stat.mid(stat.lastIndexOf(')') + 1).simplified().split(' ').value(kField - 1).toLongLong();
}

Json stampOf(const QString& file) {
    const auto stamp = FileStamp::of(file);
    if (!stamp) return nullptr;
    return {{"device", stamp->identity.device},
            {"inode", stamp->identity.inode},
            {"size", stamp->size},
            {"modified", stamp->modified}};
}

std::optional<FileStamp> readStamp(const Json& line) {
    const auto found = line.find("stamp");
    if (found == line.end() || !found->is_object()) return std::nullopt;
    return FileStamp{{static_cast<quint64>(number(*found, "device")), static_cast<quint64>(number(*found, "inode"))},
                     static_cast<quint64>(number(*found, "size")),
                     number(*found, "modified")};
}

JournalStep beginning(const Json& line) {
    JournalStep step;
    step.run = text(line, "run");
    step.number = static_cast<int>(number(line, "step"));
    for (const JournalOperation operation : kOperations) {
        if (text(line, "op") == rawText(operation)) step.operation = operation;
    }
    step.job = text(line, "job");
    step.from = text(line, "from");
    step.to = text(line, "to");
    step.parked = text(line, "parked");
    step.detail = text(line, "detail");
    step.begunAt = QDateTime::fromString(text(line, "time"), Qt::ISODateWithMs);
    step.stamp = readStamp(line);
    const qint64 process = number(line, "process");
    step.isRunning = process > 0 && beginOf(process) == number(line, "processBegin");
    return step;
}

void takeIn(const Json& line, JournalStep& step) {
    const QString phase = text(line, "phase");
    if (phase == QStringLiteral("end")) step.state = JournalStep::State::done;
    if (phase == QStringLiteral("failed")) step.state = JournalStep::State::failed;
    if (phase == QStringLiteral("undone")) step.state = JournalStep::State::undone;
    if (phase == QStringLiteral("told")) step.wasTold = true;
    if (const QString detail = text(line, "detail"); !detail.isEmpty()) step.detail = detail;
}

QString whereIs(const QString& file) {
    return QStringLiteral("%1 %2").arg(file, paths::exists(file) ? QStringLiteral("is there")
                                                                 : QStringLiteral("is not there"));
}

QString sentenceFor(const JournalStep& step) {
    QStringList places{whereIs(step.from)};
    if (!step.to.isEmpty() && step.to != step.from) places << whereIs(step.to);
    if (!step.parked.isEmpty() && paths::exists(step.parked)) places << whereIs(step.parked);
    return QStringLiteral("An earlier run began to %1 %2 and did not end: %3")
        .arg(rawText(step.operation), paths::lastComponent(step.from), places.join(QStringLiteral("; ")));
}

} // namespace

QString rawText(JournalOperation operation) {
    switch (operation) {
    case JournalOperation::move: return QStringLiteral("move");
    case JournalOperation::remove: return QStringLiteral("delete");
    case JournalOperation::replace: break;
    }
    return QStringLiteral("replace");
}

QString rawText(JournalStep::State state) {
    switch (state) {
    case JournalStep::State::begun: return QStringLiteral("begun");
    case JournalStep::State::done: return QStringLiteral("done");
    case JournalStep::State::failed: return QStringLiteral("failed");
    case JournalStep::State::undone: break;
    }
    return QStringLiteral("undone");
}

Journal::Journal(const QString& job)
    : job_(job),
      run_(QStringLiteral("%1-%2").arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")),
                                       freshUuid().left(4).toLower())) {}

Journal::Journal(const QString& job, const QString& run, int lastNumber)
    : job_(job), run_(run), lastNumber_(lastNumber) {}

QString Journal::path() { return paths::append(stateFolder(), QStringLiteral("journal")); }

int Journal::begin(JournalOperation operation, const QString& from, const QString& to, const QString& parked,
                   const QString& detail) {
    const std::lock_guard lock(mutex_);
    const int step = ++lastNumber_;
    const Json line{{"run", text(run_)},
                    {"step", step},
                    {"phase", "begin"},
                    {"op", text(rawText(operation))},
                    {"job", text(job_)},
                    {"from", text(from)},
                    {"to", text(to)},
                    {"parked", text(parked)},
                    {"detail", text(detail)},
                    {"stamp", stampOf(from)},
                    {"time", text(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs))},
                    {"process", ::getpid()},
                    {"processBegin", beginOf(::getpid())}};
    QString why;
    if (!append(QByteArray::fromStdString(line.dump()), &why)) {
        throw FileError(QStringLiteral("The journal %1 can't be written: %2").arg(path(), why));
    }
    return step;
}

bool Journal::end(int number) { return note(number, "end"); }
bool Journal::fail(int number, const QString& why) { return note(number, "failed", why); }
bool Journal::markUndone(int number) { return note(number, "undone"); }
bool Journal::markTold(int number) { return note(number, "told"); }

bool Journal::note(int number, const char* phase, const QString& detail) {
    const std::lock_guard lock(mutex_);
    Json line{{"run", text(run_)}, {"step", number}, {"phase", phase}};
    line["time"] = text(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    if (!detail.isEmpty()) line["detail"] = text(detail);
    return append(QByteArray::fromStdString(line.dump()));
}

// A line begins on a line of its own even where a killed program left half of one: an empty line costs nothing.
bool Journal::append(const QByteArray& line, QString* why) {
    const auto failed = [why] {
        if (why) *why = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    };
    try {
        files::createFolder(stateFolder());
    } catch (const FileError& error) {
        if (why) *why = error.description;
        return false;
    }
    const int file =
        ::open(QFile::encodeName(path()).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return failed();
    const QByteArray bytes = '\n' + line + '\n';
    const bool isWritten =
        ::write(file, bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size() && ::fsync(file) == 0;
    if (!isWritten) failed();
    ::close(file);
    return isWritten;
}

std::vector<JournalStep> Journal::read() {
    std::vector<JournalStep> steps;
    if (!paths::exists(path())) return steps;
    std::map<std::pair<QString, int>, std::size_t> places;
    for (const QByteArray& bytes : files::read(path()).split('\n')) {
        const Json line = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
        if (!line.is_object()) continue;
        const std::pair key(text(line, "run"), static_cast<int>(number(line, "step")));
        if (text(line, "phase") == QStringLiteral("begin")) {
            places[key] = steps.size();
            steps.push_back(beginning(line));
        } else if (const auto place = places.find(key); place != places.end()) {
            takeIn(line, steps[place->second]);
        }
    }
    return steps;
}

std::vector<JournalStep> Journal::unfinished() {
    std::vector<JournalStep> steps = read();
    std::erase_if(steps,
                  [](const JournalStep& step) { return step.state != JournalStep::State::begun || step.isRunning; });
    return steps;
}

QStringList Journal::tellUnfinished() {
    QStringList sentences;
    try {
        for (const JournalStep& step : unfinished()) {
            if (step.wasTold) continue;
            sentences << sentenceFor(step);
            Journal(step.job, step.run, step.number).markTold(step.number);
        }
    } catch (const FileError& error) {
        sentences << error.description;
    }
    return sentences;
}

} // namespace ostrel
