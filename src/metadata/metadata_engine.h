// The wrapper around bwfmetaedit for BEXT and INFO fields ("CORE" in that tool's words).
//
// One per job. Owns the session's temporary folder, `{caches}/Ostrel/{sessionID}`. All operations block.
#pragma once

#include "foundation/tools/source_answers.h"

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <stdexcept>

namespace ostrel {

struct MetadataResult {
    bool success = false;
    QString message;
    QStringList refused; // fields that the tool would not take as they stand, and the others were sent without

    bool operator==(const MetadataResult&) const = default;
};

// What the log says of the fields that a tool would not take; empty where it took all.
QString refusedSentence(const MetadataResult& result, const QString& fileName);

// Field name to field text; holds no empty value.
using BWFMetadata = QMap<QString, QString>;

class MetadataError : public std::runtime_error {
public:
    // Nothing throws fileNotFound and coreImportFailed: both are told by a MetadataResult.
    enum class Kind { processLaunchFailure, fileNotFound, coreExportFailed, coreImportFailed };
    explicit MetadataError(Kind errorKind, const QString& payload = QString())
        : std::runtime_error(payload.toStdString()), kind(errorKind), text(payload) {}
    QString errorDescription() const;

    Kind kind;
    QString text;
};

class MetadataEngine {
public:
    // Makes the session folder; that failing is not an error here.
    MetadataEngine(const QString& bwfmetaeditPath, const QString& sessionID,
                   std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>());

    // Copies the CORE document. Counts as good, too, if the target holds metadata already (ffmpeg may have carried it).
    // Throws MetadataError only where bwfmetaedit can't be started.
    MetadataResult copyMetadata(const QString& source, const QString& target) const;

    // Copies a fixed set of fields (all of the table but CodingHistory), one target after the other: one result each.
    QMap<QString, MetadataResult> copyMetadataToMultiple(const QString& source, const QStringList& targets) const;

    // The two halves of that. A target is a file that can be made again: room for the fields is made in place. Fields
    // that could not be read (nothing) can't be written either, which the result then says.
    std::optional<BWFMetadata> readFields(const QString& source) const;
    // One refused field never costs the others: it is left out and named.
    MetadataResult writeFields(const std::optional<BWFMetadata>& fields, const QString& target) const;

    // Removes the session folder. Called by the owner at the end of a job.
    void cleanup() const;

    // Removes what jobs that never ended left in `{caches}/Ostrel` more than a day before `now`. The folders of
    // manifests stay: a manifest there may be the only copy.
    static void cleanupOldSessions(const QDateTime& now = QDateTime::currentDateTime());

    QString bwfmetaeditPath() const { return bwfmetaeditPath_; }
    QString sessionTempFolder() const { return sessionTempFolder_; }

private:
    MetadataResult exportCORE(const QString& from, const QString& to) const;
    MetadataResult importCORE(const QString& from, const QString& to) const;
    MetadataResult applyBWFFields(const BWFMetadata& metadata, const QString& target) const;
    BWFMetadata extractBWFFields(const QString& path) const;
    bool verifyMetadataExists(const QString& path) const;
    MetadataResult preservedOr(const QString& target, const QString& failure) const;
    MetadataResult runTool(const QStringList& arguments, const QString& successMessage,
                           const QString& workingFolder = QString()) const;

    QString bwfmetaeditPath_;
    QString sessionTempFolder_;
    std::shared_ptr<SourceAnswers> answers_;
};

} // namespace ostrel
