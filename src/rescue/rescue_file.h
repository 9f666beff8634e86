// Makes a whole copy of a recording that was never closed. The recording itself is only read.
//
// The copy is written under a private name, read back from the disk and compared with the source byte for byte, and
// only then gets its name; nothing is ever replaced. Blocks; for any thread but the main one of a window.
#pragma once

#include "foundation/run/run_ledger.h"
#include "rescue/diagnosis.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

enum class RescueStatus { healthy, rescued, skipped, refused };
QString rawText(RescueStatus status); // "healthy", "rescued", "skipped", "refused"

struct RescueOptions {
    QString outputFolder;         // empty: beside each recording
    std::optional<LikeFile> like; // a healthy take of the same card
    bool dryRun = false;          // "rescued" then means that it can be
};

struct RescueItem {
    QString source;
    QString output; // where the copy stands, or would
    RescueStatus status = RescueStatus::refused;
    QString reason;           // why skipped or refused
    QString badge;            // "Unclosed: ..."; empty for a healthy one
    QStringList findings;     // what was wrong
    QStringList remarks;      // what was cleared away in the folder of the copy, whole sentences
    Diagnosis diagnosis;      // frames, format
    std::vector<float> peaks; // of the copy, 0 to 1, over all channels; empty without one
};

// Asked between blocks with the bytes done and those to do; false stops the job, which leaves no file.
using RescueProgress = std::function<bool(quint64 done, quint64 total)>;

constexpr int kRescuePeaks = 60;

// "{stem}_rescued.{extension}", beside the recording or in the folder.
QString rescuedPath(const QString& source, const QString& outputFolder);

// `ledger` knows all recordings of the run.
RescueItem rescueFile(const QString& source, const RescueOptions& options, RunLedger& ledger,
                      const RescueProgress& progress = {});

// What is shown of an item: one sentence, then what was found. `isDryRun`: nothing was written.
QStringList linesOf(const RescueItem& item, bool isDryRun);

} // namespace ostrel
