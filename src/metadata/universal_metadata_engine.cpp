#include "metadata/universal_metadata_engine.h"

#include "foundation/chunks/shown_recording.h"
#include "foundation/domain_error.h"
#include "metadata/header_room.h"
#include "metadata/ixml_fitting.h"
#include "metadata/ixml_surgery.h"
#include "platform/diagnostics.h"
#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"

#include <QDir>
#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

DomainError engineError(const QString& description) {
    return DomainError(QStringLiteral("UniversalMetadataEngine"), 1, description);
}

// A folder of its own for one document; gone at the end of the scope.
class TemporaryDocument {
public:
    TemporaryDocument(const QString& name, const QString& text)
        : folder_(paths::append(temporaryFolder(), freshUuid())) {
        files::createFolder(folder_);
        try {
            files::writeAtomically(path_ = paths::append(folder_, name), text.toUtf8());
        } catch (const FileError&) {
            files::removeFolderQuietly(folder_);
            throw;
        }
    }
    ~TemporaryDocument() { files::removeFolderQuietly(folder_); }
    TemporaryDocument(const TemporaryDocument&) = delete;
    TemporaryDocument& operator=(const TemporaryDocument&) = delete;

    QString path() const { return path_; }

private:
    QString folder_;
    QString path_;
};

QString orUnknown(const QString& text) { return text.isEmpty() ? QStringLiteral("unknown") : text; }

void readChunks(const QString& url, MetadataPreservationResult& result) {
    const auto warn = [&](const QString& reason) {
        result.logMessages << QStringLiteral("⚠️  RIFF chunk extraction failed: ") + reason;
    };
    try {
        result.riffChunks = RIFFChunkReader::extractPreservableChunks(url);
    } catch (const RIFFError& error) {
        warn(error.errorDescription());
    } catch (const FileError& error) {
        warn(error.description);
    }
    if (result.riffChunks.empty()) return;
    result.logMessages << QStringLiteral("📦 Extracted %1 RIFF chunks").arg(result.riffChunks.size());
    for (const RIFFChunk& chunk : result.riffChunks) {
        result.logMessages
            << QStringLiteral("   • %1 (%2 bytes)").arg(QString::fromLatin1(chunk.id)).arg(chunk.data.size());
    }
}

// Together with the room for the fields that come next, so that the audio moves once.
QString injectChunks(const QString& target, std::vector<RIFFChunk> chunks, const std::optional<BWFMetadata>& fields) {
    const QString name = paths::lastComponent(target);
    const auto failure = [&](const QString& reason) {
        return QStringLiteral("⚠️  RIFF chunk injection failed for %1: %2").arg(name, reason);
    };
    try {
        const std::optional<RIFFChunk> filler = fields ? fillerFor(target, *fields) : std::nullopt;
        if (filler) chunks.insert(chunks.begin(), *filler);
        RIFFChunkWriter::injectPreservedChunks(target, chunks);
    } catch (const RIFFError& error) {
        return failure(error.errorDescription());
    } catch (const FileError& error) {
        return failure(error.description);
    }
    return QStringLiteral("✅ RIFF chunks injected: ") + name;
}

QString nowAsIso8601() { return QDateTime::currentDateTimeUtc().toString(Qt::ISODate); }

// A scene may hold a slash; the file must not leave its folder for it.
QString takeManifestPath(const QString& folder, const SceneTakeInfo& sceneInfo) {
    return paths::append(folder, distinctFileName(sceneInfo.manifestKey(), QStringLiteral(".json")));
}

void writePlainly(const QString& path, const QByteArray& contents) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size() ||
        !file.flush()) {
        throw FileError(QStringLiteral("Could not write %1: %2").arg(path, file.errorString()));
    }
}

} // namespace

UniversalMetadataEngine::UniversalMetadataEngine(const QString& bwfmetaeditPath, std::shared_ptr<SourceAnswers> answers)
    : bwfmetaeditPath_(bwfmetaeditPath), answers_(answers),
      metadataEngine_(bwfmetaeditPath, freshUuid(), std::move(answers)), manifestCacheDir_(takeManifestCacheFolder()) {
    QDir().mkpath(manifestCacheDir_); // a failure shows when a manifest is written
}

UniversalMetadataEngine::~UniversalMetadataEngine() { metadataEngine_.cleanup(); }

MetadataPreservationResult UniversalMetadataEngine::extractMetadata(const QString& url, bool enableRIFFChunks) const {
    MetadataPreservationResult result;
    if (enableRIFFChunks) readChunks(url, result);
    result.hasBWF = readBWF(url, result.logMessages);
    readiXML(url, result);
    return result;
}

bool UniversalMetadataEngine::readBWF(const QString& url, QStringList& log) const {
    try {
        const ProcessResult printed = answers_->printed(bwfmetaeditPath_, {QStringLiteral("--out-core=-")}, url);
        if (!printed.why.isEmpty()) {
            log << QStringLiteral("⚠️  BWF extraction failed: bwfmetaedit was ") + printed.why;
            return false;
        }
        if (printed.outputText().split(u'\n', Qt::SkipEmptyParts).size() < 2) return false;
    } catch (const ProcessLaunchError& error) {
        log << QStringLiteral("⚠️  BWF extraction failed: ") + error.description;
        return false;
    }
    log << QStringLiteral("✅ BWF metadata extracted");
    return true;
}

void UniversalMetadataEngine::readiXML(const QString& url, MetadataPreservationResult& result) const {
    try {
        const QString xml = extractiXMLString(url);
        result.sceneInfo = parseSceneTakeInfo(xml);
        result.timecode = parseTimecodeInfo(xml);
    } catch (const ProcessLaunchError& error) {
        result.logMessages << QStringLiteral("⚠️  iXML extraction failed: ") + error.description;
    } catch (const DomainError& error) {
        result.logMessages << QStringLiteral("⚠️  iXML extraction failed: ") + error.errorDescription();
    }
    if (result.sceneInfo) {
        result.hasiXML = true;
        result.logMessages
            << QStringLiteral("✅ iXML metadata extracted: %1 T%2").arg(result.sceneInfo->scene, result.sceneInfo->take);
    }
    if (result.timecode) {
        result.hasTimecode = true;
        result.logMessages << QStringLiteral("✅ Timecode present: %1 @ %2")
                                  .arg(orUnknown(result.timecode->timecodeRate),
                                       orUnknown(result.timecode->timecodeFlag));
    }
}

QStringList UniversalMetadataEngine::applyMetadata(const QStringList& targets, const QString& source,
                                                   const MetadataPreservationResult& preservationResult,
                                                   bool enableRIFFChunks, bool enableBWF, bool enableiXML) const {
    QStringList log;
    for (const QString& target : targets) {
        const QString name = paths::lastComponent(target);
        const bool writesFields = enableBWF && preservationResult.hasBWF;
        const std::optional<BWFMetadata> fields = writesFields ? metadataEngine_.readFields(source) : std::nullopt;
        if (enableRIFFChunks && !preservationResult.riffChunks.empty()) {
            log << injectChunks(target, preservationResult.riffChunks, fields);
        }
        if (writesFields) {
            const MetadataResult copied = metadataEngine_.writeFields(fields, target);
            log << (copied.success ? QStringLiteral("✅ BWF metadata copied: ") + name
                                   : QStringLiteral("⚠️  BWF copy failed for %1: %2").arg(name, copied.message));
            if (!copied.refused.isEmpty()) log << QStringLiteral("⚠️  ") + refusedSentence(copied, name);
        }
        if (enableiXML && preservationResult.hasiXML) {
            log << QStringLiteral("ℹ️  iXML preservation delegated to ffmpeg -map_metadata 0");
        }
    }
    return log;
}

void UniversalMetadataEngine::saveManifest(const SceneTakeInfo& sceneInfo, const QStringList& trackNames,
                                           const std::optional<std::vector<int>>& trackOrder,
                                           const std::optional<TimecodeInfo>& timecode,
                                           const QMap<QString, QString>& additionalMetadata) const {
    const TakeManifest manifest{sceneInfo, trackNames, trackOrder, timecode, additionalMetadata};
    writePlainly(takeManifestPath(manifestCacheDir_, sceneInfo), manifest.toJson(nowAsIso8601()));
    printDiagnostic(QStringLiteral("💾 Manifest saved: %1.json").arg(sceneInfo.manifestKey()));
}

void UniversalMetadataEngine::normalizeiXMLForSingleTrack(const QString& sourceURL, const QString& outputURL,
                                                          const TrackIndices& track, const IxmlPlace& place) const {
    const QString document =
        performUniversalXMLSurgery(extractiXMLString(sourceURL), singleTrackList(track), generateFileUID());
    writeiXML(placedIxml(document, place), QStringLiteral("normalized_ixml.xml"), outputURL,
              QStringLiteral("Failed to normalize iXML"));
}

QStringList UniversalMetadataEngine::rebuildMultiTrackiXML(const QStringList& isoFiles, const QString& outputURL,
                                                           const IxmlPlace& place) const {
    std::vector<IsoDocument> isos;
    for (const QString& iso : isoFiles) {
        try {
            isos.push_back({iso, extractiXMLString(iso)});
        } catch (const DomainError&) {
            if (isos.empty()) throw; // the others' tracks go into the first one's document
            isos.push_back({iso, QString()});
        }
    }
    return rebuildFromDocuments(isos, outputURL, place);
}

QStringList UniversalMetadataEngine::rebuildFromDocuments(const std::vector<IsoDocument>& isos,
                                                          const QString& outputURL, const IxmlPlace& place) const {
    if (isos.empty()) throw engineError(QStringLiteral("No ISO files to rebuild the iXML from"));
    std::vector<TrackIndices> tracks;
    QStringList withoutIndices;
    for (const IsoDocument& iso : isos) {
        if (const auto indices = parseTrackIndicesFromiXML(iso.ixml)) {
            tracks.push_back(*indices);
        } else {
            const int ahead = tracks.empty() ? 0 : tracks.back().interleaveIndex;
            tracks.push_back(trackByPlace(iso.name, static_cast<int>(tracks.size()) + 1, ahead));
            withoutIndices << iso.name;
        }
    }
    std::ranges::stable_sort(tracks, {}, &TrackIndices::interleaveIndex);
    const QString document = performUniversalXMLSurgery(isos.front().ixml, multiTrackList(tracks), generateFileUID());
    writeiXML(placedIxml(document, place), QStringLiteral("multi_track_ixml.xml"), outputURL,
              QStringLiteral("Failed to rebuild multi-track iXML"));
    return withoutIndices;
}

// With whatever else its document tells. The index of the one ahead keeps it where it stands when all are sorted.
TrackIndices UniversalMetadataEngine::trackByPlace(const QString& iso, int place, int indexAhead) const {
    QString xml;
    try {
        xml = extractiXMLString(iso);
    } catch (const DomainError&) { // not text: it tells nothing
    }
    TrackIndices track = tracksOf(xml, 1).front();
    track.interleaveIndex = indexAhead;
    if (track.channelIndex == 0) track.channelIndex = place;
    if (track.trackName.isEmpty()) track.trackName = QStringLiteral("CH%1").arg(place);
    return track;
}

std::optional<TrackIndices> UniversalMetadataEngine::extractTrackIndicesFromiXML(const QString& fileURL) const {
    try {
        return parseTrackIndicesFromiXML(extractiXMLString(fileURL));
    } catch (const ProcessLaunchError&) {
        return std::nullopt; // no tool, no indices
    } catch (const DomainError&) {
        return std::nullopt; // not text
    }
}

QString UniversalMetadataEngine::extractiXMLString(const QString& url) const {
    const ProcessResult printed = answers_->printedIxml(bwfmetaeditPath_, url);
    if (printed.ended != ChildEnd::byItself) {
        throw engineError(QStringLiteral("The iXML of %1 was not read: bwfmetaedit was %2")
                              .arg(paths::lastComponent(url), printed.why));
    }
    const std::optional<QString> text = decodedIxml(printed.standardOutput);
    if (!text) throw engineError(QStringLiteral("The iXML of %1 is not UTF-8").arg(paths::lastComponent(url)));
    // The tool ends its print with a line break that is not in the file. Kept, it would give a file without iXML an
    // iXML chunk of that one character.
    return text->endsWith(u'\n') ? text->chopped(1) : *text;
}

void UniversalMetadataEngine::writeiXML(const QString& document, const QString& documentName, const QString& outputURL,
                                        const QString& failure) const {
    const TemporaryDocument temporary(documentName, document);
    const ProcessResult written =
        ChildProcess::runSilently(bwfmetaeditPath_, {QStringLiteral("--in-iXML=") + temporary.path(), outputURL},
                                  limitsByFileSize({outputURL}), ChildProcess::StandardError::dropped);
    if (!written.succeeded()) throw engineError(failure);
}

} // namespace ostrel
