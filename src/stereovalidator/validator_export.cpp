// Clean & Export of the Stereo Validator's controller: one loop on the main thread, file by file.
#include "platform/files/files.h"
#include "platform/paths.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_report.h"
#include "stereovalidator/validator_words.h"

#include <QTimer>
#include <chrono>
#include <new>

namespace ostrel {
namespace {

QStringList filesOf(const std::vector<StereoValidatorResult>& results) {
    QStringList files;
    for (const StereoValidatorResult& result : results) files << result.filepath;
    return files;
}

} // namespace

void StereoValidatorViewModel::cleanAndExport(const std::vector<StereoValidatorResult>& selectedResults,
                                              const std::vector<StereoValidatorResult>&) {
    writeValidatorDebugLine(QStringLiteral("🧹 Clean & Export initiated"));
    exportTask_ = TaskHandle();
    const auto scope = resultsInScope(selectedResults);
    if (!scope) return;
    const std::vector<StereoValidatorResult> kept = convertible(*scope);
    if (kept.empty()) {
        writeValidatorDebugLine(QStringLiteral("⚠️ No files match processing criteria"));
        log(LogLevel::warning, LogCategory::process,
            QStringLiteral("No files match criteria. Enable conversion toggles."));
        return;
    }
    writeValidatorDebugLine(QStringLiteral("  Processing: %1 files").arg(kept.size()));
    log(LogLevel::info, LogCategory::process, QStringLiteral("Converting %1 file(s)").arg(kept.size()));

    tellUnfinishedSteps();
    playbackManager_->stopAndClear(); // it may hold a file that is about to be replaced
    const ExportCounts counts = convertAll(kept);
    const QString outcome = outcomeOf(counts, kept.size());
    writeValidatorDebugLine((counts.stopped ? QStringLiteral("⚠️ ") : QStringLiteral("✅ ")) + outcome);
    log(counts.stopped ? LogLevel::warning : LogLevel::success, LogCategory::process, outcome);
    reportPath_.clear();
    reportFailed_ = false;
    if (generateCSV.value()) autoGenerateCSVReport(counts);
    showCleanExportDialog = false;
    QTimer::singleShot(std::chrono::milliseconds(500), this,
                       [this, counts, report = reportPath_] { showCompletion(counts, report); });
}

std::optional<std::vector<StereoValidatorResult>>
StereoValidatorViewModel::resultsInScope(const std::vector<StereoValidatorResult>& selectedResults) {
    const bool selected = exportScope.value() == ExportScope::selected;
    if (selected && selectedResults.empty()) {
        writeValidatorDebugLine(QStringLiteral("⚠️ No files selected"));
        log(LogLevel::warning, LogCategory::process, QStringLiteral("No files selected"));
        return std::nullopt;
    }
    std::vector<StereoValidatorResult> results = selected ? selectedResults : analysisResults.rows();
    writeValidatorDebugLine(QStringLiteral("  Scope: %1 (%2 files)")
                                .arg(selected ? QStringLiteral("Selected") : QStringLiteral("All Results"))
                                .arg(results.size()));
    if (results.empty()) {
        log(LogLevel::warning, LogCategory::process, QStringLiteral("No files match selected scope"));
        return std::nullopt;
    }
    return results;
}

std::vector<StereoValidatorResult>
StereoValidatorViewModel::convertible(const std::vector<StereoValidatorResult>& results) const {
    const ConversionToggles toggles{processDualMono.value(), processOneSided.value(), processBroken.value()};
    std::vector<StereoValidatorResult> kept;
    std::copy_if(results.begin(), results.end(), std::back_inserter(kept),
                 [&](const StereoValidatorResult& result) { return isConverted(result.classification, toggles); });
    return kept;
}

// What the analysis took its files from, as it is now: none of that is written over but by what was made of it.
QStringList StereoValidatorViewModel::selectedRecordings() const {
    QStringList recordings;
    for (const QString& selected : analyzed_.files.value_or(QStringList{analyzed_.folder})) {
        if (!paths::isFolder(selected)) {
            recordings << selected;
        } else if (const auto listing = files::list(selected, analyzed_.recursive, validatorExtensions(),
                                                    files::HiddenEntries::included)) {
            recordings << listing->files;
        }
    }
    return recordings;
}

void StereoValidatorViewModel::tellUnfinishedSteps() {
    for (const QString& sentence : Journal::tellUnfinished()) log(LogLevel::warning, LogCategory::system, sentence);
}

QHash<QUuid, QString>
StereoValidatorViewModel::foreseenRefusals(const std::vector<StereoValidatorResult>& selectedResults) const {
    const bool selected = exportScope.value() == ExportScope::selected;
    const auto results = convertible(selected ? selectedResults : analysisResults.rows());
    std::vector<QStringList> outputs;
    for (const StereoValidatorResult& result : results) {
        const MonoTarget target = monoTargetOf(requestFor(result));
        outputs.push_back(target.kind == MonoTarget::Kind::file ? QStringList(target.path) : QStringList());
    }
    const std::vector<QString> reasons = RunLedger(filesOf(results)).foresee(outputs);
    QHash<QUuid, QString> refusals;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const QString output = outputs[i].value(0);
        if (!reasons[i].isEmpty()) {
            refusals.insert(results[i].id, reasons[i]);
        } else if (!allowOverwrite.value() && !output.isEmpty() && paths::exists(output)) {
            refusals.insert(results[i].id, fileExistsSentence(output));
        }
    }
    return refusals;
}

StereoValidatorViewModel::ExportCounts
StereoValidatorViewModel::convertAll(const std::vector<StereoValidatorResult>& results) {
    ExportRun run{StereoProcessingEngine(toolDetector_->ffmpegPath.value()),
                  RunLedger(filesOf(results), filesOf(analysisResults.rows()) + selectedRecordings())};
    for (std::size_t row = 0; row < analysisResults.size(); ++row) run.rows.insert(analysisResults[row].id, row);
    ExportCounts counts;
    for (const StereoValidatorResult& result : results) {
        if (exportTask_.isCancelled()) {
            counts.stopped = true;
            break;
        }
        convert(run, result, counts);
    }
    return counts;
}

QString StereoValidatorViewModel::outcomeOf(const ExportCounts& counts, std::size_t total) const {
    const QString end = counts.stopped ? QStringLiteral("Clean & Export stopped after %1 of %2 files")
                                             .arg(counts.successes + counts.errors)
                                             .arg(total)
                                       : QStringLiteral("Clean & Export complete");
    return QStringLiteral("%1: %2 successful, %3 errors").arg(end).arg(counts.successes).arg(counts.errors);
}

void StereoValidatorViewModel::convert(ExportRun& run, StereoValidatorResult result, ExportCounts& counts) {
    const QString name = paths::lastComponent(result.filepath);
    ItemOutcome outcome;
    try {
        outcome = run.engine.convertToMono(requestFor(result), run.ledger, run.journal);
    } catch (const std::bad_alloc&) {
        outcome = ItemOutcome::failure(QStringLiteral("Not enough memory"), {result.filepath});
    }
    for (const QString& warning : outcome.warnings) log(LogLevel::warning, LogCategory::process, warning);
    if (outcome.succeeded()) {
        writeValidatorDebugLine(QStringLiteral("  ✅ Processed: ") + name);
        log(LogLevel::success, LogCategory::process, outcome.message);
        ++counts.successes;
        counts.converted << result.id;
    } else {
        writeValidatorDebugLine(QStringLiteral("  ❌ Failed to process %1: %2").arg(name, outcome.message));
        log(LogLevel::error, LogCategory::process,
            QStringLiteral("Failed to convert %1: %2").arg(name, outcome.message));
        ++counts.errors;
    }
    result.outcome = std::move(outcome);
    const std::size_t row = run.rows.value(result.id);
    if (row < analysisResults.size() && analysisResults[row].id == result.id) {
        analysisResults.update(row, [&](StereoValidatorResult& record) { record.outcome = result.outcome; });
    }
    Q_EMIT fileConverted(result);
}

MonoRequest StereoValidatorViewModel::requestFor(const StereoValidatorResult& result) const {
    const QString folder = outputFolder.value();
    return {
        .file = result.filepath,
        .outputFolder = folder.isEmpty() ? paths::parent(result.filepath) : folder,
        .useLeftChannel = keepsLeftChannel(result.classification, dualMonoSideSelection.value()),
        .allowOverwrite = allowOverwrite.value(),
        .addSuffix = addMonoSuffix.value(),
        .analyzed = result.stamp,
    };
}

void StereoValidatorViewModel::autoGenerateCSVReport(const ExportCounts& counts) {
    QString folder = outputFolder.value();
    if (folder.isEmpty() && !analysisResults.empty()) folder = paths::parent(analysisResults[0].filepath);
    if (folder.isEmpty()) {
        writeValidatorDebugLine(QStringLiteral("⚠️ No output folder for CSV — skipping"));
        return;
    }
    const std::optional<QStringList> files = selectedFiles.value();
    QString source = sourceFolder.value();
    if (source.isEmpty() && files && !files->isEmpty()) {
        source = paths::isFolder(files->first()) ? files->first() : paths::parent(files->first());
    }
    const ValidatorReport report{
        .results = analysisResults.rows(),
        .converted = counts.converted,
        .successCount = counts.successes,
        .errorCount = counts.errors,
        .totalFiles = wasStopped_ ? totalFiles_ : static_cast<int>(analysisResults.size()),
        .source = source.isEmpty() ? QStringLiteral("Multiple files") : source,
        .output = outputFolder.value().isEmpty() ? QStringLiteral("Same as source") : outputFolder.value(),
    };
    reportPath_ = writeValidatorReport(report, folder);
    reportFailed_ = reportPath_.isEmpty();
    if (reportFailed_) {
        writeValidatorDebugLine(QStringLiteral("❌ Failed to save CSV report"));
        log(LogLevel::error, LogCategory::process, QStringLiteral("Failed to save CSV report"));
    } else {
        writeValidatorDebugLine(QStringLiteral("✅ CSV report saved: ") + reportPath_);
        log(LogLevel::success, LogCategory::process,
            QStringLiteral("CSV report saved: ") + paths::lastComponent(reportPath_));
    }
}

void StereoValidatorViewModel::showCompletion(const ExportCounts& counts, const QString& report) {
    const QString folder = outputFolder.value();
    AlertRequest alert;
    alert.style = counts.errors == 0 ? AlertRequest::Style::informational : AlertRequest::Style::warning;
    alert.title = counts.stopped ? QStringLiteral("Clean & Export Stopped") : QStringLiteral("Clean & Export Complete");
    alert.text = QStringLiteral("%1 file(s) converted successfully").arg(counts.successes);
    if (counts.errors > 0) alert.text += QStringLiteral("\n%1 error(s) occurred").arg(counts.errors);
    if (!report.isEmpty()) alert.text += QStringLiteral("\n\nCSV report saved: ") + paths::lastComponent(report);
    alert.text += folder.isEmpty() ? QStringLiteral("\n\nFiles saved next to source files")
                                   : QStringLiteral("\n\nSaved to:\n") + folder;
    if (!folder.isEmpty()) alert.buttons << QStringLiteral("Open Folder");
    alert.buttons << QStringLiteral("OK");
    if (desktop_.showAlert(alert) == 0 && !folder.isEmpty()) desktop_.openFolder(folder);
}

} // namespace ostrel
