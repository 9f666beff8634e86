// A change of a few bytes of a file, told whole ahead of it: so that it can be seen afterwards that it is the only one.
// Block on the disk; for any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel {

// These bytes at this offset: over what stands there, or behind the end of the file.
struct ByteEdit {
    std::uint64_t offset = 0;
    std::string bytes;
};

// Throws CopyError. A part may be written then.
void applyEdits(const std::vector<ByteEdit>& edits, const std::string& file);

// Whether the copy is the original with these edits and nothing else, every byte of both read. Throws CopyError for
// what can't be read.
bool isEditOf(const std::string& copy, const std::string& original, const std::vector<ByteEdit>& edits);

} // namespace ostrel
