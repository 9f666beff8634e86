#include "polytools/grouping/iso_evidence.h"

#include "foundation/chunks/shown_recording.h"
#include "platform/files/files.h"
#include "platform/processes/child_process.h"
#include "platform/text/text.h"
#include "polytools/grouping/grouping_log.h"

namespace ostrel {
namespace {

QString orNil(const QString& text) { return text.isEmpty() ? QStringLiteral("nil") : text; }

void fill(QString& field, const QString& value) {
    if (field.isEmpty()) field = value;
}

void logFound(const char16_t* where, const FileWithMetadata& found) {
    logGrouping(QStringLiteral("✅ [Metadata] Extracted from %1: Scene=%2, Take=%3")
                    .arg(QStringView(where), orNil(found.scene), orNil(found.take)));
}

} // namespace

FileWithMetadata ISOEvidenceReader::read(const ISOFile& file) const {
    FileWithMetadata result;
    result.file = file;
    readSidecar(result);
    if (!bwfmetaeditPath_.isEmpty()) {
        if (result.scene.isEmpty()) readFile(result);
        readTrack(result);
    }
    return result;
}

void ISOEvidenceReader::readSidecar(FileWithMetadata& result) const {
    result.manifest = readManifestFile(sidecarManifestPath(result.file.url));
    if (!result.manifest) return;
    logGrouping(QStringLiteral("📄 [Metadata] Found sidecar manifest for: ") + result.file.fileName);
    const BEXTMetadata bext = result.manifest->bext.value_or(BEXTMetadata());
    const IXMLMetadata ixml = result.manifest->ixml.value_or(IXMLMetadata());
    result.timecode = bext.timecode;
    result.scene = bext.scene.isEmpty() ? ixml.scene : bext.scene;
    result.take = bext.scene.isEmpty() ? ixml.take : bext.take;
}

void ISOEvidenceReader::readFile(FileWithMetadata& result) const {
    const QString name = result.file.fileName;
    logGrouping(QStringLiteral("🔍 [Metadata] No sidecar manifest, extracting directly from: ") + name);
    const auto take = [&](const SceneTakeTimecode& found) {
        fill(result.scene, found.scene);
        fill(result.take, found.take);
        fill(result.timecode, found.timecode);
    };
    try {
        take(extractSceneTakeFromiXML(result.file));
        logFound(u"iXML", result);
    } catch (const ProcessLaunchError&) {
        // No evidence is not an error; the next source is tried.
    }
    if (!result.scene.isEmpty()) return;
    try {
        take(extractMetadataDirectly(result.file));
        logFound(u"BEXT", result);
    } catch (const ProcessLaunchError&) {
        // As above; the file's name is the next source.
    }
}

void ISOEvidenceReader::readTrack(FileWithMetadata& result) const {
    const QString name = result.file.fileName;
    try {
        const std::optional<ISOTrack> track = extractChannelIndicesFromiXML(result.file);
        if (!track) {
            logGrouping(QStringLiteral("⚠️ [Metadata] No matching track found in iXML for ") + name);
            return;
        }
        result.interleaveIndex = result.file.metadataInterleaveIndex = track->interleaveIndex;
        result.channelIndex = result.file.metadataChannelIndex = track->channelIndex;
        result.trackName = result.file.metadataTrackName = track->name;
        logGrouping(
            QStringLiteral("✅ [Metadata] Channel indices for %1: interleave=%2, channel=%3, name=%4")
                .arg(name, QString::number(track->interleaveIndex), QString::number(track->channelIndex), track->name));
    } catch (const ProcessLaunchError& error) {
        logGrouping(
            QStringLiteral("❌ [Metadata] Failed to extract channel indices from %1: %2").arg(name, error.description));
    }
}

SceneTakeTimecode ISOEvidenceReader::extractSceneTakeFromiXML(const ISOFile& file) const {
    const auto ixml = exportText(QStringLiteral("--out-iXML="), QStringLiteral("ixml.xml"), file.url);
    if (!ixml) return {};
    const SceneTakeTimecode found = sceneTakeFromIxml(*ixml);
    logGrouping(QStringLiteral("🔍 [iXML Scene/Take] %1: Scene=%2, Take=%3, TC=%4")
                    .arg(file.fileName, orNil(found.scene), orNil(found.take), orNil(found.timecode)));
    return found;
}

SceneTakeTimecode ISOEvidenceReader::extractMetadataDirectly(const ISOFile& file) const {
    const auto csv = exportText(QStringLiteral("--out-core="), QStringLiteral("core.csv"), file.url);
    return csv ? sceneTakeFromCoreCsv(*csv) : SceneTakeTimecode();
}

std::optional<ISOTrack> ISOEvidenceReader::extractChannelIndicesFromiXML(const ISOFile& file) const {
    const auto ixml = exportText(QStringLiteral("--out-iXML="), QStringLiteral("ixml.xml"), file.url);
    if (!ixml) {
        logGrouping(QStringLiteral("⚠️ [iXML] bwfmetaedit failed or no iXML in ") + file.fileName);
        return std::nullopt;
    }
    const TrackSearch search = findTrack(*ixml, file.fileName);
    for (const QString& message : search.messages) logGrouping(message);
    return search.track;
}

// The document that the tool writes; nothing if it failed or wrote none. Bytes that are not UTF-8 give an empty text.
std::optional<QString> ISOEvidenceReader::exportText(const QString& option, const QString& extension,
                                                     const QString& url) const {
    try {
        const ExportedDocument document =
            answers_->exported(bwfmetaeditPath_, option, files::temporaryPath(extension), url);
        if (!document.bytes) return std::nullopt;
        return decodeUtf8(*document.bytes).value_or(QString());
    } catch (const FileError&) {
        return QString(); // written, and gone or unreadable since
    }
}

} // namespace ostrel
