// Where the chunks of a WAV file stand, RF64 and BW64 included, and their bytes. Block on the disk; for any thread.
#pragma once

#include "wave/wave_layout.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

struct ChunkPlace {
    qint64 payload = 0; // offset of its first byte
    qint64 size = 0;
};

struct ChunkOfKind {
    QByteArray kind; // the id, and the type of a list behind it: "LIST adtl"
    ChunkPlace place;
};

// A file whose headers were walked once.
class WaveChunks {
public:
    explicit WaveChunks(const QString& file);

    bool isWave() const { return layout_.has_value(); }
    // The first chunk of that id. Nothing for what is no WAV file, and for a chunk that overruns its file.
    std::optional<ChunkPlace> find(const char* id) const;
    // The whole payload. Nothing where there is no such chunk, it can't be read, or it is too large to hold (16 MiB).
    std::optional<QByteArray> bytes(const char* id) const;
    std::optional<QByteArray> bytes(const ChunkPlace& place) const;

    // Every chunk that lies within the file and has a printable id, in file order.
    std::vector<ChunkOfKind> all() const;
    // The first one of that kind.
    std::optional<ChunkPlace> findKind(const QByteArray& kind) const;

private:
    QString file_;
    std::optional<WaveLayout> layout_;
};

// One chunk of a file that is asked for no other.
std::optional<ChunkPlace> findChunk(const QString& file, const char* id);

// The first bytes of a payload, at most so many; fewer where they can't be read.
QByteArray bytesAt(const QString& file, const ChunkPlace& place, qint64 most);

} // namespace ostrel
