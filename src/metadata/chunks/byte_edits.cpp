#include "metadata/chunks/byte_edits.h"

#include "wave/channel_copy.h"
#include "wave/copy_file.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr std::uint64_t kComparedBytes = 1 << 20;

// What of the edits lies in the block that begins there.
void patch(std::string& block, std::uint64_t begin, const std::vector<ByteEdit>& edits) {
    const std::uint64_t end = begin + block.size();
    for (const ByteEdit& edit : edits) {
        const std::uint64_t from = std::max(begin, edit.offset);
        const std::uint64_t to = std::min<std::uint64_t>(end, edit.offset + edit.bytes.size());
        if (from >= to) continue;
        block.replace(from - begin, to - from, edit.bytes, from - edit.offset, to - from);
    }
}

} // namespace

void applyEdits(const std::vector<ByteEdit>& edits, const std::string& file) {
    const CopyFile target = CopyFile::forChanging(file);
    for (const ByteEdit& edit : edits) target.writeAll(edit.bytes.data(), edit.bytes.size(), edit.offset);
}

bool isEditOf(const std::string& copy, const std::string& original, const std::vector<ByteEdit>& edits) {
    const CopyFile was = CopyFile::forReading(original);
    const CopyFile is = CopyFile::forReading(copy);
    std::uint64_t size = was.size();
    for (const ByteEdit& edit : edits) size = std::max<std::uint64_t>(size, edit.offset + edit.bytes.size());
    if (is.size() != size) return false;
    for (std::uint64_t at = 0; at < size; at += kComparedBytes) {
        std::string wanted(std::min(kComparedBytes, size - at), '\0');
        std::string found(wanted.size(), '\0');
        if (at < was.size()) was.readAll(wanted.data(), std::min<std::uint64_t>(wanted.size(), was.size() - at), at);
        patch(wanted, at, edits);
        is.readAll(found.data(), found.size(), at);
        if (found != wanted) return false;
    }
    was.requireUnchanged();
    return true;
}

} // namespace ostrel
