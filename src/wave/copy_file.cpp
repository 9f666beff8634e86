#include "wave/copy_file.h"

#include "wave/channel_copy.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace ostrel {

CopyFile::CopyFile(const std::string& path, int flags)
    : path_(path), descriptor_(::open(path.c_str(), flags | O_CLOEXEC, 0666)) {
    if (descriptor_ < 0 || ::fstat(descriptor_, &opened_) != 0) {
        const int reason = errno;
        if (descriptor_ >= 0) ::close(descriptor_);
        throw CopyError(std::generic_category().message(reason), path);
    }
}

CopyFile CopyFile::forReading(const std::string& path) { return CopyFile(path, O_RDONLY | O_NONBLOCK); }
CopyFile CopyFile::forWriting(const std::string& path) { return CopyFile(path, O_WRONLY | O_CREAT | O_EXCL); }
CopyFile CopyFile::forChanging(const std::string& path) { return CopyFile(path, O_WRONLY); }

CopyFile::CopyFile(CopyFile&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)), opened_(other.opened_) {}

CopyFile::~CopyFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void CopyFile::fail() const { throw CopyError(std::generic_category().message(errno), path_); }

void CopyFile::readAll(void* to, std::size_t size, std::uint64_t offset) const {
    auto* at = static_cast<char*>(to);
    while (size > 0) {
        const ssize_t got = ::pread(descriptor_, at, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail();
        if (got == 0) throw CopyError("the file is shorter than its head says", path_);
        at += got;
        size -= static_cast<std::size_t>(got);
        offset += static_cast<std::uint64_t>(got);
    }
}

void CopyFile::writeAll(const void* from, std::size_t size, std::uint64_t offset) const {
    const auto* at = static_cast<const char*>(from);
    while (size > 0) {
        const ssize_t put = ::pwrite(descriptor_, at, size, static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) fail();
        at += put;
        size -= static_cast<std::size_t>(put);
        offset += static_cast<std::uint64_t>(put);
    }
}

void CopyFile::reserve(std::uint64_t size) const {
    while (::fallocate(descriptor_, 0, 0, static_cast<off_t>(size)) != 0) {
        if (errno == EINTR) continue;
        if (errno == ENOSPC || errno == EFBIG || errno == EDQUOT) fail();
        return;
    }
}

void CopyFile::cutTo(std::uint64_t size) const {
    if (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) fail();
}

void CopyFile::requireSize(std::uint64_t size) const {
    if (static_cast<std::uint64_t>(opened_.st_size) != size) {
        throw CopyError("the file was changed since its header was read", path_);
    }
}

void CopyFile::requireUnchanged() const {
    struct stat now {};
    if (::fstat(descriptor_, &now) != 0) fail();
    const bool isSame = now.st_size == opened_.st_size && now.st_mtim.tv_sec == opened_.st_mtim.tv_sec &&
                        now.st_mtim.tv_nsec == opened_.st_mtim.tv_nsec;
    if (!isSame) throw CopyError("the file was changed while it was read", path_);
}

} // namespace ostrel
