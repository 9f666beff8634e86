// Turns one source WAV file into a MetadataManifest: bwfmetaedit exports the CORE fields as CSV and the iXML as XML,
// both are parsed, and the JSON goes into the manifest cache. Also loads manifests.
//
// No mutable state; every call blocks and belongs off the main thread.
#pragma once

#include "foundation/tools/source_answers.h"
#include "metadata/metadata_manifest.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace ostrel {

class ManifestError : public std::runtime_error {
public:
    // Code -1 stands for failures that have no exit code.
    ManifestError(int exitCode, const QString& text);
    QString errorDescription() const { return QString::fromStdString(what()); }

    int code;
    QString standardError;
};

class MetadataManifestExtractor {
public:
    // Gets every line of the extraction's log, on the calling thread.
    using Logger = std::function<void(const QString& message)>;

    explicit MetadataManifestExtractor(const QString& bwfmetaeditPath, Logger logger = {},
                                       std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>());

    // Throws ManifestError for the tool's failures (a source without an iXML chunk is one: the tool then writes no
    // document), FileError for a source that can't be read or a manifest that can't be written.
    MetadataManifest extractAndSaveManifest(const QString& url) const;

    // From the cache, else from the sidecar beside the source, which then moves into the cache. Both go by the file's
    // name alone: of two sources of one name the later extraction wins.
    static std::optional<MetadataManifest> loadManifest(const QString& url);

    // Into the cache, atomically. Throws FileError.
    static void writeManifest(const MetadataManifest& manifest, const QString& url);

    QString bwfmetaeditPath() const { return bwfmetaeditPath_; }

private:
    QString exportText(const QString& option, const QString& document, const QString& url, const QString& subject,
                       const QString& fileSubject) const;
    std::optional<QByteArray> exported(const QString& option, const QString& document, const QString& url) const;
    MetadataManifest buildManifest(const QString& url, const QString& coreText, const QString& ixmlText) const;
    void log(const QString& message) const;

    QString bwfmetaeditPath_;
    Logger logger_;
    std::shared_ptr<SourceAnswers> answers_;
};

} // namespace ostrel
