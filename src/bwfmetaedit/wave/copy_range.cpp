#include "bwfmetaedit/wave/copy_range.h"

#include "bwfmetaedit/bytes/file_bytes.h"
#include "bwfmetaedit/wave/wave_writer.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <unistd.h>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::uint64_t kBlock = 512ULL * 1024;

class Block {
public:
    Block() : bytes_(kBlock, '\0') {}

    void copy(int from, std::uint64_t source, int to, std::uint64_t target, std::uint64_t length) {
        std::size_t done = 0;
        while (done < length) {
            const ssize_t count = ::pread(from, bytes_.data() + done, static_cast<std::size_t>(length) - done,
                                          static_cast<off_t>(source + done));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) throw WriteError{"error during reading"};
            done += static_cast<std::size_t>(count);
        }
        if (!writeAll(to, std::string_view(bytes_).substr(0, done), target)) throw WriteError{"error during writing"};
    }

private:
    std::string bytes_;
};

// The first byte of data at or behind the offset, or `end`. A file system that knows no holes has data everywhere.
std::uint64_t nextData(int file, std::uint64_t offset, std::uint64_t end) {
    const off_t found = ::lseek(file, static_cast<off_t>(offset), SEEK_DATA);
    if (found < 0) return errno == ENXIO ? end : offset;
    return std::min(static_cast<std::uint64_t>(found), end);
}

std::uint64_t nextHole(int file, std::uint64_t offset, std::uint64_t end) {
    const off_t found = ::lseek(file, static_cast<off_t>(offset), SEEK_HOLE);
    if (found <= static_cast<off_t>(offset)) return end;
    return std::min(static_cast<std::uint64_t>(found), end);
}

} // namespace

void copyRange(int from, std::uint64_t source, int to, std::uint64_t target, std::uint64_t length) {
    Block block;
    const std::uint64_t end = source + length;
    for (std::uint64_t position = nextData(from, source, end); position < end;) {
        const std::uint64_t dataEnd = nextHole(from, position, end);
        while (position < dataEnd) {
            const std::uint64_t count = std::min(kBlock, dataEnd - position);
            block.copy(from, position, to, target + (position - source), count);
            position += count;
        }
        position = nextData(from, position, end);
    }
}

void moveRange(int file, std::uint64_t source, std::uint64_t target, std::uint64_t length) {
    Block block;
    for (std::uint64_t done = 0; done < length;) {
        const std::uint64_t count = std::min(kBlock, length - done);
        // Towards the end of the file the last block has to go first.
        const std::uint64_t offset = target < source ? done : length - done - count;
        block.copy(file, source + offset, file, target + offset, count);
        done += count;
    }
}

void writeZeros(int file, std::uint64_t target, std::uint64_t length) {
    const std::string zeros(static_cast<std::size_t>(std::min(kBlock, length)), '\0');
    while (length > 0) {
        const std::uint64_t count = std::min(kBlock, length);
        if (!writeAll(file, std::string_view(zeros).substr(0, static_cast<std::size_t>(count)), target)) {
            throw WriteError{"error during writing"};
        }
        target += count;
        length -= count;
    }
}

} // namespace ostrel::bwfmetaedit
