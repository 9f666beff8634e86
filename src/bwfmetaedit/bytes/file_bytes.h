// A regular file, opened for reading only.
#pragma once

#include "wave/byte_source.h"

#include <optional>
#include <string>
#include <sys/stat.h>

namespace ostrel::bwfmetaedit {

// Owns a file descriptor.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    ~FileDescriptor();

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }
    int release();

private:
    int descriptor_;
};

// Writes all bytes at the offset; false with errno set when that fails.
bool writeAll(int descriptor, std::string_view bytes, std::uint64_t offset);

class FileBytes : public DescriptorBytes {
public:
    // Empty if the path is missing, unreadable, or no regular file: a pipe or a device is never waited for.
    static std::optional<FileBytes> open(const std::string& path);

    int descriptor() const { return descriptor_.get(); }
    const struct stat& status() const { return status_; }

private:
    FileBytes(FileDescriptor descriptor, const struct stat& status)
        : DescriptorBytes(descriptor.get(), static_cast<std::uint64_t>(status.st_size)),
          descriptor_(std::move(descriptor)), status_(status) {}

    FileDescriptor descriptor_;
    struct stat status_;
};

// The whole of a regular file. `Unreadable` covers what is missing or forbidden.
struct WholeFile {
    enum class State { Read, Unreadable, Folder, TooBig };
    State state;
    std::string bytes;
};
WholeFile readWholeFile(const std::string& path, std::uint64_t limit);

} // namespace ostrel::bwfmetaedit
