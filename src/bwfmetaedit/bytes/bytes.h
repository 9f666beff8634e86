// Little-endian numbers into byte strings, as RIFF stores them; ostrel::littleEndian reads them.
#pragma once

#include "wave/little_endian.h"

#include <cstdint>
#include <string>

namespace ostrel::bwfmetaedit {

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
