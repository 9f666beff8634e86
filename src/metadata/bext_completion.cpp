#include "metadata/bext_completion.h"

#include "metadata/riff_chunks.h"
#include "platform/files/files.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>
#include <optional>

namespace ostrel {
namespace {

constexpr qint64 kUmid = 348; // offset of its 64 bytes in the payload
constexpr qint64 kUmidBytes = 64;
constexpr qint64 kLargest = 1 << 20; // bytes; a coding history is a few lines
constexpr qint64 kIdBytes = 8;       // of a chunk's id and size, ahead of its payload

struct Place {
    qint64 payload = 0;
    qint64 size = 0;
};

std::optional<Place> bextOf(const QString& file) {
    const std::optional<WaveLayout> layout = readWaveLayout(QFile::encodeName(file).toStdString());
    if (!layout) return std::nullopt;
    const auto bext = std::find_if(layout->chunks.begin(), layout->chunks.end(),
                                   [](const WaveChunk& chunk) { return chunk.id == "bext"; });
    if (bext == layout->chunks.end() || bext->payloadEnd() > layout->fileSize) return std::nullopt;
    return Place{static_cast<qint64>(bext->payload), static_cast<qint64>(bext->size)};
}

QByteArray bytesOf(const QString& path, const Place& place) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(place.payload)) return {};
    return file.read(place.size);
}

bool write(const QString& path, qint64 offset, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && file.seek(offset) &&
           file.write(bytes) == bytes.size() && file.flush();
}

// Where there is no room for it the old chunk becomes a filler, and the new one goes ahead of the audio.
QString insert(const QString& target, const std::optional<Place>& old, const QByteArray& wanted) {
    if (old && !write(target, old->payload - kIdBytes, "JUNK")) return QStringLiteral("it can't be written");
    try {
        RIFFChunkWriter::injectPreservedChunks(target, {RIFFChunk{"bext", wanted}});
        return {};
    } catch (const RIFFError& error) {
        if (old) write(target, old->payload - kIdBytes, "bext");
        return error.errorDescription();
    } catch (const FileError& error) {
        if (old) write(target, old->payload - kIdBytes, "bext");
        return error.description;
    }
}

} // namespace

BextCompletion completeBext(const QString& source, const QString& target, SourceUmid umid) {
    const std::optional<Place> from = bextOf(source);
    if (!from) return {};
    if (from->size > kLargest) return {false, QStringLiteral("the bext chunk of the source is too large")};
    QByteArray wanted = bytesOf(source, *from);
    if (wanted.size() != from->size) return {false, QStringLiteral("the bext chunk of the source can't be read")};
    if (umid == SourceUmid::cleared && wanted.size() >= kUmid + kUmidBytes) {
        wanted.replace(kUmid, kUmidBytes, QByteArray(kUmidBytes, '\0'));
    }
    const std::optional<Place> to = bextOf(target);
    // A longer coding history of the target's own ends in zeros, which are no text.
    const auto filled = [&](qint64 size) { return wanted.leftJustified(size, '\0'); };
    if (to && to->size >= wanted.size()) {
        if (bytesOf(target, *to) == filled(to->size)) return {true, QString()};
        if (!write(target, to->payload, filled(to->size))) {
            return {false, QStringLiteral("the bext chunk can't be written")};
        }
    } else if (const QString why = insert(target, to, wanted); !why.isEmpty()) {
        return {false, QStringLiteral("no room for the bext chunk: ") + why};
    }
    const std::optional<Place> now = bextOf(target);
    if (!now || bytesOf(target, *now) != filled(now->size)) {
        return {false, QStringLiteral("the bext chunk can't be read back")};
    }
    return {true, QString()};
}

} // namespace ostrel
