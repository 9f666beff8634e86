// Turns a stereo file into a mono file by copying one of its channels, sample for sample: no mixing, no gain, no
// resampling.
//
// An engine: it blocks (for bwfmetaedit too), holds no state between calls and uses the same memory for any length.
#pragma once

#include "foundation/records/engine_choice.h"
#include "foundation/records/item_outcome.h"
#include "foundation/run/journal.h"
#include "foundation/run/run_ledger.h"
#include "stereovalidator/mono_target.h"

#include <QString>
#include <QStringList>

namespace ostrel {

class StereoProcessingEngine {
public:
    // ffmpeg decodes what libsndfile can't. The tools that may carry BWF metadata over are tried in order.
    explicit StereoProcessingEngine(const QString& ffmpegPath = QString(),
                                    const QStringList& bwfmetaeditPaths = defaultBwfmetaeditPaths(),
                                    EngineChoice engine = EngineChoice::ffmpeg);

    // The usual places, and the tool delivered with the application last.
    static QStringList defaultBwfmetaeditPaths();

    // 32-bit float samples at the source's rate, by the direct engine the source's own samples, under the final name
    // only when they are complete, carry the metadata (best effort) and were compared with the source: some blocks of
    // them, or, where the result takes the source's place, all. Every failure is in the outcome, and leaves neither a
    // new file nor another source; nothing is thrown but by memory.
    ItemOutcome convertToMono(const MonoRequest& request, RunLedger& ledger, Journal& journal) const;

private:
    QString ffmpegPath_;
    QStringList bwfmetaeditPaths_;
    EngineChoice engine_;
};

} // namespace ostrel
