// The walk over the chunks of a RIFF, an RF64 or a LIST as this program takes them: what it believes of size fields
// that are off and of recordings that were never closed, and the words for what it does not.
#pragma once

#include "wave/chunk_walk.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ostrel::bwfmetaedit {

// What makes a file unusable, without the words "invalid Wave: " before it.
struct InvalidWave {
    std::string text;
};

constexpr std::size_t kRiffHeader = 12;
constexpr std::size_t kChunkHeader = 8;

struct Chunk {
    std::string name;     // four bytes
    std::uint64_t offset; // of the name
    std::uint64_t size;   // bytes of data
    bool hasPadByte;      // false after even sizes and where a recorder left it out

    std::uint64_t dataOffset() const { return offset + kChunkHeader; }
    std::uint64_t dataEnd() const { return dataOffset() + size; }
    bool lacksPadByte() const { return size % 2 != 0 && !hasPadByte; }
};

// Four characters, a blank at the end as "_" ("fmt_"); or "0x0102FF20" if one of them is not printable.
std::string shownName(const std::string& name);

class RiffWalk {
public:
    // The range of the container's chunks. `declaredEnd` is what its size field says and may be wrong; `name` and
    // `declaredSize` are for messages.
    struct Container {
        std::string name;
        std::uint64_t begin;
        std::uint64_t declaredEnd;
        std::uint64_t declaredSize;
        std::optional<LongSizes> longSizes; // from ds64
    };

    RiffWalk(ByteSource& source, Container container);

    // The next chunk, or nothing behind the last one. Throws InvalidWave where it is not clear how to go on.
    std::optional<Chunk> next();

    // Valid once next() has returned nothing: the offset behind the last chunk and its pad byte, what lies behind
    // that and belongs to no chunk, and whether the audio has no size, so that it reaches to the end of the file.
    std::uint64_t end() const { return unclosed_ ? source_.size() : walk_.offset(); }
    std::uint64_t strayBytes() const { return source_.size() - end(); }
    bool isUnclosed() const { return unclosed_; }

private:
    bool chunksReachEnd(std::uint64_t offset);
    bool isWithoutSize(const WaveChunk& chunk);
    void requireSound(const WaveChunk& chunk) const;

    ByteSource& source_;
    Container container_;
    ChunkWalk walk_;
    bool finished_ = false;
    bool pastDeclaredEnd_ = false;
    bool unclosed_ = false;
};

} // namespace ostrel::bwfmetaedit
