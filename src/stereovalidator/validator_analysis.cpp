// The analysis side of the Stereo Validator's controller.
#include "foundation/recording_list.h"
#include "platform/audio_file.h"
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

files::Listing StereoValidatorViewModel::scanForAudioFiles(const QString& folder, bool recursive) {
    const auto found = listRecordings(folder, recursive, validatorExtensions(), files::HiddenEntries::included);
    return found ? *found : files::Listing{{}, {QStringLiteral("Folder can't be read: ") + folder}};
}

StereoValidatorViewModel::FoundFiles StereoValidatorViewModel::findFiles(const Selection& selection) {
    FoundFiles found;
    if (selection.files) {
        std::copy_if(selection.files->begin(), selection.files->end(), std::back_inserter(found.files),
                     [](const QString& file) { return validatorExtensions().contains(paths::lowerExtension(file)); });
    } else {
        files::Listing listing = scanForAudioFiles(selection.folder, selection.recursive);
        found.files = std::move(listing.files);
        found.unreadable = std::move(listing.unreadable);
    }
    found.beforeFilter = static_cast<int>(found.files.size());
    if (selection.skipMono) {
        found.files.removeIf([&](const QString& file) { return isMono(file, selection.ffmpegPath); });
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
    analysisTask_ = TaskHandle();
    runAnalysis(analysisTask_);
}

void StereoValidatorViewModel::stopAnalysis() { analysisTask_.cancel(); }

QCoro::Task<> StereoValidatorViewModel::runAnalysis(TaskHandle handle) {
    const StereoValidatorOptions thresholds = options();
    const QString ffmpegPath = toolDetector_->ffmpegPath.value();
    const Selection selection{sourceFolder.value(), selectedFiles.value(), recursiveScan.value(), skipMonoFiles.value(),
                              ffmpegPath};
    analyzed_ = selection;
    try {
        const auto find = [selection] { return findFiles(selection); };
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
            analysisResults.assign(std::move(batch.results));
            analysisProgress = 1.0;
            for (ProcessingLogEntry& entry : batch.logEntries) logEntries.append(std::move(entry));
            log(LogLevel::success, LogCategory::process, summary_);
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
    for (const QString& sentence : found.unreadable) log(LogLevel::warning, LogCategory::scan, sentence);
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
