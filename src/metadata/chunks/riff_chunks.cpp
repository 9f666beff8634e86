#include "metadata/chunks/riff_chunks.h"

#include "platform/files/files.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr std::uint64_t kMostChunkBytes = 256ULL << 20;
constexpr std::uint64_t kMostListBytes = 1 << 20;
constexpr qint64 kMoveBuffer = 256 << 10;

bool isPreservable(const QByteArray& id) {
    for (const char* wanted : {"SMED", "iXML", "aXML", "XMP ", "MD5 ", "UMID", "acid", "Tdat", "cart"}) {
        if (id == wanted) return true;
    }
    return false;
}

bool isAscii(const std::string& bytes) {
    return std::none_of(bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) > 127; });
}

WaveLayout requireWave(QFile& file) {
    if (auto layout = readWaveLayout(file.handle())) return *std::move(layout);
    const QByteArray header = file.read(kRiffHeaderBytes);
    if (header.size() < static_cast<qsizetype>(kRiffHeaderBytes)) {
        throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("File too small to be valid RIFF"));
    }
    const bool isForm = header.startsWith("RIFF") || header.startsWith("RF64") || header.startsWith("BW64");
    throw RIFFError(RIFFError::Kind::invalidFile,
                    isForm ? QStringLiteral("Not a WAVE file") : QStringLiteral("Not a RIFF file"));
}

RIFFChunk readChunk(QFile& file, const WaveChunk& chunk) {
    const QString name = QString::fromLatin1(QByteArray::fromStdString(chunk.id));
    if (chunk.size > kMostChunkBytes) {
        throw RIFFError(RIFFError::Kind::readError,
                        QStringLiteral("Chunk \"%1\" of %2 bytes is too large to carry").arg(name).arg(chunk.size));
    }
    file.seek(static_cast<qint64>(chunk.payload));
    QByteArray data = file.read(static_cast<qint64>(chunk.size));
    if (data.size() != static_cast<qsizetype>(chunk.size)) {
        throw RIFFError(RIFFError::Kind::readError, QStringLiteral("Cannot read chunk \"%1\"").arg(name));
    }
    return {QByteArray::fromStdString(chunk.id), data, static_cast<qint64>(chunk.header())};
}

template <typename Number>
void appendNumber(QByteArray& block, Number number) {
    const Number bytes = qToLittleEndian(number);
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

struct RiffSize {
    qint64 position = 0;
    QByteArray bytes;
};

// How a file of that layout tells its size: in its head, or in the ds64 chunk ahead of the audio.
RiffSize sizeField(const WaveLayout& layout, qint64 riffSize) {
    RiffSize size{4, {}};
    if (layout.hasLongSizes) {
        size.position = static_cast<qint64>(layout.find("ds64")->payload);
        appendNumber(size.bytes, static_cast<quint64>(riffSize));
        return size;
    }
    if (layout.kind != WaveLayout::Kind::riff) { // which of its sizes count, nobody can tell
        throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("Cannot find ds64 chunk in output"));
    }
    if (riffSize > std::numeric_limits<quint32>::max()) {
        throw RIFFError(RIFFError::Kind::invalidFile,
                        QStringLiteral("the file is too long for chunks with 32-bit sizes"));
    }
    appendNumber(size.bytes, static_cast<quint32>(riffSize));
    return size;
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
    const WaveLayout layout = requireWave(file);
    std::vector<RIFFChunk> chunks;
    for (const WaveChunk& chunk : layout.chunks) {
        if (!isAscii(chunk.id) || chunk.payloadEnd() > layout.fileSize) break;
        if (isPreservable(QByteArray::fromStdString(chunk.id))) chunks.push_back(readChunk(file, chunk));
    }
    return chunks;
}

std::optional<std::vector<RIFFHeadChunk>> RIFFChunkReader::chunksAheadOfAudio(const QString& url) {
    QFile file(url);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const std::optional<WaveLayout> layout = readWaveLayout(file.handle());
    if (!layout) return std::nullopt;
    std::vector<RIFFHeadChunk> chunks;
    for (const WaveChunk& chunk : layout->chunks) {
        if (chunk.id == "data") return chunks;
        if (chunk.payloadEnd() > layout->fileSize) break;
        const bool isList = chunk.id == "LIST" && chunk.size <= kMostListBytes;
        chunks.push_back({QByteArray::fromStdString(chunk.id), static_cast<qint64>(chunk.size),
                          isList ? readChunk(file, chunk).data : QByteArray()});
    }
    return std::nullopt;
}

void RIFFChunkWriter::injectPreservedChunks(const QString& url, const std::vector<RIFFChunk>& preservedChunks) {
    QFile file(url);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        throw RIFFError(RIFFError::Kind::readError, QStringLiteral("Cannot read ffmpeg output at %1").arg(url));
    }
    const int descriptor = file.handle();
    const std::optional<WaveLayout> layout = readWaveLayout(descriptor);
    if (!layout || !layout->data) {
        throw RIFFError(RIFFError::Kind::invalidFile, QStringLiteral("Cannot find data chunk in output"));
    }
    const QByteArray block = buildBlock(preservedChunks);
    const auto length = static_cast<qint64>(layout->fileSize);
    const RiffSize size = sizeField(*layout, length + block.size() - kChunkHeaderSize);
    if (!block.isEmpty()) {
        const auto dataPosition = static_cast<qint64>(layout->data->header());
        reserve(descriptor, length, block.size(), url);
        moveTail(descriptor, dataPosition, length, block.size(), url);
        writeAt(descriptor, block.constData(), block.size(), dataPosition, url);
    }
    writeAt(descriptor, size.bytes.constData(), size.bytes.size(), size.position, url);
}

} // namespace ostrel
