// What a loose ISO tells about the take that it belongs to: its sidecar manifest, its iXML, its BEXT.
#pragma once

#include "foundation/tools/source_answers.h"
#include "metadata/metadata_manifest.h"
#include "polytools/records/iso_file.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace ostrel {

// A file with everything that grouping knows of it. Texts are empty where nothing told them.
struct FileWithMetadata {
    ISOFile file;
    std::optional<MetadataManifest> manifest;
    QString scene;
    QString take;
    QString timecode;
    std::optional<int> interleaveIndex;
    std::optional<int> channelIndex;
    QString trackName;
};

struct SceneTakeTimecode {
    QString scene;
    QString take;
    QString timecode;

    bool operator==(const SceneTakeTimecode&) const = default;
};

// The track of an iXML document that a file name points at.
struct ISOTrack {
    int interleaveIndex = 0;
    int channelIndex = 0;
    QString name;

    bool operator==(const ISOTrack&) const = default;
};

class ISOEvidenceReader {
public:
    // Without bwfmetaedit only the sidecar is read.
    explicit ISOEvidenceReader(const QString& bwfmetaeditPath,
                               std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>())
        : bwfmetaeditPath_(bwfmetaeditPath), answers_(std::move(answers)) {}

    // Asks bwfmetaedit up to three times. Never throws: what can't be read stays empty.
    FileWithMetadata read(const ISOFile& file) const;

private:
    void readSidecar(FileWithMetadata& result) const;
    void readFile(FileWithMetadata& result) const;
    void readTrack(FileWithMetadata& result) const;
    SceneTakeTimecode extractSceneTakeFromiXML(const ISOFile& file) const;
    SceneTakeTimecode extractMetadataDirectly(const ISOFile& file) const;
    std::optional<ISOTrack> extractChannelIndicesFromiXML(const ISOFile& file) const;
    std::optional<QString> exportText(const QString& option, const QString& extension, const QString& url) const;

    QString bwfmetaeditPath_;
    std::shared_ptr<SourceAnswers> answers_;
};

// The parsers, over the texts that bwfmetaedit writes.
SceneTakeTimecode sceneTakeFromIxml(const QString& ixml);
SceneTakeTimecode sceneTakeFromCoreCsv(const QString& csv);

// A search for the track that a file name points at, with the lines that tell how it went.
struct TrackSearch {
    std::optional<ISOTrack> track;
    QStringList messages;
};

// The candidate is what follows the last "_" of the file's stem. Compared without case, blanks and punctuation: equal
// first, then one within the other; a document of one track gives that track to any file.
TrackSearch findTrack(const QString& ixml, const QString& fileName);

// Upper case, letters and digits of any script only.
QString normalizedTrackName(const QString& name);

} // namespace ostrel
