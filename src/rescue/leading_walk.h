// The chunks ahead of the audio of a file whose sizes are not to be believed.
#pragma once

#include "wave/chunk_walk.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrel {

struct LeadingChunks {
    std::vector<WaveChunk> chunks; // without `data`; those that lack a pad byte say so
    std::optional<WaveChunk> data; // as its header tells it, 64 bits wide where `ds64` does
    std::uint64_t end = 0;         // behind the last chunk that was believed
    std::string cutOff;            // id of a known chunk that passes the end of the file; empty: none
};

// Up to `data`. Without one, up to the first bytes that are no header of a known chunk: there is audio from there on.
LeadingChunks walkLeadingChunks(ByteSource& source);

} // namespace ostrel
