#include "metadata/chunks/md5_chunk.h"

#include "foundation/chunks/chunk_bytes.h"
#include "foundation/proof/audio_hashes.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/in_place.h"
#include "metadata/chunks/byte_edits.h"
#include "metadata/chunks/chunk_setting.h"
#include "platform/files/replacement.h"
#include "platform/paths.h"
#include "wave/channel_copy.h"
#include "wave/little_endian.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace ostrel {
namespace {

constexpr const char* kMd5Id = "MD5 ";
constexpr qint64 kDigestBytes = 16;

QByteArray payloadOf(const QString& digest) {
    QByteArray bytes = QByteArray::fromHex(digest.toLatin1());
    std::ranges::reverse(bytes);
    return bytes;
}

[[noreturn]] void refuse(const QString& file, const QString& why) {
    throw FileError(QStringLiteral("%1 is left as it is: %2").arg(paths::lastComponent(file), why));
}

// The size of the whole as it is after a chunk was added behind everything else.
ByteEdit grownSize(const WaveLayout& layout, std::uint64_t fileSize, const QString& file) {
    ByteEdit edit;
    if (layout.kind == WaveLayout::Kind::riff) {
        if (fileSize - kChunkHeaderSize >= kUnknownSize) refuse(file, QStringLiteral("a RIFF file can't grow further"));
        edit.offset = 4;
        appendNumber(edit.bytes, fileSize - kChunkHeaderSize, 4);
        return edit;
    }
    const WaveChunk* sizes = layout.find("ds64");
    if (!sizes || !layout.hasLongSizes) refuse(file, QStringLiteral("it does not tell its sizes"));
    edit.offset = sizes->payload;
    appendNumber(edit.bytes, fileSize - kChunkHeaderSize, 8);
    return edit;
}

// A new chunk behind all others.
std::vector<ByteEdit> addition(const WaveLayout& layout, const QByteArray& payload, const QString& file) {
    const bool endsWithItsChunks = layout.walkEnd == ChunkWalk::End::file && layout.walkEndOffset == layout.fileSize;
    if (!layout.data || layout.isStreamed || !endsWithItsChunks || !layout.fault().empty() ||
        !layout.endsAsDeclared()) {
        refuse(file, QStringLiteral("its chunks do not end where the file does"));
    }
    ByteEdit chunk{layout.fileSize, std::string(layout.fileSize % 2, '\0') + kMd5Id};
    appendNumber(chunk.bytes, kDigestBytes, 4);
    chunk.bytes.append(payload.constData(), static_cast<std::size_t>(payload.size()));
    return {grownSize(layout, chunk.offset + chunk.bytes.size(), file), chunk};
}

std::vector<ByteEdit> editsFor(const QString& recording, const QByteArray& payload, bool replacesOther) {
    const auto layout = readWaveLayout(QFile::encodeName(recording).toStdString());
    if (!layout) refuse(recording, QStringLiteral("it is no WAV file"));
    const auto old = findChunk(recording, kMd5Id);
    if (!old) return addition(*layout, payload, recording);
    if (!replacesOther) refuse(recording, QStringLiteral("its MD5 chunk tells another digest than that of its audio"));
    if (old->size < kDigestBytes) refuse(recording, QStringLiteral("its MD5 chunk is too short for a digest"));
    return {{static_cast<std::uint64_t>(old->payload), payload.toStdString()}};
}

} // namespace

std::optional<QString> embeddedMd5(const QString& file) {
    const auto chunk = findChunk(file, kMd5Id);
    if (!chunk) return std::nullopt;
    QByteArray bytes = bytesAt(file, *chunk, kDigestBytes);
    if (bytes.size() < kDigestBytes) return QString();
    std::ranges::reverse(bytes);
    return QString::fromLatin1(bytes.toHex());
}

bool embedMd5(const QString& file, const QString& digest, const FileStamp& seen, bool replacesOther, Journal& journal) {
    const QString recording = QFileInfo(file).canonicalFilePath(); // a link stays a link to the new file
    if (recording.isEmpty() || FileStamp::of(recording) != seen) {
        refuse(file, QStringLiteral("it was changed meanwhile"));
    }
    if (embeddedMd5(recording) == digest) return false;
    requireReplaceable(recording);
    if (const QString why = unexplainedBytesOf(recording); !why.isEmpty()) refuse(recording, why);
    const std::vector<ByteEdit> edits = editsFor(recording, payloadOf(digest), replacesOther);
    NewFile copy(recording);
    copyForChanges(copy);
    const std::string made = QFile::encodeName(copy.path()).toStdString();
    try {
        applyEdits(edits, made);
        if (!isEditOf(made, QFile::encodeName(recording).toStdString(), edits) || embeddedMd5(copy.path()) != digest) {
            refuse(recording, QStringLiteral("the copy that was to take its place differs"));
        }
    } catch (const CopyError& error) {
        refuse(recording, QString::fromUtf8(error.what()));
    }
    takePlace(copy, seen, journal, QStringLiteral("the MD5 of its audio was written into it"));
    return true;
}

bool renewMd5Chunk(const QString& file) {
    const auto chunk = findChunk(file, kMd5Id);
    if (!chunk || !findChunk(file, "data")) return true;
    if (chunk->size < kDigestBytes) return false;
    try {
        const AudioHashes audio = hashAudio(file, {.channels = false});
        return overwrite(file, chunk->payload, payloadOf(audio.md5));
    } catch (const std::exception&) { // the caller tells that the chunk may not be true
        return false;
    }
}

} // namespace ostrel
