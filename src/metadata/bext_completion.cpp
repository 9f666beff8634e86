#include "metadata/bext_completion.h"

#include "metadata/chunks/chunk_bytes.h"
#include "metadata/chunks/riff_chunks.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <optional>

namespace ostrel {
namespace {

constexpr qint64 kUmid = 348; // offset of its 64 bytes in the payload
constexpr qint64 kUmidBytes = 64;
constexpr qint64 kLargest = 1 << 20; // bytes; a coding history is a few lines

bool write(const QString& path, qint64 offset, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && file.seek(offset) &&
           file.write(bytes) == bytes.size() && file.flush();
}

// Where there is no room for it the old chunk becomes a filler, and the new one goes ahead of the audio.
QString insert(const QString& target, const std::optional<ChunkPlace>& old, const QByteArray& wanted) {
    if (old && !write(target, old->payload - kChunkHeaderSize, "JUNK")) return QStringLiteral("it can't be written");
    try {
        RIFFChunkWriter::injectPreservedChunks(target, {RIFFChunk{"bext", wanted}});
        return {};
    } catch (const RIFFError& error) {
        if (old) write(target, old->payload - kChunkHeaderSize, "bext");
        return error.errorDescription();
    } catch (const FileError& error) {
        if (old) write(target, old->payload - kChunkHeaderSize, "bext");
        return error.description;
    }
}

} // namespace

BextCompletion completeBext(const QString& source, const QString& target, SourceUmid umid) {
    const std::optional<ChunkPlace> from = findChunk(source, "bext");
    if (!from || !readWaveLayout(QFile::encodeName(target).toStdString())) return {};
    if (from->size > kLargest) return {false, QStringLiteral("the bext chunk of the source is too large")};
    QByteArray wanted = bytesAt(source, *from, kLargest);
    if (wanted.size() != from->size) return {false, QStringLiteral("the bext chunk of the source can't be read")};
    wanted = bextFor(std::move(wanted), umid);
    const std::optional<ChunkPlace> to = findChunk(target, "bext");
    // A longer coding history of the target's own ends in zeros, which are no text.
    const auto filled = [&](qint64 size) { return wanted.leftJustified(size, '\0'); };
    if (to && to->size >= wanted.size()) {
        if (bytesAt(target, *to, kLargest) == filled(to->size)) return {true, QString()};
        if (!write(target, to->payload, filled(to->size))) {
            return {false, QStringLiteral("the bext chunk can't be written")};
        }
    } else if (const QString why = insert(target, to, wanted); !why.isEmpty()) {
        return {false, QStringLiteral("no room for the bext chunk: ") + why};
    }
    const std::optional<ChunkPlace> now = findChunk(target, "bext");
    if (!now || bytesAt(target, *now, kLargest) != filled(now->size)) {
        return {false, QStringLiteral("the bext chunk can't be read back")};
    }
    return {true, QString()};
}

QByteArray bextFor(QByteArray bext, SourceUmid umid) {
    if (umid == SourceUmid::cleared && bext.size() >= kUmid + kUmidBytes) {
        bext.replace(kUmid, kUmidBytes, QByteArray(kUmidBytes, '\0'));
    }
    return bext;
}

QString differingBextSentence(const QString& source, const BextCompletion& completion) {
    return QStringLiteral("The new file's BEXT is not that of %1: %2")
        .arg(paths::lastComponent(source), completion.why);
}

} // namespace ostrel
