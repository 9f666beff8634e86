#include "platform/files/own_folder.h"

#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

bool isOwn(const struct stat& found) {
    return S_ISDIR(found.st_mode) && found.st_uid == ::geteuid() && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

QString usualPlace(const QString& name) { return paths::append(temporaryFolder(), name); }
QString otherPlace(const QString& name) { return paths::append(cacheFolder(), name); }

// Through a descriptor, so that what is closed is what was looked at.
bool closeToOthers(const QString& path) {
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return false;
    struct stat found;
    const bool isClosed = ::fstat(descriptor, &found) == 0 && isOwn(found) && ::fchmod(descriptor, S_IRWXU) == 0;
    ::close(descriptor);
    return isClosed;
}

} // namespace

QString ownTemporaryFolder(const QString& name) {
    const QString usual = usualPlace(name);
    struct stat found;
    const bool isThere = ::lstat(QFile::encodeName(usual).constData(), &found) == 0;
    return !isThere || isOwn(found) ? usual : otherPlace(name);
}

QString makeOwnTemporaryFolder(const QString& name) {
    const QString usual = usualPlace(name);
    files::createFolder(temporaryFolder());
    if (::mkdir(QFile::encodeName(usual).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        throw FileError(
            QStringLiteral("Could not create folder %1: %2").arg(usual, QString::fromLocal8Bit(std::strerror(errno))));
    }
    if (closeToOthers(usual)) return usual;
    const QString other = otherPlace(name);
    files::createFolder(other);
    if (!closeToOthers(other)) throw FileError(QStringLiteral("The folder %1 is open to other users").arg(other));
    printDiagnostic(QStringLiteral("%1 is not this user's own folder, using %2 instead").arg(usual, other));
    return other;
}

} // namespace ostrel
