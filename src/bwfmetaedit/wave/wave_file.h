// Reads one WAV file: where its chunks lie and what its metadata says. Audio and unknown chunks are skipped.
#pragma once

#include "bwfmetaedit/bytes/file_bytes.h"
#include "bwfmetaedit/bytes/riff_walk.h"
#include "bwfmetaedit/metadata/metadata.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

struct WaveFile {
    FileBytes file;
    bool isRf64 = false;
    std::uint64_t sampleCount = 0; // of an RF64, from ds64
    std::vector<Chunk> chunks;     // in file order
    std::uint64_t end = 0;         // behind the last chunk

    // Indices in `chunks`.
    std::optional<std::size_t> fmt, data, bext, info, ixml;

    Metadata metadata;
    std::string bextBytes; // the chunk as stored

    // Why the file is unusable, as shown ("invalid Wave: ..."); what was read before that is there. Or empty.
    std::string error;
    // Why the file can be read but is better not written: its layout can be understood in more than one way. Or empty.
    std::string writeRefusal;
    bool hasTwoIxmlChunks = false;
};

// A chunk of metadata larger than this is refused: the whole of it is held in memory.
constexpr std::uint64_t kLargestMetadata = 1024ULL * 1024;

// Empty if the path is missing, unreadable or not a regular file.
std::optional<WaveFile> readWaveFile(const std::string& path);

} // namespace ostrel::bwfmetaedit
