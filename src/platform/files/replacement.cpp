#include "platform/files/replacement.h"

#include "platform/paths.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ostrel {
namespace {

QString reason() { return QString::fromLocal8Bit(std::strerror(errno)); }

[[noreturn]] void fail(const QString& path, const QString& why) {
    throw FileError(QStringLiteral("Could not replace %1: %2").arg(path, why));
}

bool isUnsupported(int error) { return error == ENOTSUP || error == EOPNOTSUPP || error == ENOSYS; }

QList<QByteArray> attributeNames(const QByteArray& path) {
    const ssize_t size = ::listxattr(path.constData(), nullptr, 0);
    if (size <= 0) return {};
    QByteArray names(size, '\0');
    const ssize_t got = ::listxattr(path.constData(), names.data(), static_cast<size_t>(names.size()));
    QList<QByteArray> result = names.first(std::max<ssize_t>(got, 0)).split('\0');
    result.removeAll(QByteArray());
    return result;
}

// What belongs to the system and not to the person (labels, capabilities of a file's old contents) may be refused.
bool isPersons(const QByteArray& name) { return name.startsWith("user.") || name == "system.posix_acl_access"; }

// A folder may give its new files a list of who may read them that the recording has not.
void removeInheritedAccess(const QByteArray& from, const QByteArray& to, const QString& path) {
    const char* const access = "system.posix_acl_access";
    if (attributeNames(from).contains(access) || !attributeNames(to).contains(access)) return;
    if (::removexattr(to.constData(), access) != 0)
        fail(path, QStringLiteral("its access can't be kept (%1)").arg(reason()));
}

void copyExtendedAttributes(const QByteArray& from, const QByteArray& to, const QString& path) {
    for (const QByteArray& name : attributeNames(from)) {
        const ssize_t size = ::getxattr(from.constData(), name.constData(), nullptr, 0);
        if (size < 0) continue;
        QByteArray value(size, '\0');
        const ssize_t got =
            ::getxattr(from.constData(), name.constData(), value.data(), static_cast<size_t>(value.size()));
        if (got < 0) continue;
        if (::setxattr(to.constData(), name.constData(), value.constData(), static_cast<size_t>(got), 0) == 0) continue;
        if (isPersons(name) && !isUnsupported(errno)) {
            fail(path, QStringLiteral("its attribute %1 can't be kept (%2)").arg(QString::fromUtf8(name), reason()));
        }
    }
}

// Both names change places, so that what stood under the recording's name can be looked at before it goes. False where
// the file system knows no such step.
bool exchange(const QString& a, const QString& b) {
    if (::renameat2(AT_FDCWD, QFile::encodeName(a).constData(), AT_FDCWD, QFile::encodeName(b).constData(),
                    RENAME_EXCHANGE) == 0) {
        return true;
    }
    if (errno == EINVAL || errno == ENOSYS || isUnsupported(errno)) return false;
    fail(b, reason());
}

// `kept` holds what stood under the recording's name; it goes back there.
[[noreturn]] void putBack(const QString& kept, const QString& recording, const QString& why) {
    try {
        exchange(kept, recording);
    } catch (const FileError& error) {
        throw FileError(error.description + QStringLiteral(". What stood there is at %1").arg(kept));
    }
    files::removeQuietly(kept);
    fail(recording, why);
}

void takePlace(const QString& finished, const QString& recording, const FileStamp& expected) {
    bool isKept = false; // the old contents, under the private name
    try {
        isKept = exchange(finished, recording);
        if (!isKept) files::renameOver(finished, recording);
    } catch (const FileError&) {
        files::removeQuietly(finished);
        throw;
    }
    if (!isKept) return files::flush(paths::parent(recording));
    if (FileStamp::of(finished) != expected) putBack(finished, recording, QStringLiteral("it was changed meanwhile"));
    try {
        files::flush(paths::parent(recording));
    } catch (const FileError& error) {
        putBack(finished, recording, error.description);
    }
    files::removeQuietly(finished);
}

} // namespace

void requireReplaceable(const QString& path) {
    const std::optional<FileStamp> stamp = FileStamp::of(path);
    if (!stamp) fail(path, QStringLiteral("it is not there"));
    if (stamp->links > 1) {
        fail(path,
             QStringLiteral("it has %1 hard links, and the others would keep the old contents").arg(stamp->links));
    }
    if (::faccessat(AT_FDCWD, QFile::encodeName(path).constData(), W_OK, AT_EACCESS) != 0) fail(path, reason());
}

void copyAttributes(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    struct stat found;
    if (::stat(source.constData(), &found) != 0) fail(from, reason());
    // The owner first: a change of owner takes bits of the mode away. Only root may give files away, and a group that
    // is not one's own can't be given either.
    struct stat made;
    if (::stat(target.constData(), &made) != 0) fail(from, reason());
    if ((made.st_uid != found.st_uid || made.st_gid != found.st_gid) &&
        ::chown(target.constData(), found.st_uid, found.st_gid) != 0) {
        fail(from, QStringLiteral("its owner or group can't be kept (%1)").arg(reason()));
    }
    if (::chmod(target.constData(), found.st_mode & 07777) != 0) {
        fail(from, QStringLiteral("its mode can't be kept (%1)").arg(reason()));
    }
    removeInheritedAccess(source, target, from);
    copyExtendedAttributes(source, target, from);
}

void replaceRecording(NewFile& file, const FileStamp& expected) {
    const QString recording = file.finalPath();
    requireReplaceable(recording);
    copyAttributes(recording, file.path());
    files::flush(file.path());
    if (FileStamp::of(recording) != expected) fail(recording, QStringLiteral("it was changed meanwhile"));
    file.release(); // from here on its private name may hold the recording
    takePlace(file.path(), recording, expected);
}

} // namespace ostrel
