#include "platform/files/files.h"

#include "platform/files/new_file.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/text/text.h"

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

class Descriptor {
public:
    Descriptor(const QString& path, int flags, mode_t mode = 0)
        : number(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC, mode)) {}
    ~Descriptor() {
        if (number >= 0) ::close(number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    const int number;
};

// Through a buffer, from where both stand; false with errno set.
bool pump(int from, int to) {
    constexpr size_t kBlock = 1 << 20;
    const auto block = std::make_unique<char[]>(kBlock);
    for (;;) {
        const ssize_t got = ::read(from, block.get(), kBlock);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t written = ::write(to, block.get() + done, static_cast<size_t>(got - done));
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) return false;
            done += written;
        }
    }
}

// For a move between file systems. The original goes when its copy is on the disk, was compared, and stands under its
// name; and only if it still is what was copied.
void copyAndRemove(const QString& from, const QString& to) {
    const std::optional<FileStamp> before = FileStamp::of(from);
    NewFile copy(to);
    files::copy(from, copy.path());
    if (!before) fail(QStringLiteral("Could not copy"), from, QStringLiteral("it was not there"));
    struct stat source;
    if (::stat(QFile::encodeName(from).constData(), &source) == 0) {
        const timespec times[2] = {source.st_atim, source.st_mtim};
        ::utimensat(AT_FDCWD, QFile::encodeName(copy.path()).constData(), times, 0);
    }
    flush(copy.path());
    if (!sameBytes(from, copy.path())) fail(QStringLiteral("Could not copy"), from, QStringLiteral("the copy differs"));
    copy.publish(NewFile::Over::nothing, true);
    try {
        if (FileStamp::of(from) != before)
            fail(QStringLiteral("Could not move"), from, QStringLiteral("it was changed meanwhile"));
        remove(from);
    } catch (const FileError&) {
        if (!paths::exists(from)) return; // somebody took it away meanwhile: the copy is what is left
        copy.withdraw();
        throw;
    }
}

// Whether a file system says that it does not know this way of renaming.
bool isUnknownHere(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM || error == EMLINK;
}

// For file systems without RENAME_NOREPLACE. 0, or the error's number.
int renameByLink(const char* from, const char* to) {
    if (::link(from, to) != 0) return errno;
    if (::unlink(from) == 0) return 0;
    const int error = errno;
    ::unlink(to); // the file stands under its old name still
    return error;
}

// For those without hard links, too. The placeholder keeps everybody else from the name for a moment.
int renameByPlaceholder(const char* from, const char* to) {
    const int placeholder = ::open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (placeholder < 0) return errno;
    ::close(placeholder);
    if (::rename(from, to) == 0) return 0;
    const int error = errno;
    ::unlink(to);
    return error;
}

int renameOverNothing(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0) return 0;
    if (!isUnknownHere(errno)) return errno;
    const int error = renameByLink(source.constData(), target.constData());
    return isUnknownHere(error) ? renameByPlaceholder(source.constData(), target.constData()) : error;
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
    static bool isWalked(const char* name) { return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0; }

    void take(const QByteArray& folder, const QByteArray& name, unsigned char type) {
        const QByteArray path = folder.endsWith('/') ? folder + name : folder + '/' + name;
        const Kind kind = kindOf(path, type);
        if (kind == Kind::other || (kind == Kind::folder && !recursive_)) return;
        const std::optional<QString> text = decodeUtf8(path);
        if (kind == Kind::file && text && name[0] == '.' && isPrivateName(QString::fromUtf8(name))) {
            listing_.unfinished << *text;
            return;
        }
        if (name[0] == '.' && hidden_ == HiddenEntries::leftOut) return;
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
    const int error = renameOverNothing(from, to);
    if (error == EXDEV) return copyAndRemove(from, to);
    errno = error;
    if (error != 0) fail(QStringLiteral("Could not move"), QStringLiteral("%1 to %2").arg(from, to), reason());
}

void renameWithoutReplacing(const QString& from, const QString& to) {
    errno = renameOverNothing(from, to);
    if (errno == EEXIST) throw NameTakenError(QStringLiteral("Could not create %1: %2").arg(to, reason()));
    if (errno != 0) fail(QStringLiteral("Could not create"), to, reason());
}

void renameOver(const QString& from, const QString& to) {
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0) {
        fail(QStringLiteral("Could not replace"), to, reason());
    }
}

void flush(const QString& path) {
    const Descriptor file(path, O_RDONLY);
    if (file.number < 0 || ::fsync(file.number) != 0) fail(QStringLiteral("Could not write"), path, reason());
}

void forgetCached(const QString& path) {
    const Descriptor file(path, O_RDONLY);
    if (file.number >= 0) ::posix_fadvise(file.number, 0, 0, POSIX_FADV_DONTNEED);
}

bool sameBytes(const QString& a, const QString& b) {
    QFile left(a);
    QFile right(b);
    if (!left.open(QIODevice::ReadOnly)) fail(QStringLiteral("Could not read"), a, left.errorString());
    if (!right.open(QIODevice::ReadOnly)) fail(QStringLiteral("Could not read"), b, right.errorString());
    if (left.size() != right.size()) return false;
    constexpr qint64 kBlock = 1 << 20;
    for (qint64 done = 0; done < left.size(); done += kBlock) {
        const qint64 wanted = std::min(kBlock, left.size() - done);
        const QByteArray block = left.read(wanted);
        if (block.size() != wanted) fail(QStringLiteral("Could not read"), a, left.errorString());
        if (block != right.read(wanted)) return false;
    }
    return true;
}

void copy(const QString& from, const QString& to) {
    const Descriptor source(from, O_RDONLY);
    struct stat found;
    if (source.number < 0 || ::fstat(source.number, &found) != 0)
        fail(QStringLiteral("Could not copy"), from, reason());
    const Descriptor target(to, O_WRONLY | O_CREAT | O_EXCL, found.st_mode & 0777);
    if (target.number < 0) fail(QStringLiteral("Could not copy"), from, reason());
    ::fchmod(target.number, found.st_mode & 0777); // as it stands, whatever the mask of this program
    constexpr size_t kAtOnce = size_t{1} << 30;
    ssize_t copied = 1;
    while (copied > 0) copied = ::copy_file_range(source.number, nullptr, target.number, nullptr, kAtOnce, 0);
    // Some file systems know no such call, others end it early with a 0: whatever is left goes the plain way.
    if (!pump(source.number, target.number)) fail(QStringLiteral("Could not copy"), from, reason());
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

} // namespace ostrel
