#include "bwfmetaedit/bytes/riff_walk.h"

#include "bwfmetaedit/bytes/bytes.h"

#include <algorithm>
#include <cstdio>

namespace ostrel::bwfmetaedit {

namespace {

// A file of nothing but empty chunks could name hundreds of millions of them.
constexpr std::size_t kMostChunks = 20'000;

bool isPrintable(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return c >= 0x20 && c <= 0x7e; });
}

std::uint64_t available(const ByteSource& source, std::uint64_t chunkOffset) {
    return source.size() - chunkOffset - kChunkHeader;
}

std::string hexadecimal(const char* format, std::uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof text, format, static_cast<unsigned long long>(number));
    return text;
}

std::string shortfall(const std::string& name, std::uint64_t expected, std::uint64_t found) {
    return "The " + name + " chunk should be " + std::to_string(expected) + " bytes, but is " + std::to_string(found) +
           " bytes.";
}

} // namespace

std::string shownName(const std::string& name) {
    if (isPrintable(name)) {
        std::string shown = name;
        if (shown.ends_with(' ')) shown.back() = '_';
        return shown;
    }
    std::string result = "0x";
    for (const char c : name) result += hexadecimal("%02llX", static_cast<unsigned char>(c));
    return result;
}

std::optional<Chunk> RiffWalk::next() {
    if (finished_) return {};
    finished_ = true; // unless a chunk is found that others can follow
    if (position_ >= container_.declaredEnd && !pastDeclaredEnd_) {
        pastDeclaredEnd_ = true;
        // What follows the declared end counts if it is chunks to the last byte: then the size field is wrong. A size
        // field of 0 was never filled in and says nothing.
        const bool says = container_.declaredEnd > container_.begin;
        if (says && !chunksReachEnd(position_)) return {};
    }
    if (source_.size() - position_ < kChunkHeader) return {};
    const std::string header = source_.read(position_, kChunkHeader);
    if (header.size() < kChunkHeader) throw InvalidWave{"error during reading"};
    Chunk chunk{header.substr(0, 4), position_, littleEndian<std::uint32_t>(header, 4), false};
    if (pastDeclaredEnd_ && !isPrintable(chunk.name)) return {};
    if (chunk.name == std::string(4, '\0')) return {}; // space that a recorder set aside and never used
    if (++count_ > kMostChunks) throw InvalidWave{"more than " + std::to_string(kMostChunks) + " chunks"};

    const std::uint64_t room = available(source_, position_);
    const bool isData = chunk.name == "data";
    const bool isWide = isData && container_.wideDataSize && chunk.size == kUnknownSize;
    if (isWide) chunk.size = *container_.wideDataSize;
    const bool noSize = isData && !isWide && chunk.size == kUnknownSize && room < kUnknownSize;
    const bool zeroSize = isData && chunk.size == 0 && room > 0 && !chunksReachEnd(chunk.dataOffset());
    if (noSize || zeroSize) {
        unclosed_ = true;
        chunk.size = room;
        position_ = source_.size();
        return chunk;
    }
    if (chunk.size > room) throwTruncated(chunk.name, chunk.size, room);
    position_ = chunk.dataEnd();
    if (chunk.size % 2 != 0 && hasPadByte(position_, chunk.name)) {
        chunk.hasPadByte = true;
        ++position_;
    }
    finished_ = false;
    return chunk;
}

bool RiffWalk::looksLikeChunk(std::uint64_t offset) {
    if (offset + kChunkHeader > source_.size()) return false;
    const std::string header = source_.read(offset, kChunkHeader);
    if (header.size() < kChunkHeader || !isPrintable(std::string_view(header).substr(0, 4))) return false;
    if (header.starts_with("RIFF")) return false; // another file behind this one
    const auto size = littleEndian<std::uint32_t>(header, 4);
    return size <= available(source_, offset) || (size == kUnknownSize && header.starts_with("data"));
}

bool RiffWalk::chunksReachEnd(std::uint64_t offset) {
    for (std::size_t count = 0; count < kMostChunks; ++count) {
        if (offset == source_.size()) return true;
        if (!looksLikeChunk(offset)) return false;
        const std::uint64_t size = littleEndian<std::uint32_t>(source_.read(offset, kChunkHeader), 4);
        if (size > available(source_, offset)) return true; // data without a size: it reaches to the end
        const std::uint64_t dataEnd = offset + kChunkHeader + size;
        const bool padded = size % 2 != 0 && dataEnd < source_.size() && !looksLikeChunk(dataEnd);
        offset = dataEnd + (padded ? 1 : 0);
    }
    return false;
}

// After an odd size. A pad byte should be 0; some recorders write anything, some leave it out.
bool RiffWalk::hasPadByte(std::uint64_t dataEnd, const std::string& name) {
    if (dataEnd >= source_.size()) return false;
    const std::string byte = source_.read(dataEnd, 1);
    const bool couldBeName = !byte.empty() && (byte[0] == ' ' || (byte[0] >= 'A' && byte[0] <= 'z'));
    if (!couldBeName) return true;
    const bool chunkHere = looksLikeChunk(dataEnd);
    const bool chunkBehind = dataEnd + 1 == source_.size() || looksLikeChunk(dataEnd + 1);
    if (chunkHere != chunkBehind) return chunkBehind;
    if (!chunkHere && dataEnd >= container_.declaredEnd) return false; // bytes behind the end
    throw InvalidWave{shownName(name) + ", missing padding byte at " + hexadecimal("0x%08llx", dataEnd + 1)};
}

void RiffWalk::throwTruncated(const std::string& name, std::uint64_t size, std::uint64_t found) const {
    std::string text = "truncated (";
    const std::uint64_t containerFound = source_.size() - container_.begin;
    const std::uint64_t containerSize = container_.declaredSize - std::min<std::uint64_t>(container_.declaredSize, 4);
    if (containerSize > containerFound) text += shortfall(container_.name, containerSize, containerFound) + " ";
    throw InvalidWave{text + shortfall(shownName(name), size, found) + ")"};
}

} // namespace ostrel::bwfmetaedit
