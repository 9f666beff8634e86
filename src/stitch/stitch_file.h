// Makes one file of the parts of a recording. The parts are only read.
//
// The file is written under a private name, read back from the disk and compared with the parts byte for byte, and only
// then gets its name; nothing is ever replaced. Blocks; for any thread but the main one of a window.
#pragma once

#include "foundation/records/proof_record.h"
#include "foundation/run/run_ledger.h"
#include "stitch/series.h"
#include "stitch/stitched_head.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

// `single`: a recording that has no other part.
enum class StitchStatus { single, stitched, skipped, refused };
QString rawText(StitchStatus status); // "single", "stitched", "skipped", "refused"

struct StitchOptions {
    QString outputFolder;       // empty: beside the first part
    bool fillsGaps = false;     // with silence; otherwise they are refused
    bool trimsOverlaps = false; // where both sides are the same; otherwise they are refused
    bool dryRun = false;        // "stitched" then means that it can be
    bool proves = false;        // the XXH128 of each channel is told
};

struct StitchItem {
    QStringList sources; // in order
    QString output;      // where the file stands, or would
    StitchStatus status = StitchStatus::refused;
    QString reason;       // why skipped or refused; of a single one, why it can be no part
    QStringList findings; // of each seam that is not exact: "gap of 1,234 samples ahead of B.WAV"
    QStringList warnings; // whole sentences: what was not carried, and what was cleared away
    bool isExact = false;
    quint64 frames = 0; // of the new file
    WaveFormat format;
    std::optional<ProofRecord> proof;
};

// Asked between blocks with the bytes done and those to do; false stops the job, which leaves no file.
using StitchProgress = std::function<bool(quint64 done, quint64 total)>;

// "{stem of the first part}_stitched.{extension}", beside it or in the folder.
QString stitchedPath(const QString& firstPart, const QString& outputFolder);

// `ledger` knows all recordings of the run.
StitchItem stitchSeries(const Series& series, const StitchedPlace& place, const StitchOptions& options,
                        RunLedger& ledger, const StitchProgress& progress = {});

// Into a file that is nobody's yet, for a job that goes on with it; an exact series alone. Throws CopyError,
// StitchStopped, FileError, and FileError where what was read back is not what was written.
QStringList writeExactSeries(const Series& series, const QString& to, const QString& fileName,
                             const StitchProgress& progress = {});

// What is shown of an item: one sentence, then what was found. `isDryRun`: nothing was written.
QStringList linesOf(const StitchItem& item, bool isDryRun);

// "gap of 1,234 samples", "overlap of 480"
QString seamText(Seam seam);

// "2 tracks, 2 parts each"
QString partsText(std::size_t tracks, std::size_t parts);

} // namespace ostrel
