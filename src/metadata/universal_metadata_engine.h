// Decides what happens to metadata when Poly Tools split, join or edit a file: lifts what a source holds, puts it on
// the outputs, and rewrites the iXML text so that it speaks of the tracks that a file really has.
//
// The chain for one output: ffmpeg writes the audio; `applyMetadata` injects the chunks and copies the BEXT fields;
// last, one of the two iXML writers has the final word. Nothing here ever writes to a source. All operations block and
// run child processes; one instance may serve several threads at once.
#pragma once

#include "foundation/tools/source_answers.h"
#include "metadata/chunks/riff_chunks.h"
#include "metadata/ixml/ixml_place.h"
#include "metadata/metadata_engine.h"
#include "metadata/take_manifest.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

// What a source holds. Failures appear as false flags and log lines.
struct MetadataPreservationResult {
    bool success = true;
    std::vector<RIFFChunk> riffChunks;
    bool hasBWF = false;
    bool hasiXML = false;     // iXML gave a scene and a take
    bool hasTimecode = false; // iXML gave a timecode rate and a timestamp
    std::optional<SceneTakeInfo> sceneInfo;
    std::optional<TimecodeInfo> timecode;
    QStringList logMessages; // what happened, in order, for the job's log
};

// Of the first track that a document lists.
struct TrackIndices {
    int interleaveIndex = 0; // 1-based, INTERLEAVE_INDEX
    int channelIndex = 0;    // CHANNEL_INDEX
    QString trackName;       // NAME as XML text, entities as they stand; may be empty
    QString function = {};   // FUNCTION, likewise

    bool operator==(const TrackIndices&) const = default;
};

struct IsoDocument {
    QString name; // a file's path, or whatever tells it in a log
    QString ixml;
};

class UniversalMetadataEngine {
public:
    explicit UniversalMetadataEngine(const QString& bwfmetaeditPath,
                                     std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>());
    ~UniversalMetadataEngine(); // removes the session's temporary folder
    UniversalMetadataEngine(const UniversalMetadataEngine&) = delete;
    UniversalMetadataEngine& operator=(const UniversalMetadataEngine&) = delete;

    QString bwfmetaeditPath() const { return bwfmetaeditPath_; }

    // Never fails: what can't be had is a log line.
    MetadataPreservationResult extractMetadata(const QString& url, bool enableRIFFChunks) const;

    // Gives log lines; a failure is one. The source is only read.
    QStringList applyMetadata(const QStringList& targets, const QString& source,
                              const MetadataPreservationResult& preservationResult, bool enableRIFFChunks,
                              bool enableBWF, bool enableiXML) const;

    // Writes `{manifests_v2}/{manifestKey}.json`. Throws FileError.
    void saveManifest(const SceneTakeInfo& sceneInfo, const QStringList& trackNames,
                      const std::optional<std::vector<int>>& trackOrder, const std::optional<TimecodeInfo>& timecode,
                      const QMap<QString, QString>& additionalMetadata) const;

    // Gives the output the source's iXML with a track list of this track, a fresh FILE_UID, the source's as parent, and
    // its place. Name and function go into the XML as they stand: a caller whose name is not XML text escapes it first.
    // Throws DomainError and ProcessLaunchError, FileError for the temporary document.
    void normalizeiXMLForSingleTrack(const QString& sourceURL, const QString& outputURL, const TrackIndices& track,
                                     const IxmlPlace& place = {}) const;

    // Gives the output the first ISO's iXML with the tracks of all of them, in the order of their INTERLEAVE_INDEX and
    // numbered anew. An ISO that tells no indices stays behind the one ahead of it, and has those of its place; such
    // ISOs are given, for the caller's log. Throws as above, and DomainError for an empty list.
    QStringList rebuildMultiTrackiXML(const QStringList& isoFiles, const QString& outputURL,
                                      const IxmlPlace& place = {}) const;

    // The same of ISOs that are documents and no files; gives their names.
    QStringList rebuildFromDocuments(const std::vector<IsoDocument>& isos, const QString& outputURL,
                                     const IxmlPlace& place = {}) const;

    // Of the first track in the file's iXML; nothing if there is none, or the tool can't be started.
    std::optional<TrackIndices> extractTrackIndicesFromiXML(const QString& fileURL) const;

    // The file's iXML document, which then declares UTF-8; empty if it has none. Throws ProcessLaunchError, and
    // DomainError for text that is neither UTF-8 nor what it declares.
    QString extractiXMLString(const QString& url) const;

private:
    bool readBWF(const QString& url, QStringList& log) const;
    void readiXML(const QString& url, MetadataPreservationResult& result) const;
    TrackIndices trackByPlace(const QString& iso, int place, int indexAhead) const;
    void writeiXML(const QString& document, const QString& documentName, const QString& outputURL,
                   const QString& failure) const;

    QString bwfmetaeditPath_;
    std::shared_ptr<SourceAnswers> answers_;
    MetadataEngine metadataEngine_;
    QString manifestCacheDir_;
};

} // namespace ostrel
