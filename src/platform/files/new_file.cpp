#include "platform/files/new_file.h"

#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

#include <QFile>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ostrel {
namespace {

const QString kPrefix = QStringLiteral(".ostrel-");

int openFolder(const QString& folder) {
    return ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

} // namespace

// A file system that knows no locks holds nothing, and there nothing is cleared away either.
FolderHold::FolderHold(const QString& folder) : descriptor_(openFolder(folder)) {
    if (descriptor_ >= 0) ::flock(descriptor_, LOCK_SH);
}

FolderHold::~FolderHold() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

NewFile::NewFile(const QString& finalPath)
    : finalPath_(finalPath), path_(privatePath(paths::parent(finalPath), paths::extension(finalPath))),
      hold_(std::make_unique<FolderHold>(paths::parent(finalPath))), unfinished_(QFile::encodeName(path_)) {}

NewFile::~NewFile() {
    if (!published_ && !released_) files::removeQuietly(path_);
}

void NewFile::release() {
    unfinished_.settle();
    released_ = true;
}

void NewFile::publish(Over over, bool isDurable) {
    if (isDurable) files::flush(path_);
    unfinished_.settle();
    replaced_ = over == Over::oldFile && paths::exists(finalPath_);
    if (over == Over::oldFile) {
        files::renameOver(path_, finalPath_);
    } else {
        files::renameWithoutReplacing(path_, finalPath_);
    }
    published_ = FileStamp::of(finalPath_);
    if (!published_) throw FileError(QStringLiteral("%1 vanished as it was finished").arg(finalPath_));
    try {
        if (isDurable) files::flush(paths::parent(finalPath_));
    } catch (const FileError&) {
        withdraw();
        throw;
    }
    hold_.reset();
}

void NewFile::withdraw() {
    if (!published_ || replaced_) return;
    // Number and time: a number that became free is soon given to another file.
    if (FileStamp::of(finalPath_) == published_) files::removeQuietly(finalPath_);
    published_.reset();
}

QString NewFile::namingFinal(QString message) const {
    return message.replace(paths::lastComponent(path_), paths::lastComponent(finalPath_));
}

bool isPrivateName(const QString& name) {
    // To the letter: what a person calls ".ostrel-notes.wav" is no business of ours.
    static const QString uuid = QStringLiteral("[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}");
    static const RegularExpression pattern(
        QStringLiteral("^(?:\\.ostrel-%1|\\.%1_(?:temp|backup))(?:\\.[^.]*)?$").arg(uuid));
    return pattern.firstMatch(name).has_value();
}

bool isBackupName(const QString& name) { return isPrivateName(name) && name.contains(QStringLiteral("_backup")); }

QString privatePath(const QString& folder, const QString& extension) {
    const QString name = kPrefix + freshUuid();
    return paths::append(folder, extension.isEmpty() ? name : name + QLatin1Char('.') + extension);
}

bool isHeld(const QString& folder) {
    const int descriptor = openFolder(folder);
    if (descriptor < 0) return true;
    const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    ::close(descriptor);
    return !isFree;
}

} // namespace ostrel
