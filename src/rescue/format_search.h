// The format of a recording whose recorder never came to write its `fmt ` chunk.
#pragma once

#include "wave/byte_source.h"
#include "wave/wave_layout.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// A healthy take of the same card, and where its audio begins.
struct LikeFile {
    WaveFormat format;
    std::uint64_t audio = 0;
    std::vector<WaveChunk> leading; // the chunks ahead of its audio
};

// Nothing where the file is no WAV file with a format and audio.
std::optional<LikeFile> readLikeFile(const std::string& path);

struct FoundFormat {
    std::optional<WaveFormat> format;
    std::string from; // "the coding history"; without a format: what was looked for, a sentence
};

// By the CodingHistory of the bext chunk (EBU Tech 3285: "F=" Hz, "W=" bits, "M=" channels), by iXML, or by `like` (may
// be null), in this order. Two that tell another number of channels decide nothing. Without a coding history 32 bits
// may be integers or floats, so iXML alone is not believed there.
FoundFormat searchFormat(ByteSource& source, const std::vector<WaveChunk>& leading, const LikeFile* like);

} // namespace ostrel
