// A recording as a recorder writes it in several files.
#pragma once

#include "support/test_folder.h"
#include "support/wave_file.h"
#include "wave/wave_layout.h"

#include <QtEndian>
#include <vector>

namespace ostrel::testing {

struct Recording {
    QByteArray bytes; // of the file
    WaveLayout layout;

    QByteArray at(const WaveChunk& chunk) const {
        return bytes.mid(static_cast<qsizetype>(chunk.payload), static_cast<qsizetype>(chunk.size));
    }
    QByteArray audio() const {
        const auto size = static_cast<qsizetype>(layout.frames() * layout.format->blockAlign);
        return bytes.mid(static_cast<qsizetype>(layout.data->payload), size);
    }
    bool has(const char* id) const { return layout.find(id) != nullptr; }
};

// A whole file of those frames with all of the recording's chunks and this start; one without a bext chunk gets it.
inline QByteArray partOf(const Recording& recording, quint64 first, quint64 frames, quint64 start) {
    const qsizetype frame = recording.layout.format->blockAlign;
    QByteArray chunks;
    if (!recording.has("bext")) chunks = chunkBytes("bext", bextPayload({.originator = "R", .timeReference = start}));
    for (const WaveChunk& chunk : recording.layout.chunks) {
        QByteArray payload = recording.at(chunk);
        if (chunk.id == "ds64") continue;
        if (chunk.id == "data") {
            payload =
                recording.audio().mid(static_cast<qsizetype>(first) * frame, static_cast<qsizetype>(frames) * frame);
        } else if (chunk.id == "bext") {
            qToLittleEndian(start, payload.data() + 338);
        }
        chunks += chunkBytes(QByteArray::fromStdString(chunk.id), payload);
    }
    return "RIFF" + littleEndian32(static_cast<quint32>(chunks.size() + 4)) + "WAVE" + chunks;
}

// Written under `name` with "%1" for the number of the part. `cuts`: the first frame of every part but the first.
inline QStringList writeParts(const TestFolder& folder, const QString& name, const Recording& recording, quint64 start,
                              std::vector<quint64> cuts, quint64 day) {
    QStringList paths;
    cuts.push_back(recording.layout.frames());
    quint64 from = 0;
    for (const quint64 to : cuts) {
        const QByteArray bytes = partOf(recording, from, to - from, (start + from) % day);
        paths << folder.write(name.arg(paths.size() + 1), bytes);
        from = to;
    }
    return paths;
}

inline Recording recordingAt(const QString& path) { return {readAll(path), *readWaveLayout(path.toStdString())}; }

} // namespace ostrel::testing
