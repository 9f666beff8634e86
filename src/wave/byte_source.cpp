#include "wave/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr std::size_t kWindowLength = 4096;

} // namespace

std::string DescriptorBytes::read(std::uint64_t offset, std::size_t length) {
    if (length > kWindowLength) return readDirectly(offset, length);
    const bool inside = offset >= windowOffset_ && offset + length <= windowOffset_ + window_.size();
    if (!inside) {
        window_ = readDirectly(offset, kWindowLength);
        windowOffset_ = offset;
    }
    const std::size_t start = static_cast<std::size_t>(offset - windowOffset_);
    return start < window_.size() ? window_.substr(start, length) : std::string();
}

std::string DescriptorBytes::readDirectly(std::uint64_t offset, std::size_t length) const {
    std::string bytes;
    if (offset >= size_) return bytes;
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(length, size_ - offset)));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::pread(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

} // namespace ostrel
