// What is wrong with a recording that was never closed, told from its bytes: where its audio really begins and ends.
//
// Chunks are walked up to the audio. The size of the audio is false where it is 0 with bytes behind it, passes the end
// of the file, or is followed by bytes that are no chain of chunks to the end; the audio then ends where a chain of
// known chunks begins that ends with the file. Inside audio nothing is ever taken for a chunk. Blocks on the disk,
// reads headers and at most the last 64 MiB; for any thread.
#pragma once

#include "rescue/format_search.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

struct Diagnosis {
    enum class Kind { healthy, unclosed, refused };

    Kind kind = Kind::refused;
    std::string reason;                // a sentence, where refused
    std::vector<std::string> findings; // what is wrong with an unclosed one
    WaveLayout::Kind form = WaveLayout::Kind::riff;
    std::uint64_t fileSize = 0;
    std::vector<WaveChunk> leading; // ahead of the audio, those that a copy takes over
    std::optional<WaveFormat> format;
    bool lacksFormat = false;       // it stands in no chunk, and a copy has to write one
    std::uint64_t audio = 0;        // offset of the first frame
    std::uint64_t audioBytes = 0;   // of whole frames
    std::uint64_t cutBytes = 0;     // of a frame that was begun at the end
    std::uint64_t declared = 0;     // bytes of audio that the head tells; 0: none, or no number to believe
    std::uint64_t tail = 0;         // offset of the chunks behind the audio
    std::uint64_t tailEnd = 0;      // the same where there are none
    std::uint64_t silentFrames = 0; // zeros at the end of the audio of an unclosed recording

    std::uint64_t frames() const { return format && format->blockAlign ? audioBytes / format->blockAlign : 0; }
};

// `like` may be null. A file that can't be opened is refused.
Diagnosis diagnose(const std::string& path, const LikeFile* like = nullptr);

// "Unclosed: 12 min behind the declared end", or short of it where audio is missing; empty where it is not unclosed.
std::string badgeOf(const Diagnosis& diagnosis);

} // namespace ostrel
