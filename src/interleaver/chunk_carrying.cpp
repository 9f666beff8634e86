#include "interleaver/chunk_carrying.h"

#include "metadata/chunks/chunk_bytes.h"
#include "metadata/ixml_fitting.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"

#include <functional>

namespace ostrel {
namespace {

QString nameOr(const QString& name, const QString& tag) { return name.isEmpty() ? tag : name; }

QString ownTrackName(const QString& file) {
    const auto chunk = WaveChunks(file).bytes("iXML");
    const auto document = chunk ? decodedIxml(*chunk) : std::nullopt;
    return document ? onlyTrackName(*document) : QString();
}

QString nameOfChannel(const QByteArray& chunk, const QStringList& tags, int channel) {
    const auto document = decodedIxml(chunk);
    const QStringList names = document ? trackNamesOf(*document, static_cast<int>(tags.size())) : QStringList();
    return nameOr(names.value(channel), tags.value(channel));
}

std::vector<RIFFChunk> withFittedIxml(std::vector<RIFFChunk> chunks,
                                      const std::function<QByteArray(const QByteArray&)>& fit) {
    for (RIFFChunk& chunk : chunks) {
        if (chunk.id == "iXML") chunk.data = fit(chunk.data);
    }
    return chunks;
}

} // namespace

QStringList trackNamesOfSet(const QStringList& files, const QStringList& tags) {
    QStringList names;
    for (qsizetype i = 0; i < files.size(); ++i) names << nameOr(ownTrackName(files[i]), tags.value(i));
    return names;
}

QString trackNameOfChannel(const QString& file, const QStringList& tags, int channel) {
    return nameOfChannel(WaveChunks(file).bytes("iXML").value_or(QByteArray()), tags, channel);
}

std::vector<RIFFChunk> chunksOfSet(std::vector<RIFFChunk> chunks, const QStringList& files, const QStringList& tags) {
    return withFittedIxml(std::move(chunks),
                          [&](const QByteArray& chunk) { return fittedIxml(chunk, trackNamesOfSet(files, tags), {}); });
}

std::vector<RIFFChunk> chunksOfChannel(std::vector<RIFFChunk> chunks, const QStringList& tags, int channel) {
    return withFittedIxml(std::move(chunks), [&](const QByteArray& chunk) {
        return fittedIxml(chunk, {nameOfChannel(chunk, tags, channel)}, {channel + 1});
    });
}

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
