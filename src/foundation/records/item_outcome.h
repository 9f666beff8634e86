// What became of one item of a job: written by whoever did the work, from what happened on disk, and read by tables,
// reports, documents, summaries and exit statuses. None of those looks at options or sentences to tell what happened.
#pragma once

#include "foundation/records/metadata_record.h"
#include "foundation/records/processing_status.h"
#include "foundation/records/proof_record.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

struct SourceFate {
    enum class Kind { kept, moved, deleted, replaced };

    QString source;
    Kind kind = Kind::kept;
    QString movedTo; // of a source that was moved

    bool operator==(const SourceFate&) const = default;
};

QString caseName(SourceFate::Kind kind);   // "kept", for documents
QString reportName(SourceFate::Kind kind); // "Kept", for reports

struct ItemOutcome {
    ProcessingStatus status;
    QStringList outputs;  // files that this run wrote for the item and that stand under these names
    QStringList warnings; // what the person should know although outputs stand
    QString message;      // one sentence about the whole
    std::vector<SourceFate> sources;
    MetadataRecord metadata; // of `outputs`, compared; empty where there are none, or nothing was to be carried
    bool wasThere = false;   // the outputs were: counts as a skip, whatever word its status has
    std::optional<ProofRecord> proof; // of what was made, where one was asked for; also where it made the item fail

    bool operator==(const ItemOutcome&) const = default;

    bool succeeded() const { return status.stands(); }
    bool failed() const { return status.kind == ProcessingStatus::Kind::failed && !wasThere; }
    bool skipped() const { return status.kind == ProcessingStatus::Kind::skipped || wasThere; }

    // "Kept", "Moved", "Deleted", "Replaced"; each kind with its count where they differ: "Moved 2, Kept 1".
    QString sourcesText() const;

    // "Identical", "Unproven", "Differs"; empty without a proof.
    QString proofText() const { return proof ? reportName(proof->audio()) : QString(); }

    // All of these sources are where they were.
    static std::vector<SourceFate> allKept(const QStringList& sources);
    static ItemOutcome failure(const QString& reason, const QStringList& sources);
};

} // namespace ostrel
