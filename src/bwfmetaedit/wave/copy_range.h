// Copies bytes between files or within one, in blocks.
#pragma once

#include <cstdint>

namespace ostrel::bwfmetaedit {

// Both throw WriteError when a byte can't be read or written.

// Between two files. Holes of a sparse source are left out: the target has its full size already.
void copyRange(int from, std::uint64_t source, int to, std::uint64_t target, std::uint64_t length);

// Within one file; the ranges may overlap.
void moveRange(int file, std::uint64_t source, std::uint64_t target, std::uint64_t length);

void writeZeros(int file, std::uint64_t target, std::uint64_t length);

} // namespace ostrel::bwfmetaedit
