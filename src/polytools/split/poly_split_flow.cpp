#include "polytools/split/poly_split_flow.h"

#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "polytools/records/retried.h"
#include "polytools/services/poly_tools_reports.h"
#include "polytools/split/batch_split.h"
#include "polytools/split/iso_output_folder.h"

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

ItemStatus statusOf(const ItemOutcome& channel) {
    if (channel.succeeded()) return ItemStatus::complete;
    return channel.skipped() ? ItemStatus::skipped : ItemStatus::error;
}

} // namespace

bool PolySplitFlow::canRun() const {
    const auto& poly = source_.polyFile.value();
    return state_.hasEngine() && poly && poly->channelCount >= 2 && !source_.splitOutputFolder.value().isEmpty() &&
           !state_.isProcessing.value();
}

bool PolySplitFlow::canRunBatch() const {
    const auto& selected = source_.selectedFiles.value();
    const bool hasSource = !source_.sourceFolder.value().isEmpty() || (selected && !selected->isEmpty());
    return state_.hasEngine() && hasSource && !source_.splitOutputFolder.value().isEmpty() &&
           !state_.isProcessing.value();
}

PolyRun PolySplitFlow::beginRun() {
    state_.isProcessing = true;
    return state_.beginRun();
}

SplitOptions PolySplitFlow::splitOptions() const {
    SplitOptions options;
    options.namingPattern = split_.splitNamingPattern.value();
    options.trackNames = source_.trackNames.value();
    options.skipIfExists = state_.skipIfExists.value();
    options.overwriteExisting = state_.overwriteExisting.value();
    options.keepOriginalName = split_.splitKeepOriginalName.value();
    options.proves = state_.proves.value();
    options.conforms = state_.conforms();
    return options;
}

PolySplitEngine::Progress PolySplitFlow::channelProgress(const TaskHandle& handle) const {
    return services_.follow(handle, [state = &state_, split = &split_](double fraction, const QString& name) {
        split->splitProgress = fraction;
        state->currentProcessingItem = name;
    });
}

void PolySplitFlow::run() {
    const auto& poly = source_.polyFile.value();
    if (!poly) return services_.error(kProcess, QStringLiteral("No valid poly file selected"));
    if (source_.splitOutputFolder.value().isEmpty())
        return services_.error(kProcess, QStringLiteral("No output folder selected"));
    if (!services_.requireFFmpeg()) return;
    const PolyRun begun = beginRun();
    split_.isSplitting = true;
    split_.splitProgress = 0;
    services_.run(split({*poly, splitOptions(), source_.splitOutputFolder.value(), split_.folderOrganization.value(),
                         source_.channelItems.rows(), begun, services_.begin(Task::split)}));
}

QCoro::Task<> PolySplitFlow::split(Run run) {
    const QString folder = co_await effectiveFolder(run);
    if (!folder.isEmpty() && !run.handle.isCancelled()) co_await splitInto(run, folder);
    if (run.handle.isCancelled()) co_return; // the stop has reset the flags, and another run may have set them
    state_.isProcessing = false;
    split_.isSplitting = false;
}

// Where the ISOs go, made ready; empty if it could not be made.
QCoro::Task<QString> PolySplitFlow::effectiveFolder(Run run) {
    const FolderOrganization organization = run.organization;
    struct Folder {
        QString path;
        bool created = false;
    };
    const auto work = [poly = run.poly, base = run.baseFolder, organization,
                       saved = selection_.manifestSaved()]() -> Folder {
        Folder folder{base};
        if (organization != FolderOrganization::flat) {
            if (saved.valid()) saved.wait(); // the manifest may still be on its way
            const auto manifest = MetadataManifestExtractor::loadManifest(poly.url);
            folder.path =
                isoOutputFolder(poly, manifest ? &*manifest : nullptr, base, organization, [](const QString&) {});
        }
        folder.created = !paths::isFolder(folder.path);
        files::createFolder(folder.path);
        return folder;
    };
    Folder folder;
    QString failure;
    try {
        folder = co_await inBackground(services_.owner(), work);
    } catch (const FileError& error) {
        failure = error.description;
    }
    if (!failure.isEmpty()) {
        services_.error(kProcess, QStringLiteral("Failed to create output folder: ") + failure);
        state_.errorCount = 1;
        co_return QString();
    }
    services_.info(kProcess, organization == FolderOrganization::flat
                                 ? QStringLiteral("Output organization: Flat (all ISOs in output folder)")
                                 : QStringLiteral("Output organization: %1 / %2")
                                       .arg(rawText(organization), paths::lastComponent(folder.path)));
    if (folder.created)
        services_.info(kProcess, QStringLiteral("Created output folder: ") + paths::lastComponent(folder.path));
    co_return folder.path;
}

QCoro::Task<> PolySplitFlow::splitInto(Run run, QString folder) {
    const PolyFile& poly = run.poly;
    const SplitOptions& options = run.options;
    services_.info(kProcess,
                   QStringLiteral("Starting split: %1 → %2 mono files").arg(poly.fileName).arg(poly.channelCount));
    services_.info(kProcess, QStringLiteral("Naming pattern: ") + rawText(options.namingPattern));
    const qsizetype names = options.trackNames ? options.trackNames->size() : 0;
    services_.info(kProcess, names > 0 ? QStringLiteral("Track names available: %1").arg(names)
                                       : QStringLiteral("No track names available"));
    const PolySplitEngine engine(services_.engineTools(), services_.hooks(run.handle));
    const auto work = [engine, poly, folder, options, progress = channelProgress(run.handle)] {
        return engine.split(poly, folder, options, progress);
    };
    const auto [result, failure] = co_await services_.attempt(work);
    if (run.handle.isCancelled() && !state_.isLast(run.run)) co_return; // else what was made until the stop counts
    if (result) {
        showSplit(*result, run, folder);
    } else {
        services_.error(kProcess, QStringLiteral("Split failed: ") + failure);
        state_.errorCount = 1;
    }
}

void PolySplitFlow::countSplit(const SplitResult& result) {
    state_.successCount = result.createdCount;
    state_.skipCount = result.skippedCount;
    state_.errorCount = result.errorCount;
    state_.createdFiles = result.outcome.outputs;
    state_.lastOutcome = result.outcome;
}

void PolySplitFlow::showSplit(const SplitResult& result, Run run, const QString& folder) {
    countSplit(result);
    const std::size_t reached = std::min(result.channels.size(), run.channels.size());
    for (std::size_t row = 0; row < reached; ++row) {
        run.channels[row].status = statusOf(result.channels[row]);
        run.channels[row].metadata = result.channels[row].metadata.word();
        run.channels[row].proof = result.channels[row].proofText();
    }
    const auto& shown = source_.polyFile.value();
    if (shown && shown->url == run.poly.url) { // else the list is another file's by now
        std::size_t row = 0;
        source_.channelItems.updateAll([&](ChannelItem& item) {
            if (row >= reached) return;
            item.status = run.channels[row].status;
            item.proof = run.channels[row].proof;
            item.metadata = run.channels[row++].metadata;
        });
    }
    if (reached < run.channels.size()) {
        services_.warning(
            kProcess, QStringLiteral("Split stopped after %1 of %2 channels").arg(reached).arg(run.channels.size()));
    } else if (result.errorCount > 0) {
        services_.warning(kProcess, QStringLiteral("Split finished with %1 errors").arg(result.errorCount));
    } else {
        services_.success(kProcess, QStringLiteral("Split complete: %1 files created").arg(result.createdCount));
    }
    if (!run.run.writesReport) return;
    services_.noteReport(writeSplitReport(run.poly, run.channels, run.options, result, folder));
}

void PolySplitFlow::runBatch() { startBatch(source_.selectedFiles.value(), std::nullopt); }

void PolySplitFlow::retry(const QStringList& urls) {
    if (urls.isEmpty() || !canRunBatch() || !source_.batchResults.value()) return;
    startBatch(urls, source_.batchResults.value());
}

void PolySplitFlow::startBatch(const std::optional<QStringList>& selected, std::optional<BatchSplitResult> before) {
    const QString folder = source_.splitOutputFolder.value();
    if (folder.isEmpty()) return services_.error(kProcess, QStringLiteral("Output folder required"));
    if (source_.sourceFolder.value().isEmpty() && !selected) {
        return services_.error(kProcess, QStringLiteral("Select files or folder to process"));
    }
    if (!services_.requireFFmpeg()) return;
    const PolyRun begun = beginRun();
    source_.isBatchProcessing = true;
    source_.batchProgress = std::nullopt;
    if (!before) source_.batchResults = std::nullopt;

    BatchSplitOptions options;
    options.sourceFolder = source_.sourceFolder.value();
    options.selectedFiles = selected;
    options.outputFolder = folder;
    options.recursive = source_.recursiveScan.value();
    options.namingPattern = split_.splitNamingPattern.value();
    options.folderOrganization = split_.folderOrganization.value();
    options.skipIfExists = state_.skipIfExists.value();
    options.overwriteExisting = state_.overwriteExisting.value();
    options.keepOriginalName = split_.splitKeepOriginalName.value();
    options.proves = state_.proves.value();
    options.conforms = state_.conforms();

    services_.info(kProcess,
                   selected
                       ? QStringLiteral("Starting batch split: %1 selected file(s)").arg(selected->size())
                       : QStringLiteral("Starting batch split from: ") + paths::lastComponent(options.sourceFolder));
    services_.info(kProcess, QStringLiteral("Output folder: ") + paths::lastComponent(folder));
    services_.info(kProcess, QStringLiteral("Folder organization: ") + rawText(options.folderOrganization));
    if (!selected) services_.info(kProcess, QStringLiteral("Recursive scan: ") + trueOrFalse(options.recursive));
    services_.run(batchSplit({options, begun, services_.begin(Task::batchSplit), std::move(before)}));
}

QCoro::Task<> PolySplitFlow::batchSplit(BatchRun run) {
    const auto progress = services_.follow(run.handle, [state = &state_, source = &source_](const BatchProgress& step) {
        source->batchProgress = step;
        state->currentProcessingItem = step.currentFile;
    });
    const auto work = [tools = services_.engineTools(), hooks = services_.hooks(run.handle), options = run.options,
                       progress] { return ostrel::batchSplit(options, tools, hooks, progress); };
    const auto [result, failure] = co_await services_.attempt(work);
    if (run.handle.isCancelled()) {
        if (result && state_.isLast(run.run)) countBatch(*result, run); // what was made until the stop
        co_return;
    }
    source_.isBatchProcessing = false;
    state_.isProcessing = false;
    if (result) {
        showBatch(*result, run);
    } else {
        services_.error(kProcess, QStringLiteral("Batch failed: ") + failure);
        state_.errorCount = 1;
    }
}

void PolySplitFlow::showBatch(const BatchSplitResult& result, const BatchRun& run) {
    services_.success(kProcess, QStringLiteral("Batch complete: %1 poly files → %2 ISOs")
                                    .arg(result.processedFiles)
                                    .arg(result.totalISOsCreated));
    countBatch(result, run);
}

void PolySplitFlow::countBatch(const BatchSplitResult& result, const BatchRun& run) {
    const BatchSplitResult whole = run.before ? withRetried(*run.before, result) : result;
    source_.batchResults = whole;
    state_.count(whole, whole.fileResults);
    if (run.run.writesReport) services_.noteReport(writeBatchSplitReport(run.options, whole));
}

} // namespace ostrel
