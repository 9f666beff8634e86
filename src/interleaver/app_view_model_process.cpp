// The process phase of the Interleaver: groups or sources become files, one after the other.
#include "interleaver/app_view_model.h"
#include "interleaver/deinterleave_job.h"
#include "interleaver/interleave_job.h"
#include "interleaver/interleaver_report.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"

namespace ostrel {
namespace {

// The rows that a job takes, in list order.
template <class Rows>
std::vector<std::size_t> processableRows(const Rows& rows) {
    std::vector<std::size_t> result;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].include && rows[row].status.isProcessable()) result.push_back(row);
    }
    return result;
}

// What is to be counted of a run's items, whatever the lists hold by now.
template <class Rows>
InterleaverReport reportOf(const Rows& rows) {
    const auto count = [&](auto matches) { return static_cast<int>(std::count_if(rows.begin(), rows.end(), matches)); };
    InterleaverReport report;
    report.total = static_cast<int>(rows.size());
    report.successes = count([](const auto& item) { return item.status.stands(); });
    report.skipped = count(isLeftOut<typename Rows::value_type>);
    report.errors = count(hasFailed<typename Rows::value_type>);
    return report;
}

// What jobs of earlier runs made in folders of their own is no recording of the selection. The folder that was selected
// may lie in such a one: its own files are recordings.
bool isOutputOfOurs(const QString& file, const QString& selected) {
    const QStringView below = QStringView(file).mid(selected.size());
    return below.contains(u"/Interleaved/") || below.contains(u"/De-interleaved/");
}

QStringList filesOf(const QStringList& selection, bool recursive) {
    QStringList result;
    for (const QString& item : selection) {
        if (!paths::isFolder(item)) {
            result << item;
        } else if (const auto listing = files::list(item, recursive, {}, files::HiddenEntries::included)) {
            for (const QString& file : listing->files) {
                if (!isOutputOfOurs(file, item)) result << file;
            }
        }
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
    const std::shared_ptr<Job> job = makeJob();
    job->groups = interleaveGroups.rows();
    job->sources = deinterleaveSources.rows();
    processingTask_ = job->handle;
    runProcessing(job);
}

void AppViewModel::foreseeCollisions() {
    const std::shared_ptr<Job> job = makeJob();
    const RunLedger ledger(sourcesOfItems());
    const auto foresee = [&](auto& records, auto outputsOf) {
        std::vector<QStringList> outputs;
        for (const auto& record : records) {
            const bool isTaken = record.include && record.status.isProcessable();
            outputs.push_back(isTaken ? outputsOf(record) : QStringList());
        }
        const std::vector<QString> reasons = ledger.foresee(outputs);
        for (std::size_t row = 0; row < records.size(); ++row) {
            if (records[row].foreseen == reasons[row]) continue;
            records.update(row, [&](auto& record) { record.foreseen = reasons[row]; });
        }
    };
    foresee(interleaveGroups,
            [&](const InterleaveGroup& group) { return QStringList(InterleaveJob::outputOf(group, job->run)); });
    foresee(deinterleaveSources, [&](const MultiChannelSource& source) {
        const ProcessingOptions& chosen = job->run.options;
        const QString format = source.outputFormat(chosen.outputFormatPolicy);
        return source.outputURLs(rawText(chosen.channelSeparator), job->run.outputFolder, format).values();
    });
}

std::shared_ptr<AppViewModel::Job> AppViewModel::makeJob() const {
    auto job = std::make_shared<Job>(currentMode.value());
    job->run.ffmpegPath = toolDetector_->ffmpegPath.value();
    job->run.ffprobePath = toolDetector_->ffprobePath.value();
    job->run.bwfmetaeditPath = toolDetector_->bwfmetaeditPath.value();
    job->run.layout = selectedLayout.value();
    job->run.options = options.value();
    job->run.outputFolder = useCustomOutput.value() ? outputURL.value() : QString();
    job->run.selection = selectedFiles.value();
    job->sourceFolder = sourceURL.value();
    if (!job->run.bwfmetaeditPath.isEmpty()) job->run.metadataEngine.emplace(job->run.bwfmetaeditPath, sessionID_);
    return job;
}

// Of every item in the list, selected or not: no output may replace one.
QStringList AppViewModel::sourcesOfItems() const {
    QStringList sources;
    for (const InterleaveGroup& group : interleaveGroups) sources << group.channelFiles.values();
    for (const MultiChannelSource& source : deinterleaveSources) sources << source.sourceURL;
    return sources;
}

QCoro::Task<> AppViewModel::openLedger(std::shared_ptr<Job> job) {
    const auto open = [job, sources = sourcesOfItems()] {
        const QStringList selection = filesOf(job->run.selection, job->run.options.includeSubfolders);
        job->run.ledger = std::make_unique<RunLedger>(sources, selection);
    };
    co_await inBackground(this, open);
}

QCoro::Task<> AppViewModel::runProcessing(std::shared_ptr<Job> job) {
    ++runningTasks_;
    co_await openLedger(job);
    if (job->mode == AppMode::interleave) {
        co_await processInterleave(job);
    } else {
        co_await processDeinterleave(job);
    }
    if (job->run.metadataEngine) job->run.metadataEngine->cleanup();
    const InterleaverReport report = job->mode == AppMode::interleave ? reportOf(job->groups) : reportOf(job->sources);
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Processing complete: %1 success, %2 skipped, %3 errors")
            .arg(report.successes)
            .arg(report.skipped)
            .arg(report.errors));
    if (generateCSV.value()) generateProcessingCSV(*job, report);
    // After a stop the flags are the business of whatever runs by now.
    if (!job->handle.isCancelled()) isProcessing = false;
    endTask();
}

QCoro::Task<> AppViewModel::processInterleave(std::shared_ptr<Job> job) {
    const std::vector<std::size_t> rows = processableRows(job->groups);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        if (job->handle.isCancelled()) break;
        co_await processGroup(job, rows[position]);
        if (!job->handle.isCancelled()) {
            progress = static_cast<double>(position + 1) / static_cast<double>(rows.size());
        }
    }
}

QCoro::Task<> AppViewModel::processGroup(std::shared_ptr<Job> job, std::size_t row) {
    const InterleaveGroup group = job->groups[row];
    beginItem(group.baseName);
    const auto aim = [&](InterleaveGroup& shown) { shown.outputURL = InterleaveJob::outputOf(group, job->run); };
    if (row < interleaveGroups.size() && interleaveGroups[row].id == group.id) interleaveGroups.update(row, aim);
    setStatus(interleaveGroups, row, group.id, ProcessingStatus::processing());
    const MainThreadHop hop(this);
    const auto onStatusUpdate = [this, hop, row](const QUuid& id, const ProcessingStatus& status) {
        hop([this, row, id, status] { setStatus(interleaveGroups, row, id, status); });
    };
    const auto work = [job, group, onStatusUpdate] { return InterleaveJob(job->run, group, onStatusUpdate).run(); };
    ItemReport report = co_await inBackground(this, work);
    takeReport(interleaveGroups, job->groups, row, std::move(report));
}

QCoro::Task<> AppViewModel::processDeinterleave(std::shared_ptr<Job> job) {
    const std::vector<std::size_t> rows = processableRows(job->sources);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        if (job->handle.isCancelled()) break;
        co_await processSource(job, rows[position]);
        if (!job->handle.isCancelled()) {
            progress = static_cast<double>(position + 1) / static_cast<double>(rows.size());
        }
    }
}

QCoro::Task<> AppViewModel::processSource(std::shared_ptr<Job> job, std::size_t row) {
    const MultiChannelSource source = job->sources[row];
    beginItem(paths::lastComponent(source.sourceURL));
    setStatus(deinterleaveSources, row, source.id, ProcessingStatus::processing());
    const MainThreadHop hop(this);
    const auto onStatusUpdate = [this, hop, row](const QUuid& id, const ProcessingStatus& status) {
        hop([this, row, id, status] { setStatus(deinterleaveSources, row, id, status); });
    };
    const auto work = [job, source, onStatusUpdate] { return DeinterleaveJob(job->run, source, onStatusUpdate).run(); };
    ItemReport report = co_await inBackground(this, work);
    takeReport(deinterleaveSources, job->sources, row, std::move(report));
}

void AppViewModel::beginItem(const QString& name) {
    currentItemName = name;
    statusMessage = QStringLiteral("Processing: ") + name;
}

template <class Records>
void AppViewModel::setStatus(Records& records, std::size_t row, const QUuid& id, const ProcessingStatus& status) {
    if (row >= records.size() || records[row].id != id) return;
    records.update(row, [&](auto& record) { record.status = status; });
    printDiagnostic(QStringLiteral("[AppViewModel] ✅ Status updated: ") + status.displayText());
}

// The list may be another one by now; the job's own rows are what its report is made of.
template <class Records, class Rows>
void AppViewModel::takeReport(Records& records, Rows& rows, std::size_t row, ItemReport report) {
    const auto take = [&](auto& record) {
        record.status = report.outcome.status;
        record.outcome = report.outcome;
    };
    take(rows[row]);
    if (row < records.size() && records[row].id == rows[row].id) records.update(row, take);
    for (ProcessingLogEntry& entry : report.log) logEntries.append(std::move(entry));
}

void AppViewModel::generateProcessingCSV(const Job& job, InterleaverReport report) {
    report.mode = job.mode;
    report.sourcePath = job.sourceFolder;
    report.customFolder = job.run.outputFolder;
    report.layout = job.run.layout;
    report.options = job.run.options;
    const QString folder = report.customFolder.isEmpty() ? job.sourceFolder : report.customFolder;
    if (folder.isEmpty()) {
        log(LogLevel::warning, LogCategory::system, QStringLiteral("Cannot save CSV: no output folder"));
        return;
    }
    const ReportTable table = report.mode == AppMode::interleave ? interleaveTable(job.groups, report.layout)
                                                                 : deinterleaveTable(job.sources);
    reportPath_ = report.write(table, folder);
    if (reportPath_.isEmpty()) {
        log(LogLevel::error, LogCategory::system, QStringLiteral("The CSV report could not be saved in ") + folder);
    } else {
        log(LogLevel::info, LogCategory::system,
            QStringLiteral("CSV report saved: ") + paths::lastComponent(reportPath_));
    }
}

} // namespace ostrel
