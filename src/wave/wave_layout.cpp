#include "wave/wave_layout.h"

#include "wave/little_endian.h"
#include "wave/opened_file.h"

#include <algorithm>
#include <sys/stat.h>

namespace ostrel {
namespace {

std::optional<WaveFormat> formatAt(ByteSource& file, const WaveChunk& chunk) {
    constexpr std::size_t kBasic = 16;
    constexpr std::size_t kExtended = 40;
    const std::string bytes = file.read(chunk.payload, kExtended);
    if (bytes.size() < kBasic || chunk.size < kBasic) return std::nullopt;
    WaveFormat format;
    format.tag = littleEndian<std::uint16_t>(bytes, 0);
    format.channels = littleEndian<std::uint16_t>(bytes, 2);
    format.sampleRate = littleEndian<std::uint32_t>(bytes, 4);
    format.blockAlign = littleEndian<std::uint16_t>(bytes, 12);
    format.bits = littleEndian<std::uint16_t>(bytes, 14);
    if (format.tag != WaveFormat::extensible || chunk.size < kExtended || bytes.size() < kExtended) return format;
    format.isExtensible = true;
    format.validBits = littleEndian<std::uint16_t>(bytes, 18);
    format.speakers = littleEndian<std::uint32_t>(bytes, 20);
    format.tag = littleEndian<std::uint16_t>(bytes, 24); // the first two bytes of the format's GUID
    return format;
}

// Whether the 32-bit size of the audio and the 64-bit one are both told, and differ.
bool disagrees(ByteSource& file, const WaveChunk& data, const LongSizes& sizes) {
    const std::optional<WaveChunk> asItStands = readChunkHeader(file, data.header());
    const bool isToldTwice = asItStands && asItStands->size != kUnknownSize && sizes.data != 0;
    return isToldTwice && asItStands->size != sizes.data;
}

void walk(ByteSource& file, WaveLayout& layout) {
    ChunkWalk walk(file, kRiffHeaderBytes, layout.riffSize + kChunkHeaderBytes);
    std::optional<LongSizes> sizes;
    while (const std::optional<WaveChunk> chunk = walk.next()) {
        layout.chunks.push_back(*chunk);
        if (layout.kind != WaveLayout::Kind::riff && layout.find("ds64") == &layout.chunks.back() && !layout.data) {
            sizes = readLongSizes(file, *chunk);
            layout.hasLongSizes = sizes.has_value();
            layout.riffSize = sizes ? sizes->riff : layout.riffSize;
            if (sizes) walk.setLongSizes(*sizes);
        }
        if (chunk->id == "fmt " && !layout.format) layout.format = formatAt(file, *chunk);
        if (chunk->id == "data" && !layout.data) {
            layout.data = *chunk;
            layout.sizesDisagree = sizes && disagrees(file, *chunk, *sizes);
        }
    }
    layout.walkEnd = walk.end();
    layout.walkEndOffset = walk.offset();
}

// Whether headers lead from there to the end of the file. A rest of a few bytes is how many a writer ends: one header
// at most where nothing else follows the audio, and some words behind other chunks.
bool isChainToEnd(ByteSource& file, std::uint64_t at) {
    constexpr std::uint64_t kWords = 32;
    if (at + kChunkHeaderBytes >= file.size()) return true;
    const std::uint64_t end = endOfChunks(file, at);
    return end > at && end + kWords > file.size();
}

} // namespace

const WaveChunk* WaveLayout::find(std::string_view id) const {
    const auto found =
        std::find_if(chunks.begin(), chunks.end(), [id](const WaveChunk& chunk) { return chunk.id == id; });
    return found == chunks.end() ? nullptr : &*found;
}

bool WaveLayout::endsAsDeclared() const {
    constexpr std::uint64_t kHead = 8; // the first four characters and the size itself
    const std::uint64_t declared = riffSize + kHead;
    return declared + 1 >= fileSize && declared <= fileSize + 1;
}

std::uint64_t WaveLayout::audioBytes() const {
    if (!data || data->payload > fileSize) return 0;
    const std::uint64_t there = fileSize - data->payload;
    return isStreamed ? there : std::min(data->size, there);
}

std::string WaveLayout::fault() const {
    const std::string at = " at offset " + std::to_string(walkEndOffset);
    switch (walkEnd) {
    case ChunkWalk::End::none:
    case ChunkWalk::End::file: return {};
    case ChunkWalk::End::noHeader: return "no chunk" + at;
    case ChunkWalk::End::overrun:
        return "the chunk \"" + shownId(chunks.back().id) + "\"" + at + " passes the end of the file by " +
               std::to_string(chunks.back().payloadEnd() - fileSize) + " bytes";
    case ChunkWalk::End::tooMany: return "too many chunks, the next" + at;
    case ChunkWalk::End::unreadable: return "the disk can't be read" + at;
    }
    return {};
}

std::optional<WaveLayout> readWaveLayout(int descriptor) {
    struct stat found;
    if (::fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    DescriptorBytes file(descriptor, static_cast<std::uint64_t>(found.st_size));
    const std::string start = file.read(0, kRiffHeaderBytes);
    if (start.size() < kRiffHeaderBytes || !start.ends_with("WAVE")) return std::nullopt;
    WaveLayout layout;
    layout.fileSize = file.size();
    layout.riffSize = littleEndian<std::uint32_t>(start, 4);
    if (start.starts_with("RF64")) {
        layout.kind = WaveLayout::Kind::rf64;
    } else if (start.starts_with("BW64")) {
        layout.kind = WaveLayout::Kind::bw64;
    } else if (!start.starts_with("RIFF")) {
        return std::nullopt;
    }
    walk(file, layout);
    if (layout.data && layout.hasLongSizes && layout.riffSize != 0 && layout.data->payloadEnd() > layout.riffSize + 9) {
        layout.sizesDisagree = true;
    }
    const bool saysNothing = layout.data && (layout.data->size == 0 || layout.data->size == kUnknownSize);
    layout.isStreamed = saysNothing && !layout.hasLongSizes && unexplainedBytes(layout, descriptor) > 0;
    return layout;
}

std::optional<WaveLayout> readWaveLayout(const std::string& path) { return readWaveLayout(OpenedFile(path).get()); }

std::optional<std::uint64_t> readTimeReference(const WaveLayout& layout, const std::string& path) {
    constexpr std::uint64_t kField = 338; // behind description, originator, reference, date and time
    const WaveChunk* bext = layout.find("bext");
    if (!bext || bext->size < kField + 8) return std::nullopt;
    const OpenedFile file(path);
    const std::string bytes = DescriptorBytes(file.get(), layout.fileSize).read(bext->payload + kField, 8);
    if (bytes.size() < 8) return std::nullopt;
    return littleEndian<std::uint64_t>(bytes);
}

std::uint64_t unexplainedBytes(const WaveLayout& layout, int descriptor) {
    if (!layout.data) return 0;
    DescriptorBytes file(descriptor, layout.fileSize);
    const bool saysNothing = layout.data->size == kUnknownSize && !layout.hasLongSizes;
    const std::uint64_t end = saysNothing ? layout.data->payload : layout.data->payloadEnd();
    if (end >= layout.fileSize) return 0;
    if (isChainToEnd(file, end + (end & 1)) || isChainToEnd(file, end)) return 0;
    return layout.fileSize - end;
}

std::uint64_t missingBytes(const WaveLayout& layout) {
    if (!layout.data || layout.isStreamed) return 0;
    const std::uint64_t end = layout.data->payloadEnd();
    return end > layout.fileSize ? end - layout.fileSize : 0;
}

} // namespace ostrel
