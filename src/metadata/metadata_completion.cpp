#include "metadata/metadata_completion.h"

#include "metadata/chunks/chunk_bytes.h"
#include "metadata/chunks/riff_chunks.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QCryptographicHash>
#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qint64 kHashBlock = 1 << 20;

// Of the data chunk's payload, in the order of the chunk: last byte first.
QByteArray reversedDigest(QFile& file, const ChunkPlace& data) {
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (!file.seek(data.payload)) return {};
    for (qint64 left = data.size; left > 0;) {
        const QByteArray block = file.read(std::min(left, kHashBlock));
        if (block.isEmpty()) return {};
        hash.addData(block);
        left -= block.size();
    }
    QByteArray digest = hash.result();
    std::reverse(digest.begin(), digest.end());
    return digest;
}

// The document goes along as it is where the target has none: better one that speaks of the source than none.
QString carryDocument(const QString& source, const QString& target) {
    const auto document = chunkBytes(source, "iXML");
    if (!document || document->isEmpty() || findChunk(target, "iXML")) return {};
    const QString name = paths::lastComponent(source);
    try {
        RIFFChunkWriter::injectPreservedChunks(target, {RIFFChunk{"iXML", *document}});
        return QStringLiteral("The iXML of %1 could not be rewritten and goes along as it was: its track list is that "
                              "of the source")
            .arg(name);
    } catch (const RIFFError& error) {
        return QStringLiteral("The iXML of %1 is lost: %2").arg(name, error.errorDescription());
    } catch (const FileError& error) {
        return QStringLiteral("The iXML of %1 is lost: %2").arg(name, error.description);
    }
}

} // namespace

MetadataCompletion completeMetadata(const QString& source, const QString& target, SourceUmid umid) {
    MetadataCompletion completion;
    if (!isWave(target)) return completion;
    if (const QString said = carryDocument(source, target); !said.isEmpty()) completion.warnings << said;
    completion.bext = completeBext(source, target, umid);
    if (!completion.bext.why.isEmpty()) completion.warnings << differingBextSentence(source, completion.bext);
    if (!renewMd5Chunk(target)) {
        completion.warnings << QStringLiteral("The MD5 chunk of the new file may not be that of its audio: %1")
                                   .arg(paths::lastComponent(source));
    }
    return completion;
}

bool renewMd5Chunk(const QString& path) {
    const auto chunk = findChunk(path, "MD5 ");
    const auto data = findChunk(path, "data");
    if (!chunk || !data) return true;
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) return false;
    const QByteArray digest = reversedDigest(file, *data);
    if (digest.size() != 16 || chunk->size < digest.size()) return false;
    return file.seek(chunk->payload) && file.write(digest) == digest.size() && file.flush();
}

} // namespace ostrel
