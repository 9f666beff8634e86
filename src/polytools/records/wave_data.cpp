#include "polytools/records/wave_data.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>

namespace ostrel {

namespace {

struct Chunk {
    QByteArray id;
    qint64 payload = 0; // offset of its first byte
    quint32 size = 0;   // as stored
};

bool isWave(QFile& file) {
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray header = file.read(12);
    return header.size() == 12 && header.mid(8) == "WAVE" && (header.startsWith("RIFF") || header.startsWith("RF64"));
}

// Calls `visit` with every chunk header until it returns true or the file ends.
template <class Visit>
void walkChunks(QFile& file, Visit visit) {
    for (qint64 at = 12; at + 8 <= file.size() && file.seek(at);) {
        const QByteArray header = file.read(8);
        if (header.size() < 8) return;
        const Chunk chunk{header.left(4), at + 8, qFromLittleEndian<quint32>(header.constData() + 4)};
        if (visit(chunk)) return;
        at = chunk.payload + static_cast<qint64>(chunk.size) + (chunk.size & 1);
    }
}

} // namespace

std::optional<WaveData> findWaveData(const QString& path) {
    QFile file(path);
    if (!isWave(file)) return std::nullopt;
    qint64 longSize = -1; // of the data chunk, as an RF64 file's first chunk tells it
    std::optional<WaveData> found;
    walkChunks(file, [&](const Chunk& chunk) {
        if (chunk.id == "ds64") {
            const QByteArray sizes = file.read(16);
            if (sizes.size() == 16) longSize = qFromLittleEndian<qint64>(sizes.constData() + 8);
        }
        if (chunk.id != "data") return false;
        const qint64 length = chunk.size == 0xFFFFFFFF && longSize >= 0 ? longSize : chunk.size;
        found = WaveData{chunk.payload, std::min(length, file.size() - chunk.payload)};
        return true;
    });
    return found;
}

quint32 speakerMask(const QString& path) {
    constexpr quint16 kExtensible = 0xFFFE;
    QFile file(path);
    if (!isWave(file)) return 0;
    quint32 mask = 0;
    walkChunks(file, [&](const Chunk& chunk) {
        if (chunk.id != "fmt ") return false;
        const QByteArray format = file.read(24);
        if (format.size() == 24 && qFromLittleEndian<quint16>(format.constData()) == kExtensible) {
            mask = qFromLittleEndian<quint32>(format.constData() + 20);
        }
        return true;
    });
    return mask;
}

bool sameWaveData(const QString& a, const QString& b) {
    const std::optional<WaveData> left = findWaveData(a);
    const std::optional<WaveData> right = findWaveData(b);
    if (!left || !right || left->size != right->size) return false;
    QFile leftFile(a);
    QFile rightFile(b);
    if (!leftFile.open(QIODevice::ReadOnly) || !rightFile.open(QIODevice::ReadOnly)) return false;
    if (!leftFile.seek(left->offset) || !rightFile.seek(right->offset)) return false;
    constexpr qint64 kBlock = 1 << 20;
    for (qint64 done = 0; done < left->size; done += kBlock) {
        const qint64 wanted = std::min(kBlock, left->size - done);
        const QByteArray block = leftFile.read(wanted);
        if (block.size() != wanted || block != rightFile.read(wanted)) return false;
    }
    return true;
}

} // namespace ostrel
