#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel::paths {
namespace {

// Where the point of the extension stands in a last component, or -1.
qsizetype pointOfExtension(const QString& name) {
    const qsizetype point = name.lastIndexOf(u'.');
    return point > 0 && point < name.size() - 1 ? point : -1;
}

bool status(const QString& path, struct stat& into) { return ::stat(QFile::encodeName(path).constData(), &into) == 0; }

} // namespace

QString lastComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == u'/') --end;
    if (end == 1 && path.startsWith(u'/')) return path.first(1);
    const qsizetype slash = path.lastIndexOf(u'/', end - path.size() - 1);
    return path.mid(slash + 1, end - slash - 1);
}

QString stem(const QString& path) {
    const QString name = lastComponent(path);
    const qsizetype point = pointOfExtension(name);
    return point < 0 ? name : name.first(point);
}

QString extension(const QString& path) {
    const QString name = lastComponent(path);
    const qsizetype point = pointOfExtension(name);
    return point < 0 ? QString() : name.sliced(point + 1);
}

QString lowerExtension(const QString& path) { return extension(path).toLower(); }

QString parent(const QString& path) {
    const QString name = lastComponent(path);
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == u'/') --end;
    end -= name.size();
    while (end > 1 && path[end - 1] == u'/') --end;
    return end <= 0 ? QStringLiteral("/") : path.first(end);
}

QString append(const QString& folder, const QString& component) {
    return folder.endsWith(u'/') ? folder + component : folder + u'/' + component;
}

QString withoutExtension(const QString& path) {
    const QString ending = extension(path);
    return ending.isEmpty() ? path : path.chopped(ending.size() + 1);
}

QString absolute(const QString& path) { return QDir::cleanPath(QDir::current().absoluteFilePath(path)); }

bool exists(const QString& path) {
    struct stat ignored;
    return status(path, ignored);
}

bool isFolder(const QString& path) {
    struct stat found;
    return status(path, found) && S_ISDIR(found.st_mode);
}

bool isRegularFile(const QString& path) {
    struct stat found;
    return status(path, found) && S_ISREG(found.st_mode);
}

bool isExecutableFile(const QString& path) {
    struct stat found;
    return status(path, found) && S_ISREG(found.st_mode) && ::access(QFile::encodeName(path).constData(), X_OK) == 0;
}

bool isSameFile(const QString& a, const QString& b) {
    struct stat left;
    struct stat right;
    return status(a, left) && status(b, right) && left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

} // namespace ostrel::paths
