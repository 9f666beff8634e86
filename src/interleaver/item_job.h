// What one run of the Interleaver gives each of its items to work with, and what an item gives back.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/item_outcome.h"
#include "foundation/records/multi_channel_source.h"
#include "foundation/run/journal.h"
#include "foundation/run/run_ledger.h"
#include "metadata/metadata_engine.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

class AudioProof;

// Taken when the run starts; its ledger and its journal live as long as the run.
struct RunContext {
    QString ffmpegPath;
    QString ffprobePath;
    QString bwfmetaeditPath;
    std::optional<MetadataEngine> metadataEngine;
    ChannelLayout layout;
    ProcessingOptions options;
    QString outputFolder;  // empty: beside the sources
    QStringList selection; // the files and folders that the run began with
    std::unique_ptr<RunLedger> ledger = std::make_unique<RunLedger>();
    mutable Journal journal;

    explicit RunContext(const QString& job) : journal(job) {}
};

// What became of the item, and what to say of it, in order.
struct ItemReport {
    ItemOutcome outcome;
    std::vector<ProcessingLogEntry> log;

    void say(LogLevel level, LogCategory category, const QString& message, const QString& item);
    // Into the outcome, too.
    void warn(const QStringList& sentences, LogCategory category, const QString& item);
    // Names in the log what the new files have not got of their source's metadata, if there is anything.
    void tellPreservation(const QString& item);
    // What was proved of the item, where that was asked for.
    void tellProof(const QString& item);
};

// How the totals count a row: one whose outputs were there already is left out and no error, whatever word its status
// has.
template <class Record>
bool isLeftOut(const Record& record) {
    return !record.include || (record.outcome && record.outcome->skipped());
}
template <class Record>
bool hasFailed(const Record& record) {
    return record.status.isError() && !(record.outcome && record.outcome->wasThere);
}

// Whether the options ask for sources to go after a success.
enum class Originals { keep, move, remove };

// "Originals" beside the first source, or away. Writes fates, log and (where they stay although that was asked for) the
// status into the report; `proof` says whether they may go.
void settleOriginals(Originals originals, const QStringList& sources, const AudioProof& proof, const RunContext& run,
                     const QString& item, ItemReport& report);

} // namespace ostrel
