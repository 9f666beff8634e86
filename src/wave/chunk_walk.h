// The one walk over the chunks of a RIFF, RF64 or BW64 file, or of a list in one: from header to header, whatever is
// between them. It knows the ways in which recorders get them wrong (size fields that are off, pad bytes that are
// missing, space that was never used) and reads nothing but headers. Offsets count bytes from the start of the source.
#pragma once

#include "wave/byte_source.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel {

constexpr std::uint64_t kRiffHeaderBytes = 12;     // "RIFF", size, "WAVE"
constexpr std::uint64_t kChunkHeaderBytes = 8;     // id and size
constexpr std::uint32_t kUnknownSize = 0xFFFFFFFF; // the 32-bit field of a size that is told elsewhere, or nowhere
constexpr std::size_t kMostChunks = 20'000;        // a file of nothing but headers could name 500 million

struct WaveChunk {
    std::string id;            // four characters as they stand
    std::uint64_t payload = 0; // offset of its first byte
    std::uint64_t size = 0;    // of the payload without its pad byte, 64 bits wide where the header says so
    bool lacksPad = false;     // an odd size, and the next chunk follows at once, or the file ends
    bool isPadUnclear = false; // an odd size, and what follows can be read both ways, or neither; taken as padded

    std::uint64_t header() const { return payload - kChunkHeaderBytes; }
    // Behind the payload, and behind its pad byte. A size that no file has ends at the last number.
    std::uint64_t payloadEnd() const { return size > kLast - payload ? kLast : payload + size; }
    std::uint64_t end() const {
        return payloadEnd() == kLast ? kLast : payloadEnd() + (size % 2 != 0 && !lacksPad ? 1 : 0);
    }

private:
    static constexpr std::uint64_t kLast = ~std::uint64_t{0};
};

// The 64-bit sizes of an RF64 or BW64 file, which stand in its ds64 chunk.
struct LongSizes {
    std::uint64_t riff = 0;   // of the whole, without the first eight bytes
    std::uint64_t data = 0;   // of the audio
    std::uint64_t frames = 0; // often wrong or 0
    std::uint32_t rows = 0;   // of the table as declared; `others` are those that are there
    std::vector<std::pair<std::string, std::uint64_t>> others = {};
};

class ChunkWalk {
public:
    enum class End {
        none,       // there may be more
        file,       // no room for another header
        noHeader,   // bytes that are none
        overrun,    // the last chunk, which passes the end of the source
        tooMany,    // chunks
        unreadable, // the disk's error
    };

    // The source is borrowed. `declaredEnd` is where the container says that it ends; behind that, only printable ids
    // are believed.
    ChunkWalk(ByteSource& source, std::uint64_t begin, std::uint64_t declaredEnd)
        : source_(source), offset_(begin), declaredEnd_(declaredEnd) {}

    // From here on 32-bit sizes of 0xFFFFFFFF mean these, and the container ends where they say.
    void setLongSizes(LongSizes sizes);

    // Nothing behind the last one. A chunk that passes the end of the source is the last, and told.
    std::optional<WaveChunk> next();

    End end() const { return end_; }
    // Of the next header; once the walk has ended, behind the last whole chunk.
    std::uint64_t offset() const { return offset_; }

private:
    std::optional<WaveChunk> endHere(End end);
    void judgePad(WaveChunk& chunk);

    ByteSource& source_;
    std::uint64_t offset_;
    std::uint64_t declaredEnd_;
    std::optional<LongSizes> sizes_;
    std::size_t count_ = 0;
    End end_ = End::none;
};

bool isPrintableId(std::string_view id);

// As a person may read it: the four characters, or "0x0102FF20" if one of them is not printable.
std::string shownId(const std::string& id);

// The eight bytes there, whatever they say. Nothing where they are not there.
std::optional<WaveChunk> readChunkHeader(ByteSource& source, std::uint64_t offset);

// Nothing where the chunk is too short or not there.
std::optional<LongSizes> readLongSizes(ByteSource& source, const WaveChunk& ds64);

// Whether those bytes may well be a header: a printable id, and a size within the source or that of audio whose writer
// never came back. "RIFF" is not: another file behind this one.
bool looksLikeChunk(ByteSource& source, std::uint64_t offset);

// Behind the last of the whole chunks that follow each other from there; the same offset if there is none.
std::uint64_t endOfChunks(ByteSource& source, std::uint64_t offset);

} // namespace ostrel
