#include "foundation/tools/source_answers.h"

#include "foundation/chunks/shown_recording.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/tool_limits.h"

#include <QFile>
#include <QScopeGuard>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr qsizetype kMostBytes = 64 << 20; // documents of some 10,000 files

// Opened for it: a network file system asks its server on opening, and may tell old times of a mere name.
std::optional<FileStamp> openedStamp(const QString& file) {
    const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return std::nullopt;
    const auto close = qScopeGuard([descriptor] { ::close(descriptor); });
    return FileStamp::of(descriptor);
}

bool isUnchanged(const FileStamp& before, const FileStamp& now) {
    return before == now && before.changed == now.changed;
}

bool hasSettled(const FileStamp& stamp, std::chrono::nanoseconds settled) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return now - std::chrono::nanoseconds(stamp.modified) >= settled;
}

ProcessResult saying(const QByteArray& text) {
    ProcessResult result;
    result.standardOutput = text;
    return result;
}

// What the tool said names the recording, whatever was shown to it.
QByteArray naming(const QString& file, const ShownRecording& shown, QByteArray text) {
    return shown.isCopy() ? text.replace(shown.path().toUtf8(), file.toUtf8()) : text;
}

// "--out-core=" of "--out-core=-".
QString documentOption(const QString& argument) {
    return argument.startsWith(QStringLiteral("--out-")) && argument.endsWith(QStringLiteral("=-"))
               ? argument.chopped(1)
               : QString();
}

QString ixmlOption() { return QStringLiteral("--out-iXML="); }

} // namespace

ProcessResult SourceAnswers::printed(const QString& tool, const QStringList& arguments, const QString& file) {
    const QString option = arguments.size() == 1 ? documentOption(arguments.first()) : QString();
    if (own_ && !option.isEmpty()) return saying(own_(option, file).value_or(QByteArray()) + '\n');
    const Question question = Question{tool} + arguments + Question{file};
    const std::optional<FileStamp> stamp = openedStamp(file);
    if (const auto answer = known(question, stamp)) return saying(answer->bytes.value_or(QByteArray()));
    ProcessResult result = run(tool, arguments, file, !option.isEmpty());
    if (result.succeeded()) keep(question, stamp, result.standardOutput);
    return result;
}

// A tool for metadata may write what it shows anew; one that measures the audio has to see all of it.
ProcessResult SourceAnswers::run(const QString& tool, const QStringList& arguments, const QString& file,
                                 bool showsMetadata) {
    if (!showsMetadata)
        return ChildProcess::runForResult(tool, arguments + QStringList{file}, limitsByFileSize({file}));
    const ShownRecording shown(file);
    ProcessResult result =
        ChildProcess::runForResult(tool, arguments + QStringList{shown.path()}, limitsByFileSize({file}));
    result.standardOutput = naming(file, shown, result.standardOutput);
    return result;
}

ExportedDocument SourceAnswers::exported(const QString& tool, const QString& option, const QString& document,
                                         const QString& file) {
    if (own_) return {{}, own_(option, file)};
    const Question question{tool, option, file};
    const std::optional<FileStamp> stamp = openedStamp(file);
    if (const auto answer = known(question, stamp)) return {{}, answer->bytes};
    const auto clean = qScopeGuard([&] { files::removeQuietly(document); });
    const ShownRecording shown(file);
    ExportedDocument answer;
    answer.result = ChildProcess::runForResult(tool, {option + document, shown.path()}, limitsByFileSize({file}));
    if (!answer.result.succeeded()) return answer;
    if (paths::exists(document)) answer.bytes = naming(file, shown, files::read(document));
    keep(question, stamp, answer.bytes);
    return answer;
}

ProcessResult SourceAnswers::printedIxml(const QString& bwfmetaedit, const QString& file) {
    if (const auto document = known({bwfmetaedit, ixmlOption(), file}, openedStamp(file))) {
        return saying(document->bytes.value_or(QByteArray()) + '\n');
    }
    return printed(bwfmetaedit, {ixmlOption() + u'-'}, file);
}

std::optional<SourceAnswers::Answer> SourceAnswers::known(const Question& question,
                                                          const std::optional<FileStamp>& stamp) {
    const std::lock_guard lock(mutex_);
    const auto found = answers_.find(question);
    if (found == answers_.end() || !stamp || !isUnchanged(found->second.stamp, *stamp)) return std::nullopt;
    return found->second;
}

void SourceAnswers::keep(const Question& question, const std::optional<FileStamp>& before,
                         const std::optional<QByteArray>& bytes) {
    const std::optional<FileStamp> now = openedStamp(question.last());
    if (!before || !now || !isUnchanged(*before, *now) || !hasSettled(*now, settled_)) return;
    const auto sizeOf = [](const Answer& answer) { return answer.bytes ? answer.bytes->size() : 0; };
    const std::lock_guard lock(mutex_);
    const auto [place, isNew] = answers_.try_emplace(question);
    if (isNew) inTurn_.push_back(question);
    bytes_ -= sizeOf(place->second);
    place->second = {*now, bytes};
    bytes_ += sizeOf(place->second);
    while (bytes_ > kMostBytes) {
        const auto oldest = answers_.find(inTurn_.front());
        bytes_ -= sizeOf(oldest->second);
        answers_.erase(oldest);
        inTurn_.pop_front();
    }
}

} // namespace ostrel
