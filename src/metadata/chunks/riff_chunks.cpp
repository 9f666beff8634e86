#include "metadata/chunks/riff_chunks.h"

#include "platform/files/files.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr qint64 kHeaderSize = 12;
constexpr qint64 kMostChunkBytes = 256LL << 20;
constexpr qint64 kMostListBytes = 1 << 20;
constexpr qint64 kMoveBuffer = 256 << 10;

bool isPreservable(const QByteArray& id) {
    for (const char* wanted : {"SMED", "iXML", "aXML", "XMP ", "MD5 ", "UMID", "acid", "Tdat", "cart"}) {
        if (id == wanted) return true;
    }
    return false;
}

bool isAscii(const QByteArray& bytes) {
    return std::none_of(bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) > 127; });
}

struct ChunkHeader {
    QByteArray id;
    qint64 position = 0;
    qint64 size = 0;

    qint64 dataStart() const { return position + kChunkHeaderSize; }
    qint64 next() const { return dataStart() + size + (size & 1); }
};

// The header at that position; nothing where eight bytes no longer fit.
std::optional<ChunkHeader> headerAt(QFile& file, qint64 position) {
    if (position + kChunkHeaderSize > file.size() || !file.seek(position)) return std::nullopt;
    const QByteArray bytes = file.read(kChunkHeaderSize);
    if (bytes.size() != kChunkHeaderSize) return std::nullopt;
    return ChunkHeader{bytes.first(4), position, qFromLittleEndian<quint32>(bytes.constData() + 4)};
}

void requireRiffWave(QFile& file) {
    const QByteArray header = file.read(kHeaderSize);
    if (header.size() < kHeaderSize) {
        throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("File too small to be valid RIFF"));
    }
    if (!header.startsWith("RIFF")) throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("Not a RIFF file"));
    if (header.mid(8) != "WAVE") throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("Not a WAVE file"));
}

RIFFChunk readChunk(QFile& file, const ChunkHeader& header) {
    const QString name = QString::fromLatin1(header.id);
    if (header.size > kMostChunkBytes) {
        throw RIFFError(RIFFError::Kind::readError,
                        QStringLiteral("Chunk \"%1\" of %2 bytes is too large to carry").arg(name).arg(header.size));
    }
    file.seek(header.dataStart());
    QByteArray data = file.read(header.size);
    if (data.size() != header.size) {
        throw RIFFError(RIFFError::Kind::readError, QStringLiteral("Cannot read chunk \"%1\"").arg(name));
    }
    return {header.id, data, header.position};
}

std::optional<qint64> findDataChunkPosition(QFile& file) {
    for (auto header = headerAt(file, kHeaderSize); header; header = headerAt(file, header->next())) {
        if (header->id == "data") return header->position;
    }
    return std::nullopt;
}

void appendNumber(QByteArray& block, quint32 number) {
    const quint32 bytes = qToLittleEndian(number);
    block.append(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

QByteArray buildBlock(const std::vector<RIFFChunk>& chunks) {
    QByteArray block;
    for (const RIFFChunk& chunk : chunks) {
        // An id of another length is left out and size and payload stay: meant, the reader makes none.
        if (chunk.id.size() == 4) block += chunk.id;
        appendNumber(block, static_cast<quint32>(chunk.data.size()));
        block += chunk.data;
        if (chunk.data.size() & 1) block += '\0';
    }
    return block;
}

[[noreturn]] void failWriting(const QString& path) {
    throw FileError(QStringLiteral("Could not write %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
}

void writeAt(int descriptor, const char* bytes, qint64 count, qint64 position, const QString& path) {
    while (count > 0) {
        const ssize_t written = ::pwrite(descriptor, bytes, static_cast<size_t>(count), position);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) failWriting(path);
        bytes += written;
        position += written;
        count -= written;
    }
}

void readAt(int descriptor, char* bytes, qint64 count, qint64 position, const QString& path) {
    while (count > 0) {
        const ssize_t got = ::pread(descriptor, bytes, static_cast<size_t>(count), position);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            throw RIFFError(RIFFError::Kind::readError, QStringLiteral("Cannot read ffmpeg output at %1").arg(path));
        }
        bytes += got;
        position += got;
        count -= got;
    }
}

// Takes the room behind the end of the file before anything moves; gives it back if there is not enough.
void reserve(int descriptor, qint64 length, qint64 additional, const QString& path) {
    const int error = ::posix_fallocate(descriptor, length, additional);
    if (error == 0) return;
    if (::ftruncate(descriptor, length) != 0) failWriting(path);
    errno = error;
    failWriting(path);
}

// From the end downwards, so that no byte is overwritten before it was moved.
void moveTail(int descriptor, qint64 from, qint64 end, qint64 distance, const QString& path) {
    QByteArray buffer(kMoveBuffer, Qt::Uninitialized);
    while (end > from) {
        const qint64 count = std::min<qint64>(kMoveBuffer, end - from);
        end -= count;
        readAt(descriptor, buffer.data(), count, end, path);
        writeAt(descriptor, buffer.constData(), count, end + distance, path);
    }
}

QString prefix(RIFFError::Kind kind) {
    return kind == RIFFError::Kind::invalidFile ? QStringLiteral("Invalid RIFF file: ")
                                                : QStringLiteral("Read error: ");
}

} // namespace

RIFFError::RIFFError(Kind errorKind, const QString& payload)
    : std::runtime_error((prefix(errorKind) + payload).toStdString()), kind(errorKind), text(payload) {}

QString RIFFError::errorDescription() const { return prefix(kind) + text; }

std::vector<RIFFChunk> RIFFChunkReader::extractPreservableChunks(const QString& url) {
    QFile file(url);
    if (!file.open(QIODevice::ReadOnly)) {
        throw FileError(QStringLiteral("Could not read %1: %2").arg(url, file.errorString()));
    }
    requireRiffWave(file);
    std::vector<RIFFChunk> chunks;
    for (auto header = headerAt(file, kHeaderSize); header; header = headerAt(file, header->next())) {
        if (!isAscii(header->id) || header->dataStart() + header->size > file.size()) break;
        if (isPreservable(header->id)) chunks.push_back(readChunk(file, *header));
    }
    return chunks;
}

std::optional<std::vector<RIFFHeadChunk>> RIFFChunkReader::chunksAheadOfAudio(const QString& url) {
    QFile file(url);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const QByteArray start = file.read(kHeaderSize);
    if (!start.startsWith("RIFF") || start.mid(8) != "WAVE") return std::nullopt;
    std::vector<RIFFHeadChunk> chunks;
    for (auto header = headerAt(file, kHeaderSize); header; header = headerAt(file, header->next())) {
        if (header->id == "data") return chunks;
        const bool isList = header->id == "LIST" && header->size <= kMostListBytes;
        chunks.push_back({header->id, header->size, isList ? readChunk(file, *header).data : QByteArray()});
    }
    return std::nullopt;
}

void RIFFChunkWriter::injectPreservedChunks(const QString& url, const std::vector<RIFFChunk>& preservedChunks) {
    QFile file(url);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        throw RIFFError(RIFFError::Kind::readError, QStringLiteral("Cannot read ffmpeg output at %1").arg(url));
    }
    const std::optional<qint64> dataPosition = findDataChunkPosition(file);
    if (!dataPosition) {
        throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("Cannot find data chunk in output"));
    }
    const QByteArray block = buildBlock(preservedChunks);
    const qint64 length = file.size();
    const qint64 riffSize = length + block.size() - 8;
    if (riffSize > std::numeric_limits<quint32>::max()) {
        throw RIFFError(RIFFError::Kind::invalidFile,
                        QStringLiteral("the file is too long for chunks with 32-bit sizes"));
    }
    const int descriptor = file.handle();
    if (!block.isEmpty()) {
        reserve(descriptor, length, block.size(), url);
        moveTail(descriptor, *dataPosition, length, block.size(), url);
        writeAt(descriptor, block.constData(), block.size(), *dataPosition, url);
    }
    QByteArray size;
    appendNumber(size, static_cast<quint32>(riffSize));
    writeAt(descriptor, size.constData(), size.size(), 4, url);
}

} // namespace ostrel
