#include "bwfmetaedit/bytes/riff_walk.h"

#include <algorithm>
#include <cstdio>

namespace ostrel::bwfmetaedit {

namespace {

std::string shortfall(const std::string& name, std::uint64_t expected, std::uint64_t found) {
    return "The " + name + " chunk should be " + std::to_string(expected) + " bytes, but is " + std::to_string(found) +
           " bytes.";
}

} // namespace

std::string shownName(const std::string& name) {
    std::string shown = shownId(name);
    if (isPrintableId(name) && shown.ends_with(' ')) shown.back() = '_';
    return shown;
}

RiffWalk::RiffWalk(ByteSource& source, Container container)
    : source_(source), container_(std::move(container)), walk_(source, container_.begin, container_.declaredEnd) {
    if (container_.longSizes) walk_.setLongSizes(*container_.longSizes);
}

std::optional<Chunk> RiffWalk::next() {
    if (finished_) return {};
    finished_ = true; // unless a chunk is found that others can follow
    if (walk_.offset() >= container_.declaredEnd && !pastDeclaredEnd_) {
        pastDeclaredEnd_ = true;
        // What follows the declared end counts if it is chunks to the last byte: then the size field is wrong. A size
        // field of 0 was never filled in and says nothing.
        const bool says = container_.declaredEnd > container_.begin;
        if (says && !chunksReachEnd(walk_.offset())) return {};
    }
    const std::optional<WaveChunk> chunk = walk_.next();
    if (walk_.end() == ChunkWalk::End::unreadable) throw InvalidWave{"error during reading"};
    if (walk_.end() == ChunkWalk::End::tooMany) {
        throw InvalidWave{"more than " + std::to_string(kMostChunks) + " chunks"};
    }
    if (!chunk) return {};
    unclosed_ = isWithoutSize(*chunk);
    if (unclosed_) return Chunk{chunk->id, chunk->header(), source_.size() - chunk->payload, false};
    requireSound(*chunk);
    finished_ = false;
    return Chunk{chunk->id, chunk->header(), chunk->size, chunk->end() != chunk->payloadEnd()};
}

bool RiffWalk::chunksReachEnd(std::uint64_t offset) {
    const std::uint64_t end = endOfChunks(source_, offset);
    return end == source_.size() || looksLikeChunk(source_, end); // audio without a size, which reaches to the end
}

// Audio whose size nobody came back to write.
bool RiffWalk::isWithoutSize(const WaveChunk& chunk) {
    if (chunk.id != "data") return false;
    const bool isUnknown = chunk.size == kUnknownSize && !container_.longSizes && chunk.payloadEnd() > source_.size();
    return isUnknown || (chunk.size == 0 && chunk.payload < source_.size() && !chunksReachEnd(chunk.payload));
}

void RiffWalk::requireSound(const WaveChunk& chunk) const {
    if (chunk.payloadEnd() > source_.size()) {
        std::string text = "truncated (";
        const std::uint64_t containerFound = source_.size() - container_.begin;
        const std::uint64_t containerSize =
            container_.declaredSize - std::min<std::uint64_t>(container_.declaredSize, 4);
        if (containerSize > containerFound) text += shortfall(container_.name, containerSize, containerFound) + " ";
        throw InvalidWave{text + shortfall(shownName(chunk.id), chunk.size, source_.size() - chunk.payload) + ")"};
    }
    if (chunk.isPadUnclear) {
        char offset[24];
        std::snprintf(offset, sizeof offset, "0x%08llx", static_cast<unsigned long long>(chunk.payloadEnd() + 1));
        throw InvalidWave{shownName(chunk.id) + ", missing padding byte at " + offset};
    }
}

} // namespace ostrel::bwfmetaedit
