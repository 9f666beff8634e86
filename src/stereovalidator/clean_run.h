// One Clean & Export: which results it takes, what it makes of each, and what it would refuse.
//
// Blocks as it converts.
#pragma once

#include "platform/desktop_services.h"
#include "stereovalidator/clean_and_export.h"
#include "stereovalidator/stereo_processing_engine.h"
#include "stereovalidator/stereo_validator_result.h"

#include <QHash>
#include <QSet>
#include <QUuid>
#include <vector>

namespace ostrel {

// What was chosen, taken when the run starts.
struct CleanOptions {
    ConversionToggles toggles;
    DualMonoSideSelection side = DualMonoSideSelection::automatic;
    QString outputFolder; // empty: next to each source
    bool allowOverwrite = false;
    bool addSuffix = true;
    EngineChoice engine = EngineChoice::ffmpeg;
    bool proves = false; // every result is read back and compared
    // What is not sure stays as it is. Without it only copies are made of such files: a source gives way to what was
    // made of it only where the verdict is sure.
    bool sureOnly = false;
};

std::vector<StereoValidatorResult> convertible(const std::vector<StereoValidatorResult>& results,
                                               const ConversionToggles& toggles);

// Why a run leaves a file that it could convert as it is; empty: it doesn't.
QString leftOutReason(const StereoValidatorResult& result, const CleanOptions& options);

// How many of them a run leaves out for that.
int countLeftOut(const std::vector<StereoValidatorResult>& results, const CleanOptions& options);

// As things stand: a sentence by the id of each result that a run would refuse. Changes nothing.
QHash<QUuid, QString> foreseenRefusals(const std::vector<StereoValidatorResult>& results, const CleanOptions& options);

class CleanRun {
public:
    // `bystanders`: what else the analysis looked at, and nothing of it is written over but by what was made of it.
    CleanRun(const std::vector<StereoValidatorResult>& results, const QStringList& bystanders, CleanOptions options,
             const QString& ffmpegPath);

    ItemOutcome convert(const StereoValidatorResult& result);

private:
    const CleanOptions options_;
    const StereoProcessingEngine engine_;
    RunLedger ledger_;
    Journal journal_{QStringLiteral("clean")};
};

// What came of a run.
struct CleanCounts {
    int successes = 0;
    int errors = 0;
    int leftOut = 0; // because their verdicts are not sure
    QSet<QUuid> converted;
    bool stopped = false; // ahead of some of them

    QString sentence(std::size_t total) const;
    // What tells a person; with an output folder its first button opens that.
    AlertRequest alert(const QString& outputFolder, const QString& report) const;
};

} // namespace ostrel
