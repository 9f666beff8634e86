// The process phase of the Interleaver: groups or sources become files, one after the other.
#include "foundation/ffprobe_parser.h"
#include "interleaver/app_view_model.h"
#include "interleaver/deinterleave_engine.h"
#include "interleaver/interleave_engine.h"
#include "interleaver/interleaver_report.h"
#include "interleaver/lr_cleanup_engine.h"
#include "interleaver/originals.h"
#include "platform/diagnostics.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"

namespace ostrel {
namespace {

constexpr auto kOutputExists = u"Output already exists (skipped)";

// The rows that a job takes, in list order.
template <class Rows>
std::vector<std::size_t> processableRows(const Rows& rows) {
    std::vector<std::size_t> result;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].include && rows[row].status.isProcessable()) result.push_back(row);
    }
    return result;
}

} // namespace

void AppViewModel::startProcessing() {
    if (!canRun()) return;
    playbackManager_->stopAndClear();
    isProcessing = true;
    isCancelled = false;
    progress = 0;
    log(LogLevel::info, LogCategory::process, QStringLiteral("Starting processing..."));
    auto job = std::make_shared<Job>();
    job->ffmpegPath = toolDetector_->ffmpegPath.value();
    job->ffprobePath = toolDetector_->ffprobePath.value();
    job->bwfmetaeditPath = toolDetector_->bwfmetaeditPath.value();
    job->layout = selectedLayout.value();
    job->options = options.value();
    job->outputFolder = useCustomOutput.value() ? outputURL.value() : QString();
    for (const InterleaveGroup& group : interleaveGroups) {
        for (const QString& file : group.channelFiles) job->sources.insert(file);
    }
    for (const MultiChannelSource& source : deinterleaveSources) job->sources.insert(source.sourceURL);
    processingTask_ = job->handle;
    runProcessing(job);
}

QString AppViewModel::Job::refusal(const QStringList& outputs) const {
    for (const QString& output : outputs) {
        const QString name = paths::lastComponent(output);
        if (sources.contains(output)) return QStringLiteral("%1 would replace a source of this run").arg(name);
        if (written.contains(output) && !options.skipIfExists) {
            return QStringLiteral("Another item of this run already wrote %1").arg(name);
        }
    }
    return QString();
}

QCoro::Task<> AppViewModel::runProcessing(std::shared_ptr<Job> job) {
    ++runningTasks_;
    if (!job->bwfmetaeditPath.isEmpty()) job->metadataEngine.emplace(job->bwfmetaeditPath, sessionID_);
    if (currentMode.value() == AppMode::interleave) {
        co_await processInterleave(job);
    } else {
        co_await processDeinterleave(job);
    }
    if (job->metadataEngine) job->metadataEngine->cleanup();
    const int successes = successCount();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Processing complete: %1 success, %2 skipped, %3 errors")
            .arg(successes)
            .arg(skippedCount())
            .arg(errorCount()));
    if (generateCSV.value()) generateProcessingCSV(successes);
    // After a stop the flags are the business of whatever runs by now.
    if (!job->handle.isCancelled()) isProcessing = false;
    endTask();
}

QCoro::Task<> AppViewModel::processInterleave(std::shared_ptr<Job> job) {
    const std::vector<std::size_t> rows = processableRows(interleaveGroups);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        if (job->handle.isCancelled()) break;
        if (rows[position] >= interleaveGroups.size()) break; // the selection was changed under a stopped job
        co_await processGroup(job, rows[position]);
        if (!job->handle.isCancelled()) {
            progress = static_cast<double>(position + 1) / static_cast<double>(rows.size());
        }
    }
}

QCoro::Task<> AppViewModel::processGroup(std::shared_ptr<Job> job, std::size_t row) {
    const InterleaveGroup group = interleaveGroups[row];
    const QString base = group.baseName;
    currentItemName = base;
    statusMessage = QStringLiteral("Processing: ") + base;
    setGroupStatus(row, group.id, ProcessingStatus::processing());

    // A custom folder always gives ".wav", whatever the policy says: meant.
    const QString output = job->outputFolder.isEmpty()
                               ? InterleaveEngine::generateOutputURL(group, job->options)
                               : paths::append(job->outputFolder, base + QStringLiteral(".wav"));
    if (output.isEmpty()) {
        setGroupStatus(row, group.id, ProcessingStatus::failed(QStringLiteral("Invalid output path")));
        log(LogLevel::error, LogCategory::process, QStringLiteral("Invalid output path for: ") + base, base);
        co_return;
    }

    InterleaveResult result;
    const MainThreadHop hop(this);
    const auto onStatusUpdate = [this, hop, row](const QUuid& id, const ProcessingStatus& status) {
        hop([this, row, id, status] {
            setGroupStatus(row, id, status);
            printDiagnostic(QStringLiteral("[AppViewModel] ✅ Status updated: ") + status.displayText());
        });
    };
    const auto work = [engine = InterleaveEngine(job->ffmpegPath, job->bwfmetaeditPath, onStatusUpdate), group, job,
                       output] { return engine.interleave(group, job->layout, output, job->options); };
    result.message = job->refusal(QStringList(output));
    if (result.message.isEmpty()) {
        try {
            result = co_await inBackground(this, work);
        } catch (const InterleaveError& error) {
            result.message = error.errorDescription();
        } catch (const std::exception& error) { // memory, most likely: this item fails, the batch goes on
            result.message = QString::fromUtf8(error.what());
        }
    }

    if (!result.success) {
        const bool skipped = result.message == QStringView(kOutputExists);
        setGroupStatus(row, group.id,
                       skipped ? ProcessingStatus::skipped(result.message) : ProcessingStatus::failed(result.message));
        log(LogLevel::error, LogCategory::process, QStringLiteral("%1: %2").arg(base, result.message), base);
        co_return;
    }
    job->written.insert(output);
    interleaveGroups.update(row, [&](InterleaveGroup& record) {
        if (record.id == group.id) record.outputURL = output;
    });
    for (const QString& warning : result.warnings) log(LogLevel::warning, LogCategory::process, warning, base);
    const bool underCleanup = job->layout == ChannelLayout::stereo && job->options.lrCleanupMode != LRCleanupMode::none;
    if (!underCleanup) {
        co_await finishWithMetadata(job, row, group, output, result.warnings.isEmpty());
    } else if (job->ffprobePath.isEmpty()) {
        setGroupStatus(row, group.id,
                       ProcessingStatus::completedWithWarning(QStringLiteral("Cannot verify: ffprobe missing")));
        log(LogLevel::warning, LogCategory::process, base + QStringLiteral(" - Created but cannot verify"), base);
    } else if (!result.warnings.isEmpty()) {
        // Audio that differs from its sources can't stand in for them, whatever its length and metadata say.
        const auto status = ProcessingStatus::completedUncertified(QStringLiteral("Samples differ from the sources"));
        setGroupStatus(row, group.id, status);
        log(LogLevel::success, LogCategory::process, QStringLiteral("✅ %1 - %2").arg(base, status.displayText()), base);
    } else {
        co_await finishVerified(job, row, group, output);
    }
}

QCoro::Task<> AppViewModel::finishVerified(std::shared_ptr<Job> job, std::size_t row, InterleaveGroup group,
                                           QString output) {
    // The sources may be about to go, and what ffmpeg carries of their BEXT by itself is a part of it.
    const auto copyAndVerify = [engine = InterleaveEngine(job->ffmpegPath, job->bwfmetaeditPath), job, group, output] {
        if (job->metadataEngine) {
            const MetadataResult copied =
                job->metadataEngine->copyMetadata(group.channelFiles.value(QStringLiteral("L")), output);
            if (!copied.success) {
                return ProcessingStatus::completedUncertified(QStringLiteral("Metadata: ") + copied.message);
            }
        }
        return engine.verifyInterleavedOutput(output, 2, group.duration, job->ffprobePath);
    };
    ProcessingStatus status;
    const auto couldNotVerify = [](const QString& why) {
        return ProcessingStatus::failed(QStringLiteral("Verification failed: ") + why);
    };
    try {
        status = co_await inBackground(this, copyAndVerify);
    } catch (const FFProbeError& error) {
        status = couldNotVerify(error.errorDescription());
    } catch (const InterleaveError& error) {
        status = couldNotVerify(error.errorDescription());
    } catch (const MetadataError& error) {
        status = couldNotVerify(error.errorDescription());
    }
    if (status == ProcessingStatus::completedCarbonCopyCertified()) {
        co_await cleanUpCertified(job, row, group);
        co_return;
    }
    setGroupStatus(row, group.id, status);
    log(LogLevel::success, LogCategory::process, QStringLiteral("✅ %1 - %2").arg(group.baseName, status.displayText()),
        group.baseName);
}

QCoro::Task<> AppViewModel::cleanUpCertified(std::shared_ptr<Job> job, std::size_t row, InterleaveGroup group) {
    const QString left = group.channelFiles.value(QStringLiteral("L"));
    const QString right = group.channelFiles.value(QStringLiteral("R"));
    const bool moves = job->options.lrCleanupMode == LRCleanupMode::verifiedConsolidation;
    const auto cleanUp = [left, right, moves, root = sourceURL.value()] {
        if (moves) {
            LRCleanupEngine::moveToBackupFolder(left, right, root);
        } else {
            LRCleanupEngine::deleteFiles(left, right);
        }
    };
    ProcessingStatus status = ProcessingStatus::completedCarbonCopyCertified();
    try {
        co_await inBackground(this, cleanUp);
        log(LogLevel::success, LogCategory::process,
            QStringLiteral("✅ %1 - Interleaved, L/R %2")
                .arg(group.baseName, moves ? QStringLiteral("moved to backup") : QStringLiteral("DELETED")),
            group.baseName);
    } catch (const FileError& error) {
        status = ProcessingStatus::completedWithWarning(QStringLiteral("Cleanup failed: ") + error.description);
        log(LogLevel::warning, LogCategory::process,
            QStringLiteral("✅ %1 - Merge OK, cleanup failed: %2").arg(group.baseName, error.description),
            group.baseName);
    }
    setGroupStatus(row, group.id, status);
}

QCoro::Task<> AppViewModel::finishWithMetadata(std::shared_ptr<Job> job, std::size_t row, InterleaveGroup group,
                                               QString output, bool isFaithful) {
    ProcessingStatus status = ProcessingStatus::completed();
    QString suffix;
    const QString left = group.channelFiles.value(QStringLiteral("L"));
    if (job->metadataEngine && !left.isEmpty()) {
        const auto copy = [engine = *job->metadataEngine, left, output] { return engine.copyMetadata(left, output); };
        try {
            const MetadataResult result = co_await inBackground(this, copy);
            if (result.success) {
                suffix = QStringLiteral(" (audio+bwf ok)");
            } else {
                status = ProcessingStatus::completedWithWarning(QStringLiteral("Metadata: ") + result.message);
                suffix = QStringLiteral(" (metadata warning: %1)").arg(result.message);
            }
        } catch (const MetadataError&) {
            status = ProcessingStatus::completedWithWarning(QStringLiteral("Metadata failed"));
            suffix = QStringLiteral(" (metadata failed)");
        }
    }
    setGroupStatus(row, group.id, status);
    log(LogLevel::success, LogCategory::process,
        QStringLiteral("Created: %1%2").arg(paths::lastComponent(output), suffix), group.baseName);
    if (isFaithful) {
        co_await handleCleanup(job, group);
    } else if (job->options.moveOriginalsInterleave || job->options.deleteOriginalsInterleave) {
        keepOriginals(group.baseName);
    }
}

QCoro::Task<> AppViewModel::handleCleanup(std::shared_ptr<Job> job, InterleaveGroup group) {
    const bool moves = job->options.moveOriginalsInterleave;
    if (!moves && !job->options.deleteOriginalsInterleave) co_return;
    const QStringList sources = group.channelFiles.values();
    const QStringList failures = co_await moveOrDelete(sources, moves);
    for (const QString& failure : failures) log(LogLevel::warning, LogCategory::cleanup, failure, group.baseName);
    if (failures.size() == sources.size()) co_return;
    if (moves) {
        // The folder is called "Originals"; the words are older than its name and stay.
        log(LogLevel::info, LogCategory::cleanup, QStringLiteral("Moved originals to ORIGINALS_MONO/"), group.baseName);
    } else {
        log(LogLevel::warning, LogCategory::cleanup, QStringLiteral("Deleted original mono files"), group.baseName);
    }
}

QCoro::Task<> AppViewModel::processDeinterleave(std::shared_ptr<Job> job) {
    const std::vector<std::size_t> rows = processableRows(deinterleaveSources);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        if (job->handle.isCancelled()) break;
        if (rows[position] >= deinterleaveSources.size()) break; // the selection was changed under a stopped job
        co_await processSource(job, rows[position]);
        if (!job->handle.isCancelled()) {
            progress = static_cast<double>(position + 1) / static_cast<double>(rows.size());
        }
    }
}

QCoro::Task<> AppViewModel::processSource(std::shared_ptr<Job> job, std::size_t row) {
    const MultiChannelSource source = deinterleaveSources[row];
    const QString name = paths::lastComponent(source.sourceURL);
    currentItemName = name;
    statusMessage = QStringLiteral("Processing: ") + name;
    setSourceStatus(row, source.id, ProcessingStatus::processing());

    DeinterleaveResult result;
    const MainThreadHop hop(this);
    const auto onStatusUpdate = [this, hop, row](const QUuid& id, const ProcessingStatus& status) {
        hop([this, row, id, status] {
            setSourceStatus(row, id, status);
            printDiagnostic(QStringLiteral("[AppViewModel] ✅ Status updated: ") + status.displayText());
        });
    };
    const auto work = [engine = DeinterleaveEngine(job->ffmpegPath, job->ffprobePath, onStatusUpdate), source, job] {
        return engine.deinterleave(source, job->options, job->outputFolder);
    };
    const QString separator = rawText(job->options.channelSeparator);
    result.message = job->refusal(
        source.outputURLs(separator, job->outputFolder, source.outputFormat(job->options.outputFormatPolicy)).values());
    if (result.message.isEmpty()) {
        try {
            result = co_await inBackground(this, work);
        } catch (const DeinterleaveError& error) {
            result.message = error.errorDescription();
        } catch (const std::exception& error) { // memory, most likely: this item fails, the batch goes on
            result.message = QString::fromUtf8(error.what());
        }
    }
    if (!result.success) {
        setSourceStatus(row, source.id, ProcessingStatus::failed(result.message));
        log(LogLevel::error, LogCategory::process, QStringLiteral("%1: %2").arg(name, result.message), name);
        co_return;
    }
    for (const QString& output : result.outputURLs) job->written.insert(output);
    for (const QString& warning : result.warnings) log(LogLevel::warning, LogCategory::process, warning, name);

    ProcessingStatus status = ProcessingStatus::completed();
    if (job->metadataEngine && !result.outputURLs.isEmpty()) {
        const auto copy = [engine = *job->metadataEngine, file = source.sourceURL,
                           outputs = result.outputURLs.values()] {
            return engine.copyMetadataToMultiple(file, outputs);
        };
        const QMap<QString, MetadataResult> copied = co_await inBackground(this, copy);
        const auto failures =
            std::count_if(copied.begin(), copied.end(), [](const MetadataResult& one) { return !one.success; });
        if (failures > 0) {
            status = ProcessingStatus::completedWithWarning(QStringLiteral("%1 metadata failures").arg(failures));
        }
    }
    setSourceStatus(row, source.id, status);
    log(LogLevel::success, LogCategory::process, result.message, name);
    if (result.warnings.isEmpty()) {
        co_await handleDeinterleaveCleanup(job, source);
    } else if (job->options.moveOriginalsDeinterleave || job->options.deleteOriginalsDeinterleave) {
        keepOriginals(name);
    }
}

QCoro::Task<> AppViewModel::handleDeinterleaveCleanup(std::shared_ptr<Job> job, MultiChannelSource source) {
    const bool moves = job->options.moveOriginalsDeinterleave;
    if (!moves && !job->options.deleteOriginalsDeinterleave) co_return;
    const QString name = paths::lastComponent(source.sourceURL);
    const QStringList sources(source.sourceURL);
    const QStringList failures = co_await moveOrDelete(sources, moves);
    for (const QString& failure : failures) log(LogLevel::warning, LogCategory::cleanup, failure, name);
    if (!failures.isEmpty()) co_return;
    if (moves) {
        log(LogLevel::info, LogCategory::cleanup, QStringLiteral("Moved original to Originals/"), name);
    } else {
        log(LogLevel::warning, LogCategory::cleanup, QStringLiteral("Deleted original multichannel file"), name);
    }
}

QCoro::Task<QStringList> AppViewModel::moveOrDelete(QStringList sources, bool moves) {
    const auto work = [sources, moves] { return moves ? moveToOriginals(sources) : deleteOriginals(sources); };
    co_return co_await inBackground(this, work);
}

void AppViewModel::keepOriginals(const QString& name) {
    log(LogLevel::warning, LogCategory::cleanup,
        QStringLiteral("Originals kept: the samples of the new files are not those of the originals"), name);
}

void AppViewModel::setGroupStatus(std::size_t row, const QUuid& id, const ProcessingStatus& status) {
    if (row >= interleaveGroups.size() || interleaveGroups[row].id != id) return;
    interleaveGroups.update(row, [&](InterleaveGroup& group) { group.status = status; });
}

void AppViewModel::setSourceStatus(std::size_t row, const QUuid& id, const ProcessingStatus& status) {
    if (row >= deinterleaveSources.size() || deinterleaveSources[row].id != id) return;
    deinterleaveSources.update(row, [&](MultiChannelSource& source) { source.status = status; });
}

void AppViewModel::generateProcessingCSV(int successes) {
    InterleaverReport report;
    report.mode = currentMode.value();
    report.sourcePath = sourcePath.value();
    report.customFolder = useCustomOutput.value() ? outputURL.value() : QString();
    report.layout = selectedLayout.value();
    report.options = options.value();
    report.total = totalCount();
    report.successes = successes;
    report.skipped = skippedCount();
    report.errors = errorCount();
    const QString folder = report.customFolder.isEmpty() ? sourceURL.value() : report.customFolder;
    if (folder.isEmpty()) {
        log(LogLevel::warning, LogCategory::system, QStringLiteral("Cannot save CSV: no output folder"));
        return;
    }
    const ReportTable table = report.mode == AppMode::interleave
                                  ? interleaveTable(interleaveGroups.rows(), report.layout, report.options)
                                  : deinterleaveTable(deinterleaveSources.rows(), report.options);
    reportPath_ = report.write(table, folder);
    if (!reportPath_.isEmpty()) {
        log(LogLevel::info, LogCategory::system,
            QStringLiteral("CSV report saved: ") + paths::lastComponent(reportPath_));
    }
}

} // namespace ostrel
