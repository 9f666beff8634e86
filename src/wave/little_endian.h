// Numbers as WAV files hold them: least byte first.
#pragma once

#include <cstdint>
#include <string>

namespace ostrel {

inline void appendNumber(std::string& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

} // namespace ostrel
