#include "foundation/chunks/chunk_bytes.h"

#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qint64 kMostBytes = 16 << 20;

} // namespace

WaveChunks::WaveChunks(const QString& file)
    : file_(file), layout_(readWaveLayout(QFile::encodeName(file).toStdString())) {}

std::optional<ChunkPlace> WaveChunks::find(const char* id) const {
    const WaveChunk* chunk = layout_ ? layout_->find(id) : nullptr;
    if (!chunk || chunk->payloadEnd() > layout_->fileSize) return std::nullopt;
    return ChunkPlace{static_cast<qint64>(chunk->payload), static_cast<qint64>(chunk->size)};
}

std::optional<QByteArray> WaveChunks::bytes(const char* id) const {
    const auto place = find(id);
    return place ? bytes(*place) : std::nullopt;
}

std::optional<QByteArray> WaveChunks::bytes(const ChunkPlace& place) const {
    if (place.size > kMostBytes) return std::nullopt;
    QByteArray bytes = bytesAt(file_, place, kMostBytes);
    return bytes.size() == place.size ? std::optional(std::move(bytes)) : std::nullopt;
}

std::vector<ChunkOfKind> WaveChunks::all() const {
    std::vector<ChunkOfKind> chunks;
    if (!layout_) return chunks;
    for (const WaveChunk& chunk : layout_->chunks) {
        const bool isPrintable = std::ranges::all_of(chunk.id, [](char c) { return c >= ' ' && c <= '~'; });
        if (!isPrintable || chunk.payloadEnd() > layout_->fileSize) continue;
        const ChunkPlace place{static_cast<qint64>(chunk.payload), static_cast<qint64>(chunk.size)};
        QByteArray kind = QByteArray::fromStdString(chunk.id);
        if (kind == "LIST") kind += ' ' + bytesAt(file_, place, 4);
        chunks.push_back({kind, place});
    }
    return chunks;
}

std::optional<ChunkPlace> WaveChunks::findKind(const QByteArray& kind) const {
    const std::vector<ChunkOfKind> chunks = all();
    const auto found = std::ranges::find(chunks, kind, &ChunkOfKind::kind);
    return found == chunks.end() ? std::nullopt : std::optional(found->place);
}

std::optional<ChunkPlace> findChunk(const QString& file, const char* id) { return WaveChunks(file).find(id); }

QByteArray bytesAt(const QString& file, const ChunkPlace& place, qint64 most) {
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly) || !opened.seek(place.payload)) return {};
    return opened.read(std::min(place.size, most));
}

} // namespace ostrel
