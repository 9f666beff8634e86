#include "wave/wave_head.h"

#include "wave/little_endian.h"

namespace ostrel {
namespace {

constexpr std::uint64_t kLongSizes = 28; // of a ds64 chunk without a table
constexpr std::uint64_t kAlignment = 4096;

// Behind the two bytes that tell the sort of samples, every format GUID of WAVEFORMATEXTENSIBLE is this.
constexpr char kGuidTail[] = "\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71";

void appendChunk(std::string& bytes, const std::string& id, const std::string& payload) {
    bytes += id;
    appendNumber(bytes, payload.size(), 4);
    bytes += payload;
    if (payload.size() % 2) bytes += '\0';
}

// Behind the format, wherever samples are no integers: how many frames there are.
std::string factBytes(std::uint64_t frames) {
    std::string bytes;
    appendNumber(bytes, frames > kUnknownSize ? kUnknownSize : frames, 4);
    return bytes;
}

// Everything between the first chunk and the header of the audio.
std::string middleOf(const WaveHead& head) {
    const std::uint64_t frames = head.format.blockAlign ? head.audioBytes / head.format.blockAlign : 0;
    std::string bytes;
    appendChunk(bytes, "fmt ", formatBytes(head.format));
    if (head.format.tag != WaveFormat::pcm) appendChunk(bytes, "fact", factBytes(frames));
    for (const WaveHeadChunk& chunk : head.chunks) appendChunk(bytes, chunk.id, chunk.bytes);
    return bytes;
}

void fillUp(std::string& bytes) {
    const std::uint64_t used = bytes.size() + 2 * kChunkHeaderBytes; // the filler's header and that of the audio
    appendChunk(bytes, "JUNK", std::string((kAlignment - used % kAlignment) % kAlignment, '\0'));
}

} // namespace

std::string formatBytes(const WaveFormat& format) {
    const bool isExtensible = format.isExtensible || format.channels > 2;
    std::string bytes;
    appendNumber(bytes, isExtensible ? std::uint16_t{WaveFormat::extensible} : format.tag, 2);
    appendNumber(bytes, format.channels, 2);
    appendNumber(bytes, format.sampleRate, 4);
    appendNumber(bytes, std::uint64_t{format.sampleRate} * format.blockAlign, 4);
    appendNumber(bytes, format.blockAlign, 2);
    appendNumber(bytes, format.bits, 2);
    if (isExtensible) {
        appendNumber(bytes, 22, 2); // bytes of format that follow
        appendNumber(bytes, format.validBits ? format.validBits : format.bits, 2);
        appendNumber(bytes, format.speakers, 4);
        appendNumber(bytes, format.tag, 2);
        bytes.append(kGuidTail, sizeof kGuidTail - 1);
    } else if (format.tag != WaveFormat::pcm) {
        appendNumber(bytes, 0, 2);
    }
    return bytes;
}

std::string headBytes(const WaveHead& head) {
    std::string bytes(kRiffHeaderBytes + kChunkHeaderBytes + kLongSizes,
                      '\0'); // put right below, when the whole length is known
    bytes += middleOf(head);
    fillUp(bytes);
    const std::uint64_t total = bytes.size() + kChunkHeaderBytes + head.audioBytes + head.audioBytes % 2;
    const bool isLong = total - kChunkHeaderBytes >= kUnknownSize;

    std::string start = isLong ? "RF64" : "RIFF";
    appendNumber(start, isLong ? kUnknownSize : total - kChunkHeaderBytes, 4);
    start += "WAVE";
    std::string sizes;
    if (isLong) {
        appendNumber(sizes, total - kChunkHeaderBytes, 8);
        appendNumber(sizes, head.audioBytes, 8);
        appendNumber(sizes, head.format.blockAlign ? head.audioBytes / head.format.blockAlign : 0, 8);
    }
    sizes.resize(kLongSizes, '\0');
    appendChunk(start, isLong ? "ds64" : "JUNK", sizes);
    bytes.replace(0, start.size(), start);
    bytes += "data";
    appendNumber(bytes, isLong ? kUnknownSize : head.audioBytes, 4);
    return bytes;
}

} // namespace ostrel
