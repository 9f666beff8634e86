#include "bwfmetaedit/bytes/file_bytes.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace ostrel::bwfmetaedit {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

FileDescriptor::~FileDescriptor() {
    if (isOpen()) ::close(descriptor_);
}

int FileDescriptor::release() { return std::exchange(descriptor_, -1); }

bool writeAll(int descriptor, std::string_view bytes, std::uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
    }
    return true;
}

std::optional<FileBytes> FileBytes::open(const std::string& path) {
    struct stat status {};
    const bool isPath = path.find('\0') == std::string::npos;
    if (!isPath || ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    // Looking leaves no trace; only the owner may ask for that.
    FileDescriptor descriptor(::open(path.c_str(), kFlags | O_NOATIME));
    if (!descriptor.isOpen()) descriptor = FileDescriptor(::open(path.c_str(), kFlags));
    // Asked again of the open file: the name may have come to mean something else in between.
    if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    return FileBytes(std::move(descriptor), status);
}

WholeFile readWholeFile(const std::string& path, std::uint64_t limit) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return {WholeFile::State::Folder, {}};
    std::optional<FileBytes> file = FileBytes::open(path);
    if (!file) return {WholeFile::State::Unreadable, {}};
    if (file->size() > limit) return {WholeFile::State::TooBig, {}};
    return {WholeFile::State::Read, file->read(0, static_cast<std::size_t>(file->size()))};
}

} // namespace ostrel::bwfmetaedit
