#include "metadata/chunks/chunk_bytes.h"

#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qint64 kMostBytes = 16 << 20;

std::optional<WaveLayout> layoutOf(const QString& file) {
    return readWaveLayout(QFile::encodeName(file).toStdString());
}

} // namespace

bool isWave(const QString& file) { return layoutOf(file).has_value(); }

std::optional<ChunkPlace> findChunk(const QString& file, const char* id) {
    const std::optional<WaveLayout> layout = layoutOf(file);
    const WaveChunk* chunk = layout ? layout->find(id) : nullptr;
    if (!chunk || chunk->payloadEnd() > layout->fileSize) return std::nullopt;
    return ChunkPlace{static_cast<qint64>(chunk->payload), static_cast<qint64>(chunk->size)};
}

QByteArray bytesAt(const QString& file, const ChunkPlace& place, qint64 most) {
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly) || !opened.seek(place.payload)) return {};
    return opened.read(std::min(place.size, most));
}

std::optional<QByteArray> chunkBytes(const QString& file, const char* id) {
    const auto place = findChunk(file, id);
    if (!place || place->size > kMostBytes) return std::nullopt;
    QByteArray bytes = bytesAt(file, *place, kMostBytes);
    return bytes.size() == place->size ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace ostrel
