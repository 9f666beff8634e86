#include "metadata/metadata_completion.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/chunks/md5_chunk.h"
#include "metadata/chunks/riff_chunks.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QSet>
#include <algorithm>
#include <vector>

namespace ostrel {
namespace {

// What stays true of a file whose channels are others and whose timeline is the same: texts, and marks that count
// frames. What tells of channels (ADM) or names the very file (a program's own identifiers) would be a lie.
bool staysTrue(const QByteArray& kind) {
    static const QSet<QByteArray> kinds{"SMED", "iXML", "aXML", "XMP ", "_PMX", "MD5 ", "UMID", "acid",     "Tdat",
                                        "cart", "id3 ", "ID3 ", "cue ", "plst", "smpl", "inst", "LIST adtl"};
    return kinds.contains(kind);
}

std::vector<RIFFChunk> chunksThatLack(const QString& source, const QString& target) {
    const WaveChunks held(source);
    const WaveChunks present(target);
    std::vector<RIFFChunk> chunks;
    for (const auto& [kind, place] : held.all()) {
        if (place.size == 0 || !staysTrue(kind) || present.findKind(kind)) continue;
        if (auto bytes = held.bytes(place)) chunks.push_back({kind.first(4), std::move(*bytes), place.payload});
    }
    return chunks;
}

// What no tool has carried goes along as it is. For an iXML document that is a pity, and said: better one that speaks
// of the source than none.
QString carryChunks(const QString& source, const QString& target) {
    const std::vector<RIFFChunk> chunks = chunksThatLack(source, target);
    if (chunks.empty()) return {};
    const bool hasDocument = std::ranges::any_of(chunks, [](const RIFFChunk& chunk) { return chunk.id == "iXML"; });
    const QString name = paths::lastComponent(source);
    try {
        RIFFChunkWriter::injectPreservedChunks(target, chunks);
        if (!hasDocument) return {};
        return QStringLiteral("The iXML of %1 could not be rewritten and goes along as it was: its track list is that "
                              "of the source")
            .arg(name);
    } catch (const RIFFError& error) {
        return QStringLiteral("Chunks of %1 are lost: %2").arg(name, error.errorDescription());
    } catch (const FileError& error) {
        return QStringLiteral("Chunks of %1 are lost: %2").arg(name, error.description);
    }
}

} // namespace

MetadataCompletion completeMetadata(const QString& source, const QString& target, SourceUmid umid,
                                    const QString& fileName, const DescriptionWish& wish) {
    MetadataCompletion completion;
    if (!WaveChunks(target).isWave()) return completion;
    if (const QString said = carryChunks(source, target); !said.isEmpty()) completion.warnings << said;
    completion.bext = completeBext(source, target, umid, fileName, wish);
    if (!completion.bext.why.isEmpty()) completion.warnings << differingBextSentence(source, completion.bext);
    if (!renewMd5Chunk(target)) {
        completion.warnings << QStringLiteral("The MD5 chunk of the new file may not be that of its audio: %1")
                                   .arg(paths::lastComponent(source));
    }
    return completion;
}

} // namespace ostrel
