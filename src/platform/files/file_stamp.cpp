#include "platform/files/file_stamp.h"

#include <QFile>
#include <sys/stat.h>

namespace ostrel {
namespace {

std::optional<FileStamp> stampOf(int result, const struct stat& found) {
    if (result != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    return FileStamp{{found.st_dev, found.st_ino},
                     static_cast<quint64>(found.st_size),
                     found.st_mtim.tv_sec * 1'000'000'000LL + found.st_mtim.tv_nsec,
                     found.st_nlink};
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
