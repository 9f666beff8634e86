// Walks the chunks of a RIFF, an RF64 or a LIST, one after the other, and knows the ways in which recorders get them
// wrong: size fields that are off, missing pad bytes, recordings that were never closed.
// The format: "Multimedia Programming Interface and Data Specifications 1.0" (RIFF), EBU Tech 3306 (RF64).
#pragma once

#include "bwfmetaedit/bytes/byte_source.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ostrel::bwfmetaedit {

// What makes a file unusable, without the words "invalid Wave: " before it.
struct InvalidWave {
    std::string text;
};

constexpr std::uint32_t kUnknownSize = 0xffffffff; // the 32-bit field of an RF64 or of a streamed file
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
        std::optional<std::uint64_t> wideDataSize; // from ds64
    };

    RiffWalk(ByteSource& source, Container container) : source_(source), container_(std::move(container)) {
        position_ = container_.begin;
    }

    // The next chunk, or nothing behind the last one. Throws InvalidWave where it is not clear how to go on.
    std::optional<Chunk> next();

    // Valid once next() has returned nothing: the offset behind the last chunk and its pad byte, what lies behind
    // that and belongs to no chunk, and whether the audio has no size, so that it reaches to the end of the file.
    std::uint64_t end() const { return position_; }
    std::uint64_t strayBytes() const { return source_.size() - position_; }
    bool isUnclosed() const { return unclosed_; }

private:
    bool looksLikeChunk(std::uint64_t offset);
    bool chunksReachEnd(std::uint64_t offset);
    bool hasPadByte(std::uint64_t dataEnd, const std::string& name);
    [[noreturn]] void throwTruncated(const std::string& name, std::uint64_t size, std::uint64_t available) const;

    ByteSource& source_;
    Container container_;
    std::uint64_t position_ = 0;
    std::size_t count_ = 0;
    bool finished_ = false;
    bool pastDeclaredEnd_ = false;
    bool unclosed_ = false;
};

} // namespace ostrel::bwfmetaedit
