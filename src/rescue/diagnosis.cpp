#include "rescue/diagnosis.h"

#include "rescue/leading_walk.h"
#include "rescue/tail_chain.h"
#include "wave/little_endian.h"
#include "wave/opened_file.h"

#include <algorithm>
#include <cmath>
#include <sys/stat.h>

namespace ostrel {
namespace {

constexpr std::uint64_t kFormatBytes = 24; // of a plain `fmt ` chunk with its header
constexpr std::uint64_t kSector = 512;
constexpr std::uint64_t kMostHead = std::uint64_t{256} << 20; // is held in memory

Diagnosis refusal(const std::string& reason) {
    Diagnosis result;
    result.reason = reason;
    return result;
}

bool isSound(const std::optional<WaveFormat>& format) {
    return format && format->channels > 0 && format->blockAlign > 0 && format->sampleRate > 0;
}

// Nothing is walked where the size is 0: what follows is audio, unless the end of the file says otherwise.
bool isHealthy(const WaveLayout& layout, int descriptor, ByteSource& source) {
    if (!layout.data || !isSound(layout.format) || layout.isStreamed || missingBytes(layout) > 0) return false;
    const bool saysNothing = layout.data->size == 0 || (layout.data->size == kUnknownSize && !layout.hasLongSizes);
    if (saysNothing) return tailBegin(source, layout.data->payload) == layout.data->payload;
    return unexplainedBytes(layout, descriptor) == 0;
}

Diagnosis healthy(const WaveLayout& layout) {
    Diagnosis result;
    result.kind = Diagnosis::Kind::healthy;
    result.form = layout.kind;
    result.fileSize = layout.fileSize;
    result.format = layout.format;
    result.audio = layout.data->payload;
    result.audioBytes = layout.audioBytes() - layout.audioBytes() % layout.format->blockAlign;
    result.declared = layout.data->size;
    return result;
}

// Known chunks behind an end that the head tells, the last of which the file's end has cut off: that end is believed.
std::optional<std::uint64_t> endAheadOfCutTail(ByteSource& source, const WaveChunk& data) {
    if (data.size == 0 || data.payloadEnd() >= source.size()) return std::nullopt;
    for (const std::uint64_t at : {data.payloadEnd() + data.size % 2, data.payloadEnd()}) {
        const std::optional<WaveChunk> chunk = readChunkHeader(source, at);
        if (chunk && isKnownChunk(chunk->id)) return at;
    }
    return std::nullopt;
}

// Behind the last whole chunk of a tail that is cut off.
std::uint64_t wholeTailEnd(ByteSource& source, std::uint64_t at) {
    for (std::size_t count = 0; count < kMostChunks; ++count) {
        const std::optional<WaveChunk> chunk = readChunkHeader(source, at);
        if (!chunk || !isKnownChunk(chunk->id) || chunk->payloadEnd() > source.size()) break;
        at = std::min(chunk->end(), source.size());
    }
    return at;
}

bool isZeros(ByteSource& source, std::uint64_t offset, std::uint64_t size) {
    const std::string bytes = source.read(offset, static_cast<std::size_t>(size));
    return bytes.size() == size && bytes.find_first_not_of('\0') == std::string::npos;
}

bool hasSameHead(const std::vector<WaveChunk>& ours, const std::vector<WaveChunk>& theirs) {
    return !ours.empty() && ours.size() <= theirs.size() &&
           std::equal(ours.begin(), ours.end(), theirs.begin(),
                      [](const WaveChunk& a, const WaveChunk& b) { return a.id == b.id && a.size == b.size; });
}

// Without a header of the audio it begins behind the chunks, or behind the room that a recorder left for the missing
// headers: zeros up to a whole sector, or up to where the audio of a take of the same card begins.
std::uint64_t audioWithoutHeader(ByteSource& source, const LeadingChunks& walked, bool lacksFormat,
                                 const LikeFile* like) {
    const std::uint64_t room = kChunkHeaderBytes + (lacksFormat ? kFormatBytes : 0);
    if (like && like->audio >= walked.end + kChunkHeaderBytes && like->audio < source.size() &&
        hasSameHead(walked.chunks, like->leading) && isZeros(source, walked.end, like->audio - walked.end)) {
        return like->audio;
    }
    const std::uint64_t behind = walked.end + room;
    return behind % kSector == 0 && isZeros(source, walked.end, room) ? behind : walked.end;
}

std::string shown(std::uint64_t number) { return std::to_string(number) + (number == 1 ? " byte" : " bytes"); }

void tellSizes(Diagnosis& result, const WaveChunk& data) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 62;
    const bool isKnownSize = data.size != 0 && data.size != kUnknownSize && data.size < kMost;
    result.declared = isKnownSize ? data.size : 0;
    if (!isKnownSize) {
        result.findings.push_back("the head tells no size of the audio");
    } else if (data.payloadEnd() > result.fileSize) {
        result.findings.push_back("the head declares " + shown(data.payloadEnd() - result.fileSize) +
                                  " of audio more than the file holds");
    } else {
        result.findings.push_back("the audio goes on behind its declared end");
    }
}

// Where the audio ends and what stands behind it.
void findEnd(Diagnosis& result, ByteSource& source, const std::optional<WaveChunk>& data) {
    const std::optional<std::uint64_t> believed = data ? endAheadOfCutTail(source, *data) : std::nullopt;
    std::uint64_t end = 0;
    if (believed) {
        end = data->payloadEnd();
        result.declared = data->size;
        result.tail = *believed;
        result.tailEnd = wholeTailEnd(source, *believed);
        result.findings.push_back(
            "the last chunk behind the audio is cut off: " + shown(source.size() - result.tailEnd) + " left out");
    } else {
        end = tailBegin(source, result.audio);
        result.tail = end;
        result.tailEnd = source.size();
        if (data) tellSizes(result, *data);
    }
    result.cutBytes = (end - result.audio) % result.format->blockAlign;
    result.audioBytes = end - result.audio - result.cutBytes;
    if (result.cutBytes > 0) {
        result.findings.push_back("a frame is cut off at the end: " + shown(result.cutBytes) + " left out");
    }
}

std::uint64_t zerosAtEnd(ByteSource& source, std::uint64_t begin, std::uint64_t end) {
    constexpr std::uint64_t kBlock = std::uint64_t{1} << 20;
    for (std::uint64_t at = end; at > begin;) {
        const std::uint64_t from = at - begin > kBlock ? at - kBlock : begin;
        const std::string bytes = source.read(from, static_cast<std::size_t>(at - from));
        const std::size_t last = bytes.find_last_not_of('\0');
        if (last != std::string::npos) return end - (from + last + 1);
        at = from;
    }
    return end - begin;
}

// Why the bytes are no recording at all; empty: they may be one.
std::string noWave(const std::string& head, std::uint64_t size) {
    if (size == 0) return "the file is empty: its audio is, if anywhere, in an image of the card";
    const bool isWave = head.size() == kRiffHeaderBytes && head.ends_with("WAVE") &&
                        (head.starts_with("RIFF") || head.starts_with("RF64") || head.starts_with("BW64"));
    return isWave ? std::string() : "no WAV file: it does not begin as one";
}

std::optional<WaveFormat> ownFormat(const std::optional<WaveLayout>& layout, const LeadingChunks& walked) {
    const bool isWalked = std::any_of(walked.chunks.begin(), walked.chunks.end(),
                                      [](const WaveChunk& chunk) { return chunk.id == "fmt "; });
    return isWalked && layout && isSound(layout->format) ? layout->format : std::nullopt;
}

Diagnosis unclosed(ByteSource& source, const std::optional<WaveLayout>& layout, const LikeFile* like) {
    Diagnosis result;
    result.fileSize = source.size();
    result.form = layout ? layout->kind : WaveLayout::Kind::riff;
    const LeadingChunks walked = walkLeadingChunks(source);
    result.leading = walked.chunks;
    if (!walked.data && !walked.cutOff.empty()) {
        return refusal("the file ends in its chunk \"" + walked.cutOff + "\", ahead of the audio");
    }
    if (walked.end > kMostHead) return refusal("its head is larger than 256 MiB");
    result.format = ownFormat(layout, walked);
    result.lacksFormat = !result.format;
    result.audio = walked.data ? walked.data->payload : audioWithoutHeader(source, walked, result.lacksFormat, like);
    if (result.audio + (walked.data ? 0 : kChunkHeaderBytes) >= source.size()) {
        return refusal("the file ends ahead of its audio");
    }
    if (result.lacksFormat) {
        const FoundFormat found = searchFormat(source, walked.chunks, like);
        if (!found.format) return refusal(found.from);
        result.format = found.format;
        std::erase_if(result.leading, [](const WaveChunk& chunk) { return chunk.id == "fmt "; });
        result.findings.push_back("no format in the head; taken from " + found.from);
    }
    if (result.format->tag != WaveFormat::pcm && result.format->tag != WaveFormat::ieeeFloat) {
        return refusal("its audio is compressed (format " + std::to_string(result.format->tag) +
                       "): where it ends can't be told");
    }
    if (!walked.data) {
        result.findings.push_back("no header of the audio, which begins at byte " + std::to_string(result.audio));
    }
    findEnd(result, source, walked.data);
    if (result.audioBytes == 0) return refusal("the file holds no whole frame of audio");
    result.silentFrames =
        zerosAtEnd(source, result.audio, result.audio + result.audioBytes) / result.format->blockAlign;
    result.kind = Diagnosis::Kind::unclosed;
    return result;
}

std::string timeText(double seconds) {
    if (seconds >= 120) return std::to_string(std::llround(seconds / 60)) + " min";
    const auto tenths = std::llround(seconds * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

} // namespace

Diagnosis diagnose(const std::string& path, const LikeFile* like) {
    const OpenedFile file(path);
    struct stat found {};
    if (file.get() < 0 || ::fstat(file.get(), &found) != 0) return refusal("the file can't be opened");
    if (!S_ISREG(found.st_mode)) return refusal("no regular file");
    DescriptorBytes source(file.get(), static_cast<std::uint64_t>(found.st_size));
    const std::string why = noWave(source.read(0, kRiffHeaderBytes), source.size());
    if (!why.empty()) return refusal(why);
    const std::optional<WaveLayout> layout = readWaveLayout(file.get());
    if (layout && isHealthy(*layout, file.get(), source)) return healthy(*layout);
    return unclosed(source, layout, like);
}

std::string badgeOf(const Diagnosis& diagnosis) {
    if (diagnosis.kind != Diagnosis::Kind::unclosed || !diagnosis.format) return {};
    if (diagnosis.audioBytes + diagnosis.cutBytes == diagnosis.declared) return "Unclosed: cut off behind its audio";
    const bool isShort = diagnosis.audioBytes < diagnosis.declared;
    const std::uint64_t bytes =
        isShort ? diagnosis.declared - diagnosis.audioBytes : diagnosis.audioBytes - diagnosis.declared;
    const double seconds = static_cast<double>(bytes) / diagnosis.format->bytesPerSecond();
    return "Unclosed: " + timeText(seconds) + (isShort ? " short of the declared end" : " behind the declared end");
}

} // namespace ostrel
