// Where a chunk of a WAV file stands, RF64 and BW64 included, and its bytes. Block on the disk; for any thread.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace ostrel {

struct ChunkPlace {
    qint64 payload = 0; // offset of its first byte
    qint64 size = 0;
};

bool isWave(const QString& file);

// The first chunk of that id. Nothing for what is no WAV file, and for a chunk that overruns its file.
std::optional<ChunkPlace> findChunk(const QString& file, const char* id);

// The first bytes of the payload, at most so many; fewer where they can't be read.
QByteArray bytesAt(const QString& file, const ChunkPlace& place, qint64 most);

// The whole payload. Nothing where there is no such chunk, it can't be read, or it is too large to hold (16 MiB).
std::optional<QByteArray> chunkBytes(const QString& file, const char* id);

} // namespace ostrel
