#include "interleaver/chunk_carrying.h"

#include "platform/diagnostics.h"
#include "platform/files/files.h"

namespace ostrel {

std::vector<RIFFChunk> extractChunksOrExplain(const QString& source) {
    QString why;
    try {
        return RIFFChunkReader::extractPreservableChunks(source);
    } catch (const RIFFError& error) {
        why = error.errorDescription();
    } catch (const FileError& error) {
        why = error.description;
    }
    printDiagnostic(QStringLiteral("⚠️  Could not extract chunks for SMED preservation: ") + why);
    return {};
}

QString injectChunks(const QString& output, const std::vector<RIFFChunk>& chunks) {
    try {
        RIFFChunkWriter::injectPreservedChunks(output, chunks);
        return QString();
    } catch (const RIFFError& error) {
        return error.errorDescription();
    } catch (const FileError& error) {
        return error.description;
    }
}

} // namespace ostrel
