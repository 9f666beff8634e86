// Clean & Export of the Stereo Validator's controller: one loop on the main thread, file by file.
#include "platform/audio_file.h"
#include "platform/paths.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_report.h"
#include "stereovalidator/validator_words.h"

#include <QFileInfo>
#include <QTimer>
#include <chrono>

namespace ostrel {
namespace {

QString canonical(const QString& path) { return QFileInfo(path).canonicalFilePath(); }

QSet<QString> canonicalSources(const RecordList<StereoValidatorResult>& results) {
    QSet<QString> sources;
    for (const StereoValidatorResult& result : results) sources << canonical(result.filepath);
    return sources;
}

} // namespace

void StereoValidatorViewModel::cleanAndExport(const std::vector<StereoValidatorResult>& selectedResults,
                                              const std::vector<StereoValidatorResult>&) {
    writeValidatorDebugLine(QStringLiteral("🧹 Clean & Export initiated"));
    exportTask_ = TaskHandle();
    const auto scope = resultsInScope(selectedResults);
    if (!scope) return;
    const ConversionToggles toggles{processDualMono.value(), processOneSided.value(), processBroken.value()};
    std::vector<StereoValidatorResult> kept;
    std::copy_if(scope->begin(), scope->end(), std::back_inserter(kept),
                 [&](const StereoValidatorResult& result) { return isConverted(result.classification, toggles); });
    if (kept.empty()) {
        writeValidatorDebugLine(QStringLiteral("⚠️ No files match processing criteria"));
        log(LogLevel::warning, LogCategory::process,
            QStringLiteral("No files match criteria. Enable conversion toggles."));
        return;
    }
    writeValidatorDebugLine(QStringLiteral("  Processing: %1 files").arg(kept.size()));
    log(LogLevel::info, LogCategory::process, QStringLiteral("Converting %1 file(s)").arg(kept.size()));

    playbackManager_->stopAndClear(); // it may hold a file that is about to be replaced
    const ExportCounts counts = convertAll(kept);
    const QString outcome = outcomeOf(counts, kept.size());
    writeValidatorDebugLine((counts.stopped ? QStringLiteral("⚠️ ") : QStringLiteral("✅ ")) + outcome);
    log(counts.stopped ? LogLevel::warning : LogLevel::success, LogCategory::process, outcome);
    reportPath_ = generateCSV.value() ? autoGenerateCSVReport(counts) : QString();
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

StereoValidatorViewModel::ExportCounts
StereoValidatorViewModel::convertAll(const std::vector<StereoValidatorResult>& results) {
    const StereoProcessingEngine engine(toolDetector_->ffmpegPath.value());
    protectedFiles_ = allowOverwrite.value() ? canonicalSources(analysisResults) : QSet<QString>();
    ExportCounts counts;
    for (const StereoValidatorResult& result : results) {
        if (exportTask_.isCancelled()) {
            counts.stopped = true;
            break;
        }
        convert(engine, result, counts);
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

void StereoValidatorViewModel::convert(const StereoProcessingEngine& engine, const StereoValidatorResult& result,
                                       ExportCounts& counts) {
    const QString name = paths::lastComponent(result.filepath);
    QString failure;
    try {
        const MonoRequest request = requestFor(result);
        protectOtherRecordings(request);
        const MonoConversion conversion = engine.convertToMono(request);
        writeValidatorDebugLine(QStringLiteral("  ✅ Processed: ") + name);
        log(LogLevel::success, LogCategory::process, QStringLiteral("Converted: ") + name);
        if (!conversion.remainingBackup.isEmpty()) {
            log(LogLevel::warning, LogCategory::cleanup,
                QStringLiteral("The backup of %1 could not be removed: %2").arg(name, conversion.remainingBackup));
        }
        ++counts.successes;
        counts.converted << result.id;
        protectedFiles_ << canonical(conversion.url);
        Q_EMIT fileConverted(result, conversion.url, QString());
        return;
    } catch (const AudioFileError& error) {
        failure = error.errorDescription();
    } catch (const ProcessingError& error) {
        failure = error.errorDescription();
    } catch (const FileError& error) {
        failure = error.description;
    } catch (const std::bad_alloc&) {
        failure = QStringLiteral("Not enough memory");
    }
    writeValidatorDebugLine(QStringLiteral("  ❌ Failed to process %1: %2").arg(name, failure));
    log(LogLevel::error, LogCategory::process, QStringLiteral("Failed to convert %1: %2").arg(name, failure));
    ++counts.errors;
    Q_EMIT fileConverted(result, QString(), failure);
}

MonoRequest StereoValidatorViewModel::requestFor(const StereoValidatorResult& result) const {
    const QString folder = outputFolder.value();
    return {
        .file = result.filepath,
        .outputFolder = folder.isEmpty() ? paths::parent(result.filepath) : folder,
        .useLeftChannel = keepsLeftChannel(result.classification, dualMonoSideSelection.value()),
        .allowOverwrite = allowOverwrite.value(),
        .addSuffix = addMonoSuffix.value(),
    };
}

// "Allow Overwrite" is meant for old results and for the source itself: never for another recording of this analysis,
// nor for what this run has just written from a namesake in another folder.
void StereoValidatorViewModel::protectOtherRecordings(const MonoRequest& request) const {
    const QString target = canonical(StereoProcessingEngine::targetOf(request)); // empty where there is none
    if (!request.allowOverwrite || target.isEmpty() || target == canonical(request.file)) return;
    if (protectedFiles_.contains(target)) {
        throw ProcessingError::processingFailed(
            QStringLiteral("%1 is another recording of this run and is not overwritten").arg(target));
    }
}

QString StereoValidatorViewModel::autoGenerateCSVReport(const ExportCounts& counts) {
    QString folder = outputFolder.value();
    if (folder.isEmpty() && !analysisResults.empty()) folder = paths::parent(analysisResults[0].filepath);
    if (folder.isEmpty()) {
        writeValidatorDebugLine(QStringLiteral("⚠️ No output folder for CSV — skipping"));
        return QString();
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
    const QString path = writeValidatorReport(report, folder);
    if (path.isEmpty()) {
        writeValidatorDebugLine(QStringLiteral("❌ Failed to save CSV report"));
        log(LogLevel::error, LogCategory::process, QStringLiteral("Failed to save CSV report"));
    } else {
        writeValidatorDebugLine(QStringLiteral("✅ CSV report saved: ") + path);
        log(LogLevel::success, LogCategory::process, QStringLiteral("CSV report saved: ") + paths::lastComponent(path));
    }
    return path;
}

void StereoValidatorViewModel::showCompletion(const ExportCounts& counts, const QString& report) {
    const QString folder = outputFolder.value();
    AlertRequest alert;
    alert.style = counts.errors == 0 ? AlertRequest::Style::informational : AlertRequest::Style::warning;
    alert.title =
        counts.stopped ? QStringLiteral("Clean & Export Stopped") : QStringLiteral("Clean & Export Complete");
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
