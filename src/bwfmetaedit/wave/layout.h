// Plans the bytes of a changed file. Pure: a struct in, a struct out; the writer carries it out.
//
// The audio stays where it is whenever filler chunks can take up or give the difference; then the file is written in
// place. Otherwise the file is written anew, and if the metadata has grown by much, with room for the next change.
#pragma once

#include "bwfmetaedit/metadata/edits.h"
#include "bwfmetaedit/wave/wave_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

// New contents of the chunks that change. An outer value says "changes", an inner one "to this", none "goes".
struct ChunkEdits {
    using Change = std::optional<std::optional<std::string>>;
    Change bext;
    Change info;
    Change ixml;
    bool infoMoves = false;

    bool anyChange() const { return bext || info || ixml; }
};

// Only chunks whose bytes really differ.
ChunkEdits chunkEdits(const WaveFile& wave, const EditResult& edited);

// A run of bytes of the new file: given here, or a range of the old file, or NULs.
struct Segment {
    enum class Kind { Bytes, OldRange, Zeros };

    Kind kind;
    std::uint64_t target;
    std::uint64_t length;
    std::string bytes;        // of `Bytes`
    std::uint64_t source = 0; // of `OldRange`
};

struct WritePlan {
    bool isInPlace = false;
    std::vector<Segment> segments; // without gaps, by target
    std::uint64_t total = 0;
};

// The file must have a data chunk, and a layout that may be written (see WaveFile::writeRefusal).
WritePlan planWrite(const WaveFile& wave, const ChunkEdits& edits);

} // namespace ostrel::bwfmetaedit
