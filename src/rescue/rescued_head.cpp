#include "rescue/rescued_head.h"

#include "wave/little_endian.h"
#include "wave/wave_head.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr std::size_t kLongSizeBytes = 28; // of a ds64 chunk without a table
constexpr std::size_t kToldSizes = 24;     // its three numbers

void putChunk(std::string& bytes, const std::string& id, const std::string& payload) {
    bytes += id;
    appendNumber(bytes, payload.size(), 4);
    bytes += payload;
    if (payload.size() % 2 != 0) bytes += '\0';
}

bool canHoldLongSizes(const WaveChunk& chunk) {
    const bool isRoom = chunk.id == "ds64" || chunk.id == "JUNK" || chunk.id == "junk";
    return isRoom && chunk.size >= kLongSizeBytes && chunk.payload == kRiffHeaderBytes + kChunkHeaderBytes;
}

const char* firstLetters(WaveLayout::Kind form, bool isLong) {
    if (!isLong) return "RIFF";
    return form == WaveLayout::Kind::bw64 ? "BW64" : "RF64";
}

} // namespace

std::string rescuedHead(ByteSource& source, const Diagnosis& diagnosis, std::uint64_t tailBytes) {
    const bool hasRoom = !diagnosis.leading.empty() && canHoldLongSizes(diagnosis.leading.front());
    std::string longSizes; // the payload that has room for them; empty: there is none
    std::string chunks;
    for (const WaveChunk& chunk : diagnosis.leading) {
        const std::string payload = source.read(chunk.payload, static_cast<std::size_t>(chunk.size));
        if (hasRoom && &chunk == &diagnosis.leading.front()) {
            longSizes = payload;
        } else if (chunk.id != "ds64") {
            putChunk(chunks, chunk.id, payload);
        }
    }
    if (diagnosis.lacksFormat) putChunk(chunks, "fmt ", formatBytes(*diagnosis.format));

    const std::uint64_t audio = diagnosis.audioBytes + diagnosis.audioBytes % 2;
    const std::uint64_t rest = 4 + chunks.size() + kChunkHeaderBytes + audio + tailBytes; // "WAVE" and all but the room
    const std::uint64_t most = rest + kChunkHeaderBytes + std::max(longSizes.size(), kLongSizeBytes) + 1;
    const bool isLong = diagnosis.form != WaveLayout::Kind::riff || most >= kUnknownSize;
    if (isLong && !hasRoom) longSizes.assign(kLongSizeBytes, '\0');
    std::string room;
    if (isLong || hasRoom) putChunk(room, isLong ? "ds64" : diagnosis.leading.front().id, longSizes);
    const std::uint64_t total = rest + room.size();
    if (isLong) {
        std::string told;
        appendNumber(told, total, 8);
        appendNumber(told, diagnosis.audioBytes, 8);
        appendNumber(told, diagnosis.form == WaveLayout::Kind::bw64 ? 0 : diagnosis.frames(), 8);
        room.replace(kChunkHeaderBytes, kToldSizes, told);
        // A filler's bytes are no table of sizes.
        const bool hadSizes = hasRoom && diagnosis.leading.front().id == "ds64";
        if (!hadSizes) room.replace(kChunkHeaderBytes + kToldSizes, 4, std::string(4, '\0'));
    }
    std::string head = firstLetters(diagnosis.form, isLong);
    appendNumber(head, isLong ? kUnknownSize : total, 4);
    head += "WAVE" + room + chunks + "data";
    appendNumber(head, isLong ? kUnknownSize : diagnosis.audioBytes, 4);
    return head;
}

} // namespace ostrel
