// A file that is open for reading as long as this lives; a pipe or a device is never waited for.
#pragma once

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace ostrel {

class OpenedFile {
public:
    explicit OpenedFile(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~OpenedFile() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    int get() const { return descriptor_; } // below 0: it can't be opened

private:
    int descriptor_;
};

} // namespace ostrel
