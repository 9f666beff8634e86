// What stands ahead of the audio of a new WAV file, planned whole before a byte is written: the length of the audio is
// known, so no size has to be mended afterwards and no audio ever moves.
//
// RIFF/WAVE up to 4 GiB, RF64 (EBU Tech 3306 v2) beyond: a `ds64` chunk then stands where otherwise a `JUNK` chunk of
// its size does, so that a file which grows can become RF64 in place, and one that shrinks RIFF again.
#pragma once

#include "wave/wave_layout.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel {

struct WaveHeadChunk {
    std::string id;    // four characters
    std::string bytes; // the payload without its pad byte
};

struct WaveHead {
    WaveFormat format;
    std::uint64_t audioBytes = 0;
    std::vector<WaveHeadChunk> chunks; // in order, between `fmt ` and the audio
};

// From "RIFF" or "RF64" to the first byte of audio, which stands at a multiple of 4 KiB: a filler chunk takes the rest,
// and gives the room back to metadata that grows. Behind the audio comes a pad byte where its length is odd.
std::string headBytes(const WaveHead& head);

// The payload of a `fmt ` chunk: WAVEFORMATEXTENSIBLE where the format says so and for more than two channels,
// otherwise the plain form, which names no speakers.
std::string formatBytes(const WaveFormat& format);

} // namespace ostrel
