// The analysis side of the Stereo Validator's controller.
#include "foundation/run/recording_list.h"
#include "platform/audio/audio_file.h"
#include "platform/paths.h"
#include "stereovalidator/stereo_validator_engine.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_words.h"

namespace ostrel {
namespace {

// A file that can't be opened is kept: the analysis will say what is wrong with it.
bool isMono(const QString& file, const QString& ffmpegPath) {
    try {
        return AudioFile(file, ffmpegPath).channelCount() < 2;
    } catch (const AudioFileError&) {
        return false;
    }
}

} // namespace

CollectedRecordings StereoValidatorViewModel::collectAudioFiles(const QStringList& selection, bool recursive) {
    CollectedRecordings found =
        collectRecordings(selection, recursive, validatorExtensions(), files::HiddenEntries::included);
    for (const QString& folder : found.unopened) {
        found.remarks << QStringLiteral("Folder can't be read: ") + folder;
    }
    return found;
}

StereoValidatorViewModel::FoundFiles StereoValidatorViewModel::findFiles(const Selection& selection,
                                                                         const TaskHandle& handle) {
    FoundFiles found;
    CollectedRecordings collected =
        collectAudioFiles(selection.files.value_or(QStringList{selection.folder}), selection.recursive);
    found.files = std::move(collected.files);
    found.remarks = std::move(collected.remarks);
    found.beforeFilter = static_cast<int>(found.files.size());
    if (selection.skipMono) { // which opens each of them
        found.files.removeIf(
            [&](const QString& file) { return !handle.isCancelled() && isMono(file, selection.ffmpegPath); });
    }
    return found;
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
    const Selection selection{sourceFolder.value(), selectedFiles.value(), recursiveScan.value(), skipMonoFiles.value(),
                              ffmpegPath};
    analyzed_ = selection;
    try {
        const auto find = [selection, handle] { return findFiles(selection, handle); };
        const FoundFiles found = co_await inBackground(this, find);
        if (reportFound(found)) {
            const auto showProgress = [this, hop = MainThreadHop(this)](const AnalysisProgress& progress) {
                hop([this, progress] {
                    analysisProgress = progress.percentComplete;
                    currentAnalysisFile = progress.currentFile;
                });
            };
            const auto analyze = [files = found.files, thresholds, ffmpegPath, showProgress, handle] {
                const auto stop = [handle] { return handle.isCancelled(); };
                return StereoValidatorEngine(ffmpegPath).analyzeFiles(files, thresholds, showProgress, stop);
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
bool StereoValidatorViewModel::reportFound(const FoundFiles& found) {
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

} // namespace ostrel
