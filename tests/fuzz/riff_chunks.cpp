// Any file as the source of chunks and as the output that they go into: lifted chunks are the source's own bytes, and
// an injection puts one block ahead of a `data` and changes the size of the whole, or leaves the file as it was.
#include "metadata/chunks/riff_chunks.h"
#include "platform/files/files.h"

#include <QtEndian>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using ostrel::RIFFChunk;

void require(bool condition) {
    if (!condition) std::abort();
}

// A file in memory with a path.
class MemoryFile {
public:
    MemoryFile() : descriptor_(::memfd_create("fuzzed", MFD_CLOEXEC)) { require(descriptor_ >= 0); }
    ~MemoryFile() { ::close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(descriptor_); }
    void set(const QByteArray& bytes) const {
        require(::ftruncate(descriptor_, 0) == 0);
        require(::pwrite(descriptor_, bytes.constData(), static_cast<std::size_t>(bytes.size()), 0) == bytes.size());
    }

private:
    int descriptor_;
};

template <typename Number>
QByteArray littleEndian(Number value) {
    QByteArray bytes(sizeof value, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

std::vector<RIFFChunk> lifted(const QString& path) {
    try {
        return ostrel::RIFFChunkReader::extractPreservableChunks(path);
    } catch (const ostrel::RIFFError&) {
        return {};
    }
}

QByteArray blockOf(const std::vector<RIFFChunk>& chunks) {
    QByteArray block;
    for (const RIFFChunk& chunk : chunks) {
        block += chunk.id + littleEndian(static_cast<quint32>(chunk.data.size())) + chunk.data;
        if (chunk.data.size() % 2 == 1) block += '\0';
    }
    return block;
}

// The size of the whole stands in the head, or in the ds64 chunk of a file that says RF64 or BW64.
bool isAllButItsSize(const QByteArray& expected, const QByteArray& after) {
    const quint64 size = static_cast<quint64>(expected.size()) - 8;
    const auto with = [&](qsizetype at, const QByteArray& bytes) {
        return QByteArray(expected).replace(at, bytes.size(), bytes);
    };
    if (after == with(4, littleEndian(static_cast<quint32>(size)))) return true;
    for (qsizetype at = expected.indexOf("ds64", 12); at >= 0; at = expected.indexOf("ds64", at + 1)) {
        if (!expected.startsWith("RIFF") && after == with(at + 8, littleEndian(size))) return true;
    }
    return false;
}

bool isSplicedAheadOfData(const QByteArray& before, const QByteArray& block, const QByteArray& after) {
    for (qsizetype at = before.indexOf("data", 12); at >= 0; at = before.indexOf("data", at + 1)) {
        if (isAllButItsSize(before.first(at) + block + before.sliced(at), after)) return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray before(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const MemoryFile file;
    file.set(before);
    std::vector<RIFFChunk> chunks = lifted(file.path());
    for (const RIFFChunk& chunk : chunks) {
        require(before.mid(chunk.position, 4) == chunk.id);
        require(before.mid(chunk.position + 8, chunk.data.size()) == chunk.data);
    }
    require(ostrel::files::read(file.path()) == before);

    chunks.push_back({"SMED", "odd", 0});
    try {
        ostrel::RIFFChunkWriter::injectPreservedChunks(file.path(), chunks);
    } catch (const ostrel::RIFFError&) {
        require(ostrel::files::read(file.path()) == before);
        return 0;
    }
    require(isSplicedAheadOfData(before, blockOf(chunks), ostrel::files::read(file.path())));
    return 0;
}
