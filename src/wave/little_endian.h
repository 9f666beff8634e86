// Little-endian numbers in byte strings, as RIFF stores them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel {

// Reads sizeof(Number) bytes at the offset; the caller has checked that they are there.
template <typename Number>
Number littleEndian(std::string_view bytes, std::size_t offset = 0) {
    std::uint64_t value = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    }
    return static_cast<Number>(value);
}

inline void appendNumber(std::string& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

} // namespace ostrel
