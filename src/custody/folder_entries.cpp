#include "custody/folder_entries.h"

#include "platform/paths.h"
#include "platform/text/text.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace ostrel {
namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using OpenedFolder = std::unique_ptr<DIR, CloseFolder>;

QString printableName(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toPercentEncoding(QByteArrayLiteral(" !#$&'()*+,/:;=?@[]\"<>\\^`{|}")));
}

QDateTime timeOf(const timespec& time) {
    return QDateTime::fromMSecsSinceEpoch(time.tv_sec * 1000 + time.tv_nsec / 1'000'000, Qt::UTC);
}

FolderEntry entryOf(const QString& name, const struct stat& found) {
    using Kind = FolderEntry::Kind;
    if (S_ISREG(found.st_mode)) {
        return {Kind::file, name, static_cast<quint64>(found.st_size), timeOf(found.st_mtim), {}};
    }
    if (S_ISDIR(found.st_mode)) return {Kind::folder, name, 0, timeOf(found.st_mtim), {}};
    const QString remark = S_ISLNK(found.st_mode) ? QStringLiteral("a link") : QStringLiteral("no regular file");
    return {Kind::other, name, 0, {}, remark};
}

} // namespace

FolderEntries entriesOf(const QString& folder) {
    FolderEntries result;
    const auto refuse = [&](const QString& path) {
        result.problems
            << QStringLiteral("Could not read %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
    };
    const OpenedFolder opened(::opendir(QFile::encodeName(folder).constData()));
    if (!opened) {
        refuse(folder);
        return result;
    }
    for (errno = 0; const dirent* each = ::readdir(opened.get()); errno = 0) {
        const QByteArray bytes(each->d_name);
        if (bytes == "." || bytes == "..") continue;
        const std::optional<QString> name = decodeUtf8(bytes);
        struct stat found;
        if (!name) {
            result.problems << QStringLiteral("The name is not valid UTF-8, please rename it: %1")
                                   .arg(paths::append(folder, printableName(bytes)));
        } else if (::fstatat(::dirfd(opened.get()), each->d_name, &found, AT_SYMLINK_NOFOLLOW) == 0) {
            result.entries.push_back(entryOf(*name, found));
        } else if (errno != ENOENT) { // went away just now
            refuse(paths::append(folder, *name));
        }
    }
    if (errno != 0) refuse(folder);
    std::sort(result.entries.begin(), result.entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name.toUtf8() < b.name.toUtf8(); });
    return result;
}

} // namespace ostrel
