#include "wave/chunk_walk.h"

#include "wave/little_endian.h"

#include <algorithm>
#include <cstdio>

namespace ostrel {
namespace {

// The true size of a chunk whose 32-bit field says that it is told elsewhere.
void widen(WaveChunk& chunk, const LongSizes& sizes) {
    if (chunk.size != kUnknownSize) return;
    if (chunk.id == "data") {
        chunk.size = sizes.data;
        return;
    }
    const auto row = std::find_if(sizes.others.begin(), sizes.others.end(),
                                  [&](const auto& other) { return other.first == chunk.id; });
    if (row != sizes.others.end()) chunk.size = row->second;
}

bool couldBeginId(char byte) { return byte == ' ' || (byte >= 'A' && byte <= 'z'); }

} // namespace

bool isPrintableId(std::string_view id) {
    return std::all_of(id.begin(), id.end(), [](char letter) { return letter >= 0x20 && letter <= 0x7E; });
}

std::string shownId(const std::string& id) {
    if (isPrintableId(id)) return id;
    std::string shown = "0x";
    for (const char byte : id) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        shown += digits;
    }
    return shown;
}

std::optional<WaveChunk> readChunkHeader(ByteSource& source, std::uint64_t offset) {
    const std::string header = source.read(offset, kChunkHeaderBytes);
    if (header.size() < kChunkHeaderBytes) return std::nullopt;
    return WaveChunk{header.substr(0, 4), offset + kChunkHeaderBytes, littleEndian<std::uint32_t>(header, 4)};
}

std::optional<LongSizes> readLongSizes(ByteSource& source, const WaveChunk& ds64) {
    constexpr std::size_t kFixed = 24;
    constexpr std::size_t kHead = 28; // with the length of the table
    constexpr std::size_t kRow = 12;
    const std::string head = source.read(ds64.payload, kHead);
    if (head.size() < kFixed || ds64.size < kFixed) return std::nullopt;
    LongSizes sizes{littleEndian<std::uint64_t>(head, 0), littleEndian<std::uint64_t>(head, 8),
                    littleEndian<std::uint64_t>(head, 16)};
    if (head.size() < kHead || ds64.size < kHead) return sizes;
    sizes.rows = littleEndian<std::uint32_t>(head, kFixed);
    const std::uint64_t room = std::min<std::uint64_t>((ds64.size - kHead) / kRow, kMostChunks);
    for (std::uint64_t row = 0; row < std::min<std::uint64_t>(sizes.rows, room); ++row) {
        const std::string entry = source.read(ds64.payload + kHead + row * kRow, kRow);
        if (entry.size() < kRow) break;
        sizes.others.emplace_back(entry.substr(0, 4), littleEndian<std::uint64_t>(entry, 4));
    }
    return sizes;
}

bool looksLikeChunk(ByteSource& source, std::uint64_t offset) {
    const std::optional<WaveChunk> chunk = readChunkHeader(source, offset);
    if (!chunk || !isPrintableId(chunk->id) || chunk->id == "RIFF") return false;
    return chunk->payloadEnd() <= source.size() || (chunk->size == kUnknownSize && chunk->id == "data");
}

std::uint64_t endOfChunks(ByteSource& source, std::uint64_t offset) {
    for (std::size_t count = 0; count < kMostChunks && looksLikeChunk(source, offset); ++count) {
        const std::optional<WaveChunk> chunk = readChunkHeader(source, offset);
        if (!chunk || chunk->payloadEnd() > source.size()) break;
        offset = chunk->payloadEnd();
        if (chunk->size % 2 != 0 && offset < source.size() && !looksLikeChunk(source, offset)) ++offset;
    }
    return offset;
}

void ChunkWalk::setLongSizes(LongSizes sizes) {
    // A writer that never came back leaves any number here.
    declaredEnd_ = sizes.riff > INT64_MAX ? kChunkHeaderBytes : sizes.riff + kChunkHeaderBytes;
    sizes_ = std::move(sizes);
}

std::optional<WaveChunk> ChunkWalk::next() {
    if (end_ != End::none) return std::nullopt;
    if (offset_ + kChunkHeaderBytes > source_.size()) return endHere(End::file);
    std::optional<WaveChunk> chunk = readChunkHeader(source_, offset_);
    if (!chunk) return endHere(End::unreadable);
    const bool isUnused = chunk->id == std::string_view("\0\0\0\0", 4); // space that a recorder set aside
    const bool isBelieved = offset_ < declaredEnd_ || isPrintableId(chunk->id);
    if (isUnused || !isBelieved) return endHere(End::noHeader);
    if (++count_ > kMostChunks) return endHere(End::tooMany);
    if (sizes_) widen(*chunk, *sizes_);
    if (chunk->payloadEnd() > source_.size()) {
        end_ = End::overrun;
        return chunk;
    }
    judgePad(*chunk);
    offset_ = chunk->end();
    return chunk;
}

std::optional<WaveChunk> ChunkWalk::endHere(End end) {
    end_ = end;
    return std::nullopt;
}

// A pad byte should be 0; some recorders write anything, some leave it out.
void ChunkWalk::judgePad(WaveChunk& chunk) {
    const std::uint64_t behind = chunk.payloadEnd();
    if (chunk.size % 2 == 0) return;
    if (behind >= source_.size()) {
        chunk.lacksPad = true;
        return;
    }
    const std::string byte = source_.read(behind, 1);
    if (byte.empty() || !couldBeginId(byte[0])) return;
    const bool isNextHere = looksLikeChunk(source_, behind);
    const bool isNextBehind = behind + 1 == source_.size() || looksLikeChunk(source_, behind + 1);
    if (isNextHere != isNextBehind) {
        chunk.lacksPad = isNextHere;
    } else if (!isNextHere && behind >= declaredEnd_) {
        chunk.lacksPad = true; // bytes behind the end
    } else {
        chunk.isPadUnclear = true;
    }
}

} // namespace ostrel
