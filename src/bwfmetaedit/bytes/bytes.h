// Little-endian numbers in byte strings, as RIFF stores them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

// Reads sizeof(Number) bytes at the offset; the caller has checked that they are there.
template <typename Number>
Number littleEndian(std::string_view bytes, std::size_t offset = 0) {
    std::uint64_t value = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    }
    return static_cast<Number>(value);
}

template <typename Number>
void putLittleEndian(std::string& bytes, std::size_t offset, Number number) {
    auto value = static_cast<std::uint64_t>(number);
    for (std::size_t i = 0; i < sizeof(Number); ++i, value >>= 8) {
        bytes[offset + i] = static_cast<char>(value & 0xff);
    }
}

template <typename Number>
std::string littleEndianBytes(Number number) {
    std::string bytes(sizeof(Number), '\0');
    putLittleEndian(bytes, 0, number);
    return bytes;
}

} // namespace ostrel::bwfmetaedit
