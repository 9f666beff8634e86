#include "platform/files.h"

#include "platform/paths.h"
#include "platform/standard_folders.h"
#include "platform/text.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace files {
namespace {

QString reason() { return QString::fromLocal8Bit(std::strerror(errno)); }

[[noreturn]] void fail(const QString& what, const QString& path, const QString& why) {
    throw FileError(QStringLiteral("%1 %2: %3").arg(what, path, why));
}

// A copy for a move between file systems: written beside the target under a name of its own, flushed to the disk, then
// linked into place, which refuses an existing target.
void copyInto(const QString& from, const QString& to) {
    const QString partial = to + QStringLiteral(".") + freshUuid() + QStringLiteral(".part");
    QFile copy(partial);
    if (!QFile::copy(from, partial) || !copy.open(QIODevice::ReadWrite) || ::fsync(copy.handle()) != 0) {
        const QString why = reason();
        QFile::remove(partial);
        fail(QStringLiteral("Could not copy"), from, why);
    }
    copy.close();
    struct stat source;
    if (::stat(QFile::encodeName(from).constData(), &source) == 0) {
        const timespec times[2] = {source.st_atim, source.st_mtim};
        ::utimensat(AT_FDCWD, QFile::encodeName(partial).constData(), times, 0);
    }
    const int linked = ::renameat2(AT_FDCWD, QFile::encodeName(partial).constData(), AT_FDCWD,
                                   QFile::encodeName(to).constData(), RENAME_NOREPLACE);
    if (linked != 0) {
        const QString why = reason();
        QFile::remove(partial);
        fail(QStringLiteral("Could not create"), to, why);
    }
}

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

enum class Kind { file, folder, other };

Kind kindOf(const QByteArray& path, unsigned char type) {
    if (type == DT_REG) return Kind::file;
    if (type == DT_DIR) return Kind::folder;
    if (type != DT_UNKNOWN) return Kind::other;
    struct stat found;
    if (::lstat(path.constData(), &found) != 0) return Kind::other;
    return S_ISREG(found.st_mode) ? Kind::file : S_ISDIR(found.st_mode) ? Kind::folder : Kind::other;
}

QString printable(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toPercentEncoding(QByteArrayLiteral(" !#$&'()*+,/:;=?@[]\"<>\\^`{|}")));
}

class Walk {
public:
    Walk(bool recursive, const QStringList& extensions, HiddenEntries hidden)
        : recursive_(recursive), extensions_(extensions), hidden_(hidden) {}

    bool visit(const QByteArray& folder) {
        const Directory directory(::opendir(folder.constData()));
        if (!directory) return false;
        while (const dirent* entry = ::readdir(directory.get())) {
            if (isWalked(entry->d_name)) take(folder, QByteArray(entry->d_name), entry->d_type);
        }
        return true;
    }

    Listing takeListing() {
        std::sort(listing_.files.begin(), listing_.files.end(), naturalLess);
        return std::move(listing_);
    }

private:
    bool isWalked(const char* name) const {
        if (name[0] != '.') return true;
        return hidden_ == HiddenEntries::included && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
    }

    void take(const QByteArray& folder, const QByteArray& name, unsigned char type) {
        const QByteArray path = folder.endsWith('/') ? folder + name : folder + '/' + name;
        const Kind kind = kindOf(path, type);
        if (kind == Kind::other || (kind == Kind::folder && !recursive_)) return;
        const std::optional<QString> text = decodeUtf8(path);
        if (!text) {
            if (kind == Kind::folder || wanted(QString::fromLatin1(name))) {
                listing_.unreadable
                    << QStringLiteral("The name is not valid UTF-8, please rename it: %1").arg(printable(path));
            }
        } else if (kind == Kind::file) {
            if (wanted(*text)) listing_.files << *text;
        } else if (!visit(path)) {
            listing_.unreadable << QStringLiteral("Folder can't be read: %1 (%2)").arg(*text, reason());
        }
    }

    bool wanted(const QString& name) const {
        return extensions_.isEmpty() || extensions_.contains(paths::lowerExtension(name));
    }

    bool recursive_;
    const QStringList& extensions_;
    HiddenEntries hidden_;
    Listing listing_;
};

} // namespace

void createFolder(const QString& path) {
    if (paths::isFolder(path)) return;
    if (paths::exists(path))
        fail(QStringLiteral("Could not create folder"), path, QStringLiteral("a file of that name is there"));
    errno = 0;
    if (!QDir().mkpath(path)) {
        fail(QStringLiteral("Could not create folder"), path, errno ? reason() : QStringLiteral("not possible there"));
    }
}

void move(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0) return;
    if (errno == EINVAL) { // a file system without that flag: a hard link refuses an existing target just as well
        if (::link(source.constData(), target.constData()) == 0 && ::unlink(source.constData()) == 0) return;
    }
    if (errno == EXDEV || errno == EPERM || errno == EOPNOTSUPP) {
        copyInto(from, to);
        remove(from);
        return;
    }
    fail(QStringLiteral("Could not move"), QStringLiteral("%1 to %2").arg(from, to), reason());
}

void remove(const QString& path) {
    if (::unlink(QFile::encodeName(path).constData()) != 0) fail(QStringLiteral("Could not remove"), path, reason());
}

void removeQuietly(const QString& path) { ::unlink(QFile::encodeName(path).constData()); }

void removeFolderQuietly(const QString& path) { QDir(path).removeRecursively(); }

QByteArray read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) fail(QStringLiteral("Could not read"), path, file.errorString());
    const QByteArray contents = file.readAll();
    if (file.error() != QFileDevice::NoError) fail(QStringLiteral("Could not read"), path, file.errorString());
    return contents;
}

void writeAtomically(const QString& path, const QByteArray& contents) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.commit()) {
        fail(QStringLiteral("Could not write"), path, file.errorString());
    }
}

QString temporaryPath(const QString& extension) {
    return paths::append(temporaryFolder(), freshUuid() + QLatin1Char('.') + extension);
}

std::optional<Listing> list(const QString& folder, bool recursive, const QStringList& extensions,
                            HiddenEntries hidden) {
    Walk walk(recursive, extensions, hidden);
    if (!walk.visit(QFile::encodeName(folder))) return std::nullopt;
    return walk.takeListing();
}

} // namespace files

PartialOutput::PartialOutput(const QString& path) : path_(path), before_(stamp(path)) {}

void PartialOutput::discard() const {
    const std::optional<Stamp> now = stamp(path_);
    if (now && now != before_) files::removeQuietly(path_);
}

std::optional<PartialOutput::Stamp> PartialOutput::stamp(const QString& path) {
    struct stat found;
    if (::stat(QFile::encodeName(path).constData(), &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    return Stamp{found.st_dev, found.st_ino, static_cast<quint64>(found.st_size),
                 found.st_mtim.tv_sec * 1'000'000'000LL + found.st_mtim.tv_nsec};
}

} // namespace ostrel
