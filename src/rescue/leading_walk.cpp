#include "rescue/leading_walk.h"

#include "rescue/tail_chain.h"

#include <algorithm>

namespace ostrel {
namespace {

bool isKnownAt(ByteSource& source, std::uint64_t offset) {
    const std::optional<WaveChunk> chunk = readChunkHeader(source, offset);
    return chunk && isKnownChunk(chunk->id);
}

// Padded, unless a known chunk follows at once and none behind a pad.
bool lacksPadByte(ByteSource& source, const WaveChunk& chunk) {
    const std::uint64_t behind = chunk.payloadEnd();
    return chunk.size % 2 != 0 && !isKnownAt(source, behind + 1) && isKnownAt(source, behind);
}

// What was walked of chunks that nobody knows may as well be audio, where no `data` follows.
void dropUnknown(LeadingChunks& walked, const ByteSource& source) {
    const auto unknown = std::find_if(walked.chunks.begin(), walked.chunks.end(),
                                      [](const WaveChunk& chunk) { return !isKnownChunk(chunk.id); });
    const bool isWholeFile = walked.end + kChunkHeaderBytes > source.size(); // chunks and nothing else
    if (unknown == walked.chunks.end() || isWholeFile) return;
    walked.end = unknown->header();
    walked.cutOff.clear();
    walked.chunks.erase(unknown, walked.chunks.end());
}

} // namespace

LeadingChunks walkLeadingChunks(ByteSource& source) {
    LeadingChunks walked;
    walked.end = kRiffHeaderBytes;
    std::optional<LongSizes> sizes;
    while (walked.chunks.size() < kMostChunks) {
        std::optional<WaveChunk> chunk = readChunkHeader(source, walked.end);
        if (!chunk || !isPrintableId(chunk->id)) break;
        if (chunk->id == "data") {
            if (chunk->size == kUnknownSize && sizes) chunk->size = sizes->data;
            walked.data = chunk;
            return walked;
        }
        if (chunk->payloadEnd() > source.size()) {
            if (isKnownChunk(chunk->id)) walked.cutOff = chunk->id;
            break;
        }
        chunk->lacksPad = lacksPadByte(source, *chunk);
        if (chunk->id == "ds64" && walked.chunks.empty()) sizes = readLongSizes(source, *chunk);
        walked.end = std::min(chunk->end(), source.size());
        walked.chunks.push_back(*chunk);
    }
    dropUnknown(walked, source);
    return walked;
}

} // namespace ostrel
