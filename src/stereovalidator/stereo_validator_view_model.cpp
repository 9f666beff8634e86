#include "stereovalidator/stereo_validator_view_model.h"

#include "platform/paths.h"
#include "platform/text/text.h"
#include "stereovalidator/measure_cache.h"
#include "stereovalidator/stereo_validator_engine.h"
#include "stereovalidator/validator_report.h"
#include "stereovalidator/validator_words.h"

#include <QDateTime>
#include <QEventLoop>
#include <QScopeGuard>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <future>

namespace ostrel {
namespace {

QString trueOrFalse(double value) { return QString::number(value); }
QString trueOrFalse(const QString& value) { return value.isEmpty() ? QStringLiteral("none") : value; }
QString trueOrFalse(ExportScope value) { return rawText(value); }
QString trueOrFalse(DualMonoSideSelection value) { return rawText(value); }

QString trueOrFalse(const std::optional<QStringList>& files) {
    if (!files) return QStringLiteral("none");
    QStringList names;
    for (const QString& file : files->first(std::min<qsizetype>(files->size(), 3))) names << paths::lastComponent(file);
    return QStringLiteral("%1 files %2").arg(files->size()).arg(names.join(QStringLiteral(", ")));
}

} // namespace

StereoValidatorViewModel::StereoValidatorViewModel(DesktopServices& desktop, AudioOutput& audio,
                                                   std::shared_ptr<ExternalToolDetector> detector)
    : desktop_(desktop), toolDetector_(detector ? std::move(detector) : std::make_shared<ExternalToolDetector>()),
      playbackManager_(std::make_unique<PlaybackManager>(audio)) {
    connect(playbackManager_.get(), &PlaybackManager::engineChanged, this,
            [this] { isAuditioning = playbackManager_->engine().isPlaying.value(); });
    watchOptions();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Using native in-process analyzer - no external dependencies required"));
}

StereoValidatorViewModel::~StereoValidatorViewModel() {
    analysisTask_.cancel();
    exportTask_.cancel();
}

void StereoValidatorViewModel::watchOptions() {
    const auto watch = [this](auto& property, const char* name) {
        notifiers_.push_back(property.addNotifier([&property, name] {
            writeValidatorDebugLine(
                QStringLiteral("🔄 %1 changed: %2").arg(QLatin1String(name), trueOrFalse(property.value())));
        }));
    };
    watch(sourceFolder, "sourceFolder");
    watch(selectedFiles, "selectedFiles");
    watch(recursiveScan, "recursiveScan");
    watch(skipMonoFiles, "skipMonoFiles");
    watch(outputFolder, "outputFolder");
    watch(dualMonoThreshold, "dualMonoThreshold");
    watch(nearMonoThreshold, "nearMonoThreshold");
    watch(smallLagMs, "smallLagMs");
    watch(bigLagMs, "bigLagMs");
    watch(oneSidedDb, "oneSidedDb");
    watch(includeMidSide, "includeMidSide");
    watch(exportScope, "exportScope");
    watch(processDualMono, "processDualMono");
    watch(processOneSided, "processOneSided");
    watch(processBroken, "processBroken");
    watch(dualMonoSideSelection, "dualMonoSideSelection");
    watch(addMonoSuffix, "addMonoSuffix");
    watch(allowOverwrite, "allowOverwrite");
    watch(generateCSV, "generateCSV");
}

bool StereoValidatorViewModel::canAnalyze() const {
    return (!sourceFolder.value().isEmpty() || selectedFiles.value()) && !isAnalyzing.value() && !isExporting.value();
}

StereoValidatorOptions StereoValidatorViewModel::options() const {
    return {
        .dualMonoThreshold = dualMonoThreshold.value(),
        .nearMonoThreshold = nearMonoThreshold.value(),
        .smallLagMs = smallLagMs.value(),
        .bigLagMs = bigLagMs.value(),
        .oneSidedDb = oneSidedDb.value(),
        .includeMidSide = includeMidSide.value(),
        .generateCSV = generateCSV.value(),
        .gathersEvidence = gathersEvidence.value(),
    };
}

void StereoValidatorViewModel::applyPreset(AnalysisPreset preset) {
    const StereoValidatorOptions values = optionsOf(preset);
    dualMonoThreshold = values.dualMonoThreshold;
    nearMonoThreshold = values.nearMonoThreshold;
    smallLagMs = values.smallLagMs;
    bigLagMs = values.bigLagMs;
    oneSidedDb = values.oneSidedDb;
}

void StereoValidatorViewModel::detectTools() {
    toolDetector_->detectTools();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Using native in-process analyzer - no external dependencies required"));
}

void StereoValidatorViewModel::selectSource() {
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.allowsMultipleSelection = true;
    request.message = QStringLiteral("Select stereo audio files or folder");
    request.allowedExtensions = validatorExtensions();
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (!chosen.isEmpty()) select(chosen);
}

void StereoValidatorViewModel::select(const QStringList& urls) {
    if (urls.isEmpty()) return;
    if (paths::isFolder(urls.first())) {
        sourceFolder = urls.first();
        selectedFiles = std::nullopt;
        log(LogLevel::info, LogCategory::scan,
            QStringLiteral("Source folder selected: ") + paths::lastComponent(urls.first()));
    } else {
        sourceFolder = QString();
        selectedFiles = urls;
        log(LogLevel::info, LogCategory::scan, QStringLiteral("Selected %1 file(s)").arg(urls.size()));
    }
}

void StereoValidatorViewModel::selectOutputFolder() {
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    request.message = QStringLiteral("Choose where to save analysis results and processed files");
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (chosen.isEmpty()) return;
    outputFolder = chosen.first();
    log(LogLevel::info, LogCategory::scan,
        QStringLiteral("Output folder selected: ") + paths::lastComponent(chosen.first()));
}

void StereoValidatorViewModel::startAnalysis() {
    if (isAnalyzing.value()) return; // two runs would mix their results
    if (sourceFolder.value().isEmpty() && !selectedFiles.value()) {
        log(LogLevel::error, LogCategory::process, QStringLiteral("Select files or folder to analyze"));
        return;
    }
    playbackManager_->stopAndClear(); // what it holds is about to leave the list
    tellUnfinishedSteps();            // the scan may clear away what they left
    isAnalyzing = true;
    analysisProgress = 0;
    analysisResults.clear();
    currentAnalysisFile = QString();
    summary_.clear();
    totalFiles_ = 0;
    wasStopped_ = false;
    analysisTask_ = TaskHandle();
    runAnalysis(analysisTask_);
}

void StereoValidatorViewModel::stopAnalysis() {
    analysisTask_.cancel();
    if (isAnalyzing.value())
        log(LogLevel::warning, LogCategory::process, QStringLiteral("Operation cancelled by user"));
}

QCoro::Task<> StereoValidatorViewModel::runAnalysis(TaskHandle handle) {
    const StereoValidatorOptions thresholds = options();
    const QString ffmpegPath = toolDetector_->ffmpegPath.value();
    const RecordingSearch search{sourceFolder.value(), selectedFiles.value(), recursiveScan.value(),
                                 skipMonoFiles.value(), ffmpegPath};
    analyzed_ = search;
    try {
        const auto find = [search, handle] { return findRecordings(search, handle); };
        const FoundRecordings found = co_await inBackground(this, find);
        if (reportFound(found)) {
            const auto showProgress = [this, hop = MainThreadHop(this)](const AnalysisProgress& progress) {
                hop([this, progress] {
                    analysisProgress = progress.percentComplete;
                    currentAnalysisFile = progress.currentFile;
                });
            };
            const auto analyze = [files = found.files, thresholds, ffmpegPath, showProgress, handle] {
                const auto stop = [handle] { return handle.isCancelled(); };
                return StereoValidatorEngine(ffmpegPath, MeasureCache::usualPath())
                    .analyzeFiles(files, thresholds, showProgress, stop);
            };
            AnalysisResult batch = co_await inBackground(this, analyze);
            summary_ = batch.summary();
            totalFiles_ = batch.totalFiles;
            wasStopped_ = batch.stopped;
            analysisResults.assign(std::move(batch.results));
            if (!wasStopped_) analysisProgress = 1.0;
            for (ProcessingLogEntry& entry : batch.logEntries) logEntries.append(std::move(entry));
            log(wasStopped_ ? LogLevel::warning : LogLevel::success, LogCategory::process, summary_);
        }
    } catch (const std::exception& error) { // memory, most likely: the run fails, the window stays
        log(LogLevel::error, LogCategory::process,
            QStringLiteral("Analysis failed: ") + QString::fromUtf8(error.what()));
    }
    isAnalyzing = false;
    Q_EMIT analysisEnded();
}

// False if nothing is left to analyse.
bool StereoValidatorViewModel::reportFound(const FoundRecordings& found) {
    for (const QString& sentence : found.remarks) log(LogLevel::warning, LogCategory::scan, sentence);
    const auto count = static_cast<int>(found.files.size());
    if (count < found.beforeFilter) {
        log(LogLevel::info, LogCategory::scan,
            QStringLiteral("Filtered %1 to %2 files (skipped %3 mono files)")
                .arg(found.beforeFilter)
                .arg(count)
                .arg(found.beforeFilter - count));
    }
    if (count == 0) {
        log(LogLevel::error, LogCategory::scan, QStringLiteral("No audio files found"));
        return false;
    }
    log(LogLevel::info, LogCategory::scan, QStringLiteral("Found %1 audio file(s) to analyze").arg(count));
    return true;
}

void StereoValidatorViewModel::cleanAndExport(const std::vector<StereoValidatorResult>& selectedResults) {
    if (isExporting.value()) return;
    writeValidatorDebugLine(QStringLiteral("🧹 Clean & Export initiated"));
    exportTask_ = TaskHandle();
    const auto scope = resultsInScope(selectedResults);
    if (!scope) return;
    const std::vector<StereoValidatorResult> kept = convertible(*scope, cleanOptions().toggles);
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
    isExporting = true;
    const auto ends = qScopeGuard([this] { isExporting = false; });
    const CleanCounts counts = convertAll(kept);
    const QString outcome = counts.sentence(kept.size());
    writeValidatorDebugLine((counts.stopped ? QStringLiteral("⚠️ ") : QStringLiteral("✅ ")) + outcome);
    log(counts.stopped ? LogLevel::warning : LogLevel::success, LogCategory::process, outcome);
    reportPath_.clear();
    reportFailed_ = false;
    if (generateCSV.value()) autoGenerateCSVReport(counts);
    showCleanExportDialog = false;
    const auto tell = [this, counts, report = reportPath_, folder = outputFolder.value()] {
        if (desktop_.showAlert(counts.alert(folder, report)) == 0 && !folder.isEmpty()) desktop_.openFolder(folder);
    };
    QTimer::singleShot(std::chrono::milliseconds(500), this, tell);
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

void StereoValidatorViewModel::tellUnfinishedSteps() {
    for (const QString& sentence : Journal::tellUnfinished()) log(LogLevel::warning, LogCategory::system, sentence);
}

CleanOptions StereoValidatorViewModel::cleanOptions() const {
    return {
        .toggles = {processDualMono.value(), processOneSided.value(), processBroken.value()},
        .side = dualMonoSideSelection.value(),
        .outputFolder = outputFolder.value(),
        .allowOverwrite = allowOverwrite.value(),
        .addSuffix = addMonoSuffix.value(),
        .engine = engine.value(),
        .proves = proves.value(),
        .sureOnly = sureOnly.value(),
    };
}

std::vector<StereoValidatorResult>
StereoValidatorViewModel::convertibleInScope(const std::vector<StereoValidatorResult>& selected) const {
    return convertible(exportScope.value() == ExportScope::selected ? selected : analysisResults.rows(),
                       cleanOptions().toggles);
}

int StereoValidatorViewModel::countOfLeftOut(const std::vector<StereoValidatorResult>& selectedResults) const {
    return countLeftOut(convertibleInScope(selectedResults), cleanOptions());
}

int StereoValidatorViewModel::countOfNotSure(const std::vector<StereoValidatorResult>& selectedResults) const {
    CleanOptions strict = cleanOptions();
    strict.sureOnly = true;
    return countLeftOut(convertibleInScope(selectedResults), strict);
}

QHash<QUuid, QString>
StereoValidatorViewModel::foreseenRefusals(const std::vector<StereoValidatorResult>& selectedResults) const {
    return ostrel::foreseenRefusals(convertibleInScope(selectedResults), cleanOptions());
}

CleanCounts StereoValidatorViewModel::convertAll(const std::vector<StereoValidatorResult>& results) {
    QStringList bystanders = recordingsNow(analyzed_);
    QHash<QUuid, std::size_t> rows;
    for (std::size_t row = 0; row < analysisResults.size(); ++row) {
        bystanders << analysisResults[row].filepath;
        rows.insert(analysisResults[row].id, row);
    }
    CleanRun run(results, bystanders, cleanOptions(), toolDetector_->ffmpegPath.value());
    CleanCounts counts;
    double done = 0;
    exportProgress = 0;
    for (StereoValidatorResult result : results) {
        if (exportTask_.isCancelled()) {
            counts.stopped = true;
            break;
        }
        currentExportFile = paths::lastComponent(result.filepath);
        result.outcome = convertAside(run, result);
        count(result, counts);
        const std::size_t row = rows.value(result.id);
        if (row < analysisResults.size() && analysisResults[row].id == result.id) {
            analysisResults.update(row, [&](StereoValidatorResult& record) { record.outcome = result.outcome; });
        }
        exportProgress = ++done / static_cast<double>(results.size());
        Q_EMIT fileConverted(result);
    }
    currentExportFile = QString();
    return counts;
}

// On another thread, so that the window shows how far it is and takes a stop. Should the program end meanwhile, the
// file is finished first.
ItemOutcome StereoValidatorViewModel::convertAside(CleanRun& run, const StereoValidatorResult& result) {
    const auto loop = std::make_shared<QEventLoop>();
    const auto work = std::make_shared<std::packaged_task<ItemOutcome()>>([&] { return run.convert(result); });
    std::future<ItemOutcome> outcome = work->get_future();
    backgroundPool().start([work, waiting = std::weak_ptr(loop)] {
        (*work)();
        postToMainThread([waiting] {
            if (const auto still = waiting.lock()) still->quit();
        });
    });
    loop->exec();
    return outcome.get();
}

void StereoValidatorViewModel::count(const StereoValidatorResult& result, CleanCounts& counts) {
    const ItemOutcome& outcome = *result.outcome;
    const QString name = paths::lastComponent(result.filepath);
    for (const QString& warning : outcome.warnings) log(LogLevel::warning, LogCategory::process, warning);
    if (outcome.proof) {
        log(levelOf(outcome.proof->audio()), kProcess, QStringLiteral("%1: %2").arg(name, outcome.proof->sentence()));
    }
    if (outcome.succeeded()) {
        writeValidatorDebugLine(QStringLiteral("  ✅ Processed: ") + name);
        log(LogLevel::success, LogCategory::process, outcome.message);
        ++counts.successes;
        counts.converted << result.id;
    } else if (!outcome.failed()) {
        writeValidatorDebugLine(QStringLiteral("  ⚠️ Left out: ") + name);
        log(LogLevel::warning, LogCategory::process, outcome.message);
        ++counts.leftOut;
    } else {
        writeValidatorDebugLine(QStringLiteral("  ❌ Failed to process %1: %2").arg(name, outcome.message));
        log(LogLevel::error, LogCategory::process,
            QStringLiteral("Failed to convert %1: %2").arg(name, outcome.message));
        ++counts.errors;
    }
}

void StereoValidatorViewModel::autoGenerateCSVReport(const CleanCounts& counts) {
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
        .trusts = std::any_of(analysisResults.begin(), analysisResults.end(),
                              [](const StereoValidatorResult& result) { return result.trust.has_value(); }),
        .proves = proves.value(),
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

void StereoValidatorViewModel::audition(const StereoValidatorResult& result) {
    const auto known = [](int value) { return value > 0 ? std::optional(value) : std::nullopt; };
    playbackManager_->loadFile(result.filepath, known(result.sampleRate), known(result.bitDepth));
    playbackManager_->engine().play();
}

void StereoValidatorViewModel::log(LogLevel level, LogCategory category, const QString& message) {
    logEntries.add(level, category, message);
}

void StereoValidatorViewModel::saveLog() {
    const QString now = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
    logEntries.save(desktop_, QStringLiteral("StereoValidator_Log_%1.txt").arg(now), logEntries.lines());
}

void StereoValidatorViewModel::copyLogToClipboard() { logEntries.copy(desktop_, logEntries.lines()); }

} // namespace ostrel
