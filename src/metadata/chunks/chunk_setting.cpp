#include "metadata/chunks/chunk_setting.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/chunks/riff_chunks.h"
#include "platform/files/files.h"

#include <QFile>

namespace ostrel {
namespace {

QString insert(const QString& file, const std::optional<ChunkPlace>& old, const RIFFChunk& chunk) {
    if (old && !overwrite(file, old->payload - kChunkHeaderSize, "JUNK")) return QStringLiteral("it can't be written");
    QString why;
    try {
        RIFFChunkWriter::injectPreservedChunks(file, {chunk});
        return {};
    } catch (const RIFFError& error) {
        why = error.errorDescription();
    } catch (const FileError& error) {
        why = error.description;
    }
    if (old) overwrite(file, old->payload - kChunkHeaderSize, chunk.id);
    return why;
}

} // namespace

bool overwrite(const QString& path, qint64 offset, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && file.seek(offset) &&
           file.write(bytes) == bytes.size() && file.flush();
}

QString setChunk(const QString& file, const char* id, const QByteArray& payload, char fill) {
    const WaveChunks chunks(file);
    const std::optional<ChunkPlace> old = chunks.find(id);
    if (!old || old->size < payload.size()) return insert(file, old, {QByteArray(id), payload});
    const QByteArray filled = payload.leftJustified(old->size, fill);
    if (chunks.bytes(*old) == filled || overwrite(file, old->payload, filled)) return {};
    return QStringLiteral("it can't be written");
}

} // namespace ostrel
