// Where chunks are read from: an open file or a piece of memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

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

} // namespace ostrel::bwfmetaedit
