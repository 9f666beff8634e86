#include "interleaver/chunk_carrying.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/ixml_fitting.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"

#include <set>

namespace ostrel {
namespace {

TrackIndices namedAtLeast(TrackIndices track, const QString& tag) {
    if (track.trackName.isEmpty()) track.trackName = tag;
    return track;
}

TrackIndices ownTrack(const QString& file) {
    const auto chunk = WaveChunks(file).bytes("iXML");
    const auto document = chunk ? decodedIxml(*chunk) : std::nullopt;
    return document ? onlyTrack(*document).value_or(TrackIndices()) : TrackIndices();
}

// Numbers of the recorder that tell the tracks apart stay; files that all claim the same one are numbered by place.
void keepOnlyDistinctChannels(std::vector<TrackIndices>& tracks) {
    std::set<int> numbers;
    for (const TrackIndices& track : tracks) numbers.insert(track.channelIndex);
    if (numbers.size() == tracks.size() && !numbers.contains(0)) return;
    for (TrackIndices& track : tracks) track.channelIndex = 0;
}

} // namespace

std::vector<TrackIndices> tracksOfSet(const QStringList& files, const QStringList& tags) {
    std::vector<TrackIndices> tracks;
    for (qsizetype i = 0; i < files.size(); ++i) tracks.push_back(namedAtLeast(ownTrack(files[i]), tags.value(i)));
    keepOnlyDistinctChannels(tracks);
    return tracks;
}

TrackIndices trackOfChannel(const QString& file, const QStringList& tags, int channel) {
    const QString document = decodedIxml(WaveChunks(file).bytes("iXML").value_or(QByteArray())).value_or(QString());
    const std::vector<TrackIndices> tracks = tracksOf(document, static_cast<int>(tags.size()));
    TrackIndices track = namedAtLeast(tracks.at(static_cast<std::size_t>(channel)), tags.value(channel));
    if (track.channelIndex == 0) track.channelIndex = channel + 1;
    return track;
}

std::vector<RIFFChunk> fittedChunks(std::vector<RIFFChunk> chunks, const HeadRecipe& head) {
    for (RIFFChunk& chunk : chunks) {
        if (chunk.id == "iXML") chunk.data = fittedIxml(chunk.data, head.tracks, head.place);
    }
    return chunks;
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
