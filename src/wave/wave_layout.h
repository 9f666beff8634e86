// Where everything stands in a WAV file, told by walking its chunk headers: nothing but headers is read.
//
// RIFF/WAVE ("Multimedia Programming Interface and Data Specifications 1.0", 1991), RF64 (EBU Tech 3306) and BW64
// (ITU-R BS.2088). Offsets count bytes from the start of the file. Blocks on the disk; for any thread.
#pragma once

#include "wave/chunk_walk.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

struct WaveFormat {
    enum Tag : std::uint16_t { pcm = 1, ieeeFloat = 3, extensible = 0xFFFE };

    std::uint16_t tag = 0; // of the samples: an extensible header is looked through
    bool isExtensible = false;
    std::uint16_t channels = 0;
    std::uint32_t sampleRate = 0; // Hz
    std::uint16_t blockAlign = 0; // bytes of one frame
    std::uint16_t bits = 0;       // as the header tells them: of the container, or of the sample
    std::uint16_t validBits = 0;  // of an extensible header, otherwise 0
    std::uint32_t speakers = 0;   // channel mask; 0 where none are named

    // Bytes that one sample really takes: what `bits` tells may be less (24 bits in 4 bytes). 0 if that is no number.
    int bytesPerSample() const { return channels == 0 || blockAlign % channels != 0 ? 0 : blockAlign / channels; }
    double bytesPerSecond() const { return static_cast<double>(sampleRate) * blockAlign; }
};

struct WaveLayout {
    enum class Kind { riff, rf64, bw64 };

    Kind kind = Kind::riff;
    std::uint64_t fileSize = 0;
    std::uint64_t riffSize = 0; // as declared, 64 bits wide for RF64 and BW64
    std::optional<WaveFormat> format;
    std::vector<WaveChunk> chunks; // as far as headers could be walked; the last may pass the end of the file
    std::optional<WaveChunk> data; // the first, its size as declared
    bool hasLongSizes = false;     // the first ds64 chunk stands ahead of the audio and tells them
    bool sizesDisagree = false;    // RF64 tells them at several places, and not the same
    bool isStreamed = false;       // the data size is one that a writer leaves which never came back to it
    ChunkWalk::End walkEnd = ChunkWalk::End::none; // why there are no more chunks
    std::uint64_t walkEndOffset = 0;               // of the header that was not there, or that passes the end

    // Bytes of audio that readers take: the declared size, cut to the file; all that follows where the writer left 0 or
    // 0xFFFFFFFF behind.
    std::uint64_t audioBytes() const;
    // What is wrong with the headers, and at which offset: why the walk did not come to the end. Empty for a sound
    // file.
    std::string fault() const;
    // The first chunk of that id; null: there is none.
    const WaveChunk* find(std::string_view id) const;
    // Whether the file ends where its head says, give or take the pad byte that some writers do not count.
    bool endsAsDeclared() const;
    std::uint64_t frames() const { return format && format->blockAlign ? audioBytes() / format->blockAlign : 0; }
};

// Nothing for what is no WAV file or can't be opened.
std::optional<WaveLayout> readWaveLayout(const std::string& path);
std::optional<WaveLayout> readWaveLayout(int descriptor);

// TimeReference of the bext chunk (EBU Tech 3285): samples since midnight. Nothing without one.
std::optional<std::uint64_t> readTimeReference(const WaveLayout& layout, const std::string& path);

// Bytes behind the declared end of the audio that are no chain of chunks up to the end of the file: audio, perhaps, of
// a recording that was never closed. 0 for a healthy file.
std::uint64_t unexplainedBytes(const WaveLayout& layout, int descriptor);

// What a header claims beyond the end of the file, in bytes of audio; 0 for a whole file.
std::uint64_t missingBytes(const WaveLayout& layout);

} // namespace ostrel
