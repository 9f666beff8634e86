// Where chunks are read from: an open file or a piece of memory. For one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;

    // Fewer bytes than asked for only at the end of the source. A read error reads as the end.
    virtual std::string read(std::uint64_t offset, std::size_t length) = 0;
};

class MemoryBytes : public ByteSource {
public:
    // The bytes are borrowed.
    explicit MemoryBytes(std::string_view bytes) : bytes_(bytes) {}

    std::uint64_t size() const override { return bytes_.size(); }
    std::string read(std::uint64_t offset, std::size_t length) override {
        return offset < bytes_.size() ? std::string(bytes_.substr(offset, length)) : std::string();
    }

private:
    std::string_view bytes_;
};

// A regular file of that size. Chunk headers are a few bytes at a time: a small window saves most calls. What was read
// stays read, so this is not for looking again at bytes that somebody has changed since.
class DescriptorBytes : public ByteSource {
public:
    // The descriptor is borrowed.
    DescriptorBytes(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}

    std::uint64_t size() const override { return size_; }
    std::string read(std::uint64_t offset, std::size_t length) override;

private:
    std::string readDirectly(std::uint64_t offset, std::size_t length) const;

    int descriptor_;
    std::uint64_t size_;
    std::string window_;
    std::uint64_t windowOffset_ = 0;
};

} // namespace ostrel
