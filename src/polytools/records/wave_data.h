// What is asked of a WAV file's own bytes: where its audio stands, whether two files hold the same, which speaker it
// names. RIFF/WAVE, RF64 (EBU Tech 3306), WAVEFORMATEXTENSIBLE.
#pragma once

#include <QString>
#include <optional>

namespace ostrel {

struct WaveData {
    qint64 offset = 0; // of the first audio byte
    qint64 size = 0;   // bytes, cut to what the file holds
};

// Nothing for what is no WAV file or has no data chunk.
std::optional<WaveData> findWaveData(const QString& path);

// The speaker mask of an extensible fmt chunk; 0 where the file names no speakers.
quint32 speakerMask(const QString& path);

// Byte for byte, through fixed buffers. False if either has no data.
bool sameWaveData(const QString& a, const QString& b);

} // namespace ostrel
