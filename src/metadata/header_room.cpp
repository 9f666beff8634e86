#include "metadata/header_room.h"

#include "platform/files/files.h"

#include <QtEndian>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qint64 kNewBextSize = kChunkHeaderSize + 602 + 256; // bwfmetaedit leaves 256 bytes for a coding history
constexpr qint64 kRoomLeft = 16384;                           // what bwfmetaedit leaves where it has to move the audio

qint64 padded(qint64 size) { return size + (size & 1); }

bool isFiller(const QByteArray& id) { return id == "JUNK" || id == "FLLR" || id == "PAD "; }

// A BEXT at time 0 that says nothing else is not written.
bool fillBext(const BWFMetadata& fields) {
    const QString time = fields.value(QStringLiteral("TimeReference"));
    if (!time.isEmpty() && time != QStringLiteral("0")) return true;
    for (const char* name :
         {"Description", "Originator", "OriginatorReference", "OriginationDate", "OriginationTime"}) {
        if (!fields.value(QString::fromLatin1(name)).isEmpty()) return true;
    }
    return false;
}

// What a field of a LIST INFO takes there, header and pad byte included; nothing if the list has none of that name.
std::optional<qint64> sizeInList(const QByteArray& list, const QByteArray& name) {
    constexpr qsizetype kListType = 4;
    for (qint64 at = kListType; at + kChunkHeaderSize <= list.size();) {
        const qint64 size = qFromLittleEndian<quint32>(list.constData() + at + 4);
        if (list.mid(at, 4) == name) return kChunkHeaderSize + padded(size);
        at += kChunkHeaderSize + padded(size);
    }
    return std::nullopt;
}

qint64 infoGrowth(const QByteArray& list, const BWFMetadata& fields) {
    qint64 growth = 0;
    bool isNew = list.isEmpty();
    for (const char* name : {"ICMT", "ITCH"}) {
        const QByteArray value = fields.value(QString::fromLatin1(name)).toUtf8();
        if (value.isEmpty()) continue;
        if (isNew) growth += kChunkHeaderSize + 4;
        isNew = false;
        const qint64 needed = kChunkHeaderSize + padded(value.size() + 1); // text and a NUL
        growth += needed - sizeInList(list, name).value_or(0);
    }
    return growth;
}

} // namespace

std::optional<RIFFChunk> fillerFor(const QString& url, const BWFMetadata& fields) {
    const auto chunks = RIFFChunkReader::chunksAheadOfAudio(url);
    if (!chunks) return std::nullopt;
    qint64 gap = 0;
    bool hasBext = false;
    QByteArray info;
    for (const RIFFHeadChunk& chunk : *chunks) {
        if (isFiller(chunk.id)) gap += kChunkHeaderSize + padded(chunk.size);
        if (chunk.id == "bext") hasBext = true;
        if (chunk.list.startsWith("INFO")) info = chunk.list;
    }
    const qint64 growth = (hasBext || !fillBext(fields) ? 0 : kNewBextSize) + infoGrowth(info, fields);
    const qint64 left = gap - growth;
    if (left == 0 || left >= kChunkHeaderSize) return std::nullopt; // nothing smaller than a header can be filled
    return RIFFChunk{"JUNK", QByteArray(kRoomLeft - left, '\0'), 0};
}

void makeRoomFor(const QString& url, const BWFMetadata& fields) {
    try {
        if (const auto filler = fillerFor(url, fields)) RIFFChunkWriter::injectPreservedChunks(url, {*filler});
    } catch (const RIFFError&) { // too long for 32-bit sizes, then
    } catch (const FileError&) { // no room on the disk: the file is as it was
    }
}

} // namespace ostrel
