// What a WAV file's audio is, told by checksums: the MD5 of all of it, and the XXH128 of every channel, from one read.
//
// Blocks on the disk, on a few threads of its own and in memory that does not grow with the file; for any thread.
#pragma once

#include "wave/wave_layout.h"

#include <QString>
#include <QStringList>
#include <cstddef>
#include <optional>

namespace ostrel {

struct AudioHashes {
    QString md5;          // of the data chunk's payload without its pad byte, 32 digits; empty: not wanted
    QStringList channels; // XXH128 of each channel's bytes, 32 digits; empty: not wanted, or coded in blocks of frames
    qint64 frames = 0;    // that the channels' hashes go over
};

struct HashRequest {
    bool md5 = true; // by far the slower of the two
    bool channels = true;
    std::optional<qint64> frames = {}; // channels of the first ones alone; all, if the file has no more
};

// Bytes of a sample where each sample stands by itself, from 1 to 8: integers, floats, A-law, mu-law. Otherwise 0:
// channels can't be told apart without decoding.
std::size_t plainSampleBytes(const WaveFormat& format);

// RIFF, RF64 and BW64. Throws FileError for what is no WAV file, can't be read to its end, or changes meanwhile.
AudioHashes hashAudio(const QString& path, const HashRequest& request = {});

} // namespace ostrel
