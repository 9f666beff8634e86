#include "rescue/rescued_copy.h"

#include "rescue/rescued_head.h"
#include "wave/channel_copy.h"
#include "wave/copy_file.h"
#include "wave/opened_file.h"

#include <algorithm>
#include <vector>

namespace ostrel {
namespace {

constexpr std::uint64_t kBlock = std::uint64_t{4} << 20;

std::uint64_t tailBytesOf(const Diagnosis& diagnosis) { return diagnosis.tailEnd - diagnosis.tail; }

// Calls with the place of each block.
template <class Take>
void forEachBlock(std::uint64_t size, const Take& take) {
    for (std::uint64_t at = 0; at < size; at += kBlock) {
        take(at, static_cast<std::size_t>(std::min(kBlock, size - at)));
    }
}

void copyStretch(const CopyFile& from, std::uint64_t begin, const CopyFile& to, std::uint64_t target,
                 std::uint64_t size, const CopiedBytes& copied) {
    std::vector<char> block(static_cast<std::size_t>(std::min(size, kBlock)));
    forEachBlock(size, [&](std::uint64_t at, std::size_t length) {
        from.readAll(block.data(), length, begin + at);
        to.writeAll(block.data(), length, target + at);
        copied(length);
    });
}

bool isSameStretch(const CopyFile& a, std::uint64_t beginA, const CopyFile& b, std::uint64_t beginB, std::uint64_t size,
                   const CopiedBytes& copied) {
    std::vector<char> left(static_cast<std::size_t>(std::min(size, kBlock)));
    std::vector<char> right(left.size());
    bool isSame = true;
    forEachBlock(size, [&](std::uint64_t at, std::size_t length) {
        if (!isSame) return;
        a.readAll(left.data(), length, beginA + at);
        b.readAll(right.data(), length, beginB + at);
        isSame = std::equal(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(length), right.begin());
        copied(length);
    });
    return isSame;
}

std::string headOf(const std::string& path, const Diagnosis& diagnosis) {
    const OpenedFile file(path);
    DescriptorBytes source(file.get(), diagnosis.fileSize);
    const std::uint64_t tail = tailBytesOf(diagnosis);
    return rescuedHead(source, diagnosis, tail + tail % 2);
}

bool hasSoundHead(const WaveLayout& layout, const Diagnosis& diagnosis) {
    const bool isFormatKept = layout.format && layout.format->channels == diagnosis.format->channels &&
                              layout.format->blockAlign == diagnosis.format->blockAlign &&
                              layout.format->sampleRate == diagnosis.format->sampleRate;
    return isFormatKept && layout.data && layout.data->size == diagnosis.audioBytes && layout.endsAsDeclared() &&
           !layout.sizesDisagree;
}

// The payloads ahead of the audio, in order.
bool hasLeadingChunks(const CopyFile& source, const CopyFile& copy, const WaveLayout& layout,
                      const Diagnosis& diagnosis, const CopiedBytes& copied) {
    const auto isRoom = [](const WaveChunk& chunk) {
        return chunk.id == "ds64" || chunk.id == "JUNK" || chunk.id == "junk";
    };
    std::size_t next = 0;
    for (const WaveChunk& chunk : diagnosis.leading) {
        if (isRoom(chunk)) continue;
        while (next < layout.chunks.size() && layout.chunks[next].id != chunk.id) ++next;
        if (next == layout.chunks.size() || layout.chunks[next].size != chunk.size) return false;
        if (!isSameStretch(source, chunk.payload, copy, layout.chunks[next++].payload, chunk.size, copied))
            return false;
    }
    return true;
}

} // namespace

void writeRescuedCopy(const std::string& from, const std::string& to, const Diagnosis& diagnosis,
                      const CopiedBytes& copied) {
    const CopyFile source = CopyFile::forReading(from);
    source.requireSize(diagnosis.fileSize);
    const std::string head = headOf(from, diagnosis);
    const CopyFile target = CopyFile::forWriting(to);
    const std::uint64_t tail = head.size() + diagnosis.audioBytes + diagnosis.audioBytes % 2;
    const std::uint64_t tailBytes = tailBytesOf(diagnosis);
    target.reserve(tail + tailBytes + tailBytes % 2);
    target.cutTo(tail + tailBytes + tailBytes % 2); // pad bytes are zeros that nobody writes
    copyStretch(source, diagnosis.audio, target, head.size(), diagnosis.audioBytes, copied);
    copyStretch(source, diagnosis.tail, target, tail, tailBytes, copied);
    target.writeAll(head.data(), head.size(), 0);
    source.requireUnchanged();
}

bool isWholeCopy(const std::string& from, const std::string& to, const Diagnosis& diagnosis,
                 const CopiedBytes& copied) {
    const std::optional<WaveLayout> layout = readWaveLayout(to);
    if (!layout || !hasSoundHead(*layout, diagnosis)) return false;
    const CopyFile source = CopyFile::forReading(from);
    source.requireSize(diagnosis.fileSize);
    const CopyFile copy = CopyFile::forReading(to);
    const std::uint64_t audio = layout->data->payload;
    const std::uint64_t tail = audio + diagnosis.audioBytes + diagnosis.audioBytes % 2;
    return hasLeadingChunks(source, copy, *layout, diagnosis, [](std::uint64_t) {}) &&
           isSameStretch(source, diagnosis.audio, copy, audio, diagnosis.audioBytes, copied) &&
           isSameStretch(source, diagnosis.tail, copy, tail, tailBytesOf(diagnosis), copied);
}

} // namespace ostrel
