#include "bwfmetaedit/wave/wave_file.h"

#include "bwfmetaedit/bytes/bytes.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::size_t kFormatHead = 16;       // as far as bits per sample
constexpr std::size_t kExtensibleFormat = 40; // as far as the sub-format
constexpr std::uint16_t kPcm = 1;
constexpr std::uint16_t kExtensible = 0xfffe;
constexpr std::uint64_t kCueHead = 4;
constexpr std::uint64_t kCuePoint = 24;

class Reader {
public:
    explicit Reader(WaveFile& wave) : wave_(wave) {}

    void read() {
        const RiffWalk::Container container = readHeader();
        RiffWalk walk(wave_.file, container);
        while (const std::optional<Chunk> chunk = walk.next()) {
            wave_.chunks.push_back(*chunk);
            readChunk(*chunk);
        }
        wave_.end = walk.end();
        if (walk.isUnclosed()) {
            refuse("the recording was never closed, its data chunk has no size");
        } else if (walk.strayBytes() > 0) {
            refuse("what lies behind its last chunk belongs to none: " + std::to_string(walk.strayBytes()) + " bytes");
        }
    }

    // Every text of a file is in one encoding: a single text that is no UTF-8 decides for all of them.
    void decideEncoding() {
        bool utf8 = otherTextsAreUtf8_;
        if (wave_.metadata.bext) {
            for (const BextText& text : wave_.metadata.bext->texts) utf8 = utf8 && isUtf8(text.bytes);
        }
        if (wave_.metadata.info) {
            for (const InfoField& field : wave_.metadata.info->fields) utf8 = utf8 && isUtf8(untilNul(field.bytes));
        }
        wave_.metadata.encoding = utf8 ? Encoding::Utf8 : Encoding::Latin1;
    }

private:
    RiffWalk::Container readHeader() {
        const std::string header = wave_.file.read(0, kRiffHeader);
        if (header.empty()) throw InvalidWave{"no WAV header"};
        if (header.size() < kChunkHeader) throw InvalidWave{"small"};
        wave_.isRf64 = header.starts_with("RF64");
        if (!wave_.isRf64 && !header.starts_with("RIFF")) throw InvalidWave{"no RIFF/RF64 header"};
        if (header.size() < kRiffHeader) throw InvalidWave{"small"};
        if (header.substr(8) != "WAVE") throw InvalidWave{"no WAV header"};
        RiffWalk::Container container{"RIFF", kRiffHeader, 0, littleEndian<std::uint32_t>(header, 4), {}};
        if (wave_.isRf64) readDs64(container);
        container.declaredEnd = container.declaredSize + kChunkHeader;
        return container;
    }

    void readDs64(RiffWalk::Container& container) {
        constexpr std::uint64_t kLeast = 24;
        const auto chunk = readChunkHeader(wave_.file, kRiffHeader);
        if (!chunk || chunk->id != "ds64" || chunk->payload + kLeast > wave_.file.size()) {
            throw InvalidWave{"no ds64 chunk"};
        }
        container.longSizes = readLongSizes(wave_.file, *chunk);
        if (!container.longSizes) throw InvalidWave{"small"};
        container.name = "RF64";
        container.declaredSize = container.longSizes->riff;
        // A recording that was never closed has no sizes here either.
        if (container.declaredSize > INT64_MAX) container.declaredSize = 0;
        wave_.sampleCount = container.longSizes->frames;
        if (container.longSizes->rows != 0) throw InvalidWave{"extended ds64 is not supported"};
    }

    void readChunk(const Chunk& chunk) {
        if (chunk.name == "fmt ") {
            markFirst(wave_.fmt, "fmt_");
            readFormat(contents(chunk, kExtensibleFormat));
        } else if (chunk.name == "data") {
            markFirst(wave_.data, "data");
        } else if (chunk.name == "bext") {
            markFirst(wave_.bext, "bext");
            wave_.bextBytes = metadata(chunk);
            wave_.metadata.bext = Bext::parse(wave_.bextBytes);
        } else if (chunk.name == "iXML") {
            if (wave_.ixml) {
                wave_.hasTwoIxmlChunks = true;
            } else {
                markFirst(wave_.ixml, "iXML");
                wave_.metadata.ixml = metadata(chunk);
            }
        } else if (chunk.name == "LIST") {
            readList(chunk);
        } else if (chunk.name == "cue ") {
            readCue(chunk);
        }
    }

    void readFormat(const std::string& format) {
        if (format.size() >= 8) wave_.metadata.sampleRate = littleEndian<std::uint32_t>(format, 4);
        if (format.size() < kFormatHead) return;
        auto tag = littleEndian<std::uint16_t>(format, 0);
        if (tag == kExtensible && format.size() >= kExtensibleFormat) tag = littleEndian<std::uint16_t>(format, 24);
        if (tag != kPcm) return;
        const std::uint64_t channels = littleEndian<std::uint16_t>(format, 2);
        const std::uint64_t bits = littleEndian<std::uint16_t>(format, 14);
        const std::uint64_t bytesPerSecond = littleEndian<std::uint32_t>(format, 8);
        if (bytesPerSecond != channels * wave_.metadata.sampleRate * bits / 8) throw InvalidWave{"fmt_"};
    }

    void readList(const Chunk& chunk) {
        if (chunk.size < 4) throw InvalidWave{"small"};
        const std::string type = wave_.file.read(chunk.dataOffset(), 4);
        if (type == "INFO") {
            markFirst(wave_.info, "INFO");
            wave_.metadata.info.emplace();
            wave_.metadata.info->parse(std::string_view(metadata(chunk)).substr(4));
        } else if (type == "adtl" && chunk.size <= kLargestMetadata) {
            readLabels(metadata(chunk).substr(4));
        }
    }

    // Labels are not shown, but they are texts of the file. A damaged list of them is nobody's concern here.
    void readLabels(const std::string& list) try {
        MemoryBytes bytes(list);
        RiffWalk walk(bytes, {"LIST", 0, list.size(), list.size(), {}});
        while (const std::optional<Chunk> chunk = walk.next()) {
            const std::size_t textOffset = chunk->name == "labl" || chunk->name == "note" ? 4
                                           : chunk->name == "ltxt"                        ? 20
                                                                                          : 0;
            if (textOffset == 0 || chunk->size <= textOffset) continue;
            const std::string text =
                bytes.read(chunk->dataOffset() + textOffset, static_cast<std::size_t>(chunk->size - textOffset));
            otherTextsAreUtf8_ = otherTextsAreUtf8_ && isUtf8(untilNul(text));
        }
    } catch (const InvalidWave&) {
    }

    void readCue(const Chunk& chunk) {
        const std::string head = contents(chunk, kCueHead);
        const bool fits =
            head.size() == kCueHead && chunk.size == kCueHead + kCuePoint * littleEndian<std::uint32_t>(head);
        if (!fits) throw InvalidWave{"wrong cue points count"};
    }

    void markFirst(std::optional<std::size_t>& index, const std::string& name) {
        if (index) throw InvalidWave{"2 " + name + " chunks"};
        index = wave_.chunks.size() - 1;
    }

    std::string contents(const Chunk& chunk, std::uint64_t most) {
        return wave_.file.read(chunk.dataOffset(), static_cast<std::size_t>(std::min(chunk.size, most)));
    }

    std::string metadata(const Chunk& chunk) {
        if (chunk.size > kLargestMetadata) {
            throw InvalidWave{"the " + chunk.name + " chunk of " + std::to_string(chunk.size) + " bytes is too big"};
        }
        std::string bytes = contents(chunk, chunk.size);
        if (bytes.size() != chunk.size) throw InvalidWave{"error during reading"};
        return bytes;
    }

    void refuse(const std::string& reason) { wave_.writeRefusal = "is not written, " + reason; }

    WaveFile& wave_;
    bool otherTextsAreUtf8_ = true;
};

} // namespace

std::optional<WaveFile> readWaveFile(const std::string& path) {
    std::optional<FileBytes> file = FileBytes::open(path);
    if (!file) return {};
    WaveFile wave{std::move(*file)};
    Reader reader(wave);
    try {
        reader.read();
    } catch (const InvalidWave& invalid) {
        const bool whileReading = invalid.text == "error during reading";
        wave.error = whileReading ? invalid.text : "invalid Wave: " + invalid.text;
    }
    reader.decideEncoding();
    return wave;
}

} // namespace ostrel::bwfmetaedit
