#include "platform/files/file_stamp.h"

#include <QFile>
#include <sys/stat.h>

namespace ostrel {
namespace {

qint64 nanoseconds(const timespec& time) { return time.tv_sec * 1'000'000'000LL + time.tv_nsec; }

std::optional<FileStamp> stampOf(int result, const struct stat& found) {
    if (result != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    return FileStamp{{found.st_dev, found.st_ino},
                     static_cast<quint64>(found.st_size),
                     nanoseconds(found.st_mtim),
                     found.st_nlink,
                     nanoseconds(found.st_ctim)};
}

} // namespace

std::optional<FileStamp> FileStamp::of(const QString& path) {
    struct stat found;
    const int result = ::stat(QFile::encodeName(path).constData(), &found);
    return stampOf(result, found);
}

std::optional<FileStamp> FileStamp::of(int descriptor) {
    struct stat found;
    const int result = ::fstat(descriptor, &found);
    return stampOf(result, found);
}

std::optional<FileIdentity> identityOf(const QString& path) {
    struct stat found;
    if (::stat(QFile::encodeName(path).constData(), &found) != 0) return std::nullopt;
    return FileIdentity{found.st_dev, found.st_ino};
}

} // namespace ostrel
