#include "polytools/edit/poly_edit_flow.h"

#include "foundation/run/recording_list.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "polytools/preview/poly_preview.h"
#include "polytools/records/poly_names.h"
#include "polytools/records/retried.h"

#include <numeric>

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

QString joined(const std::vector<int>& numbers) {
    QStringList texts;
    for (const int number : numbers) texts << QString::number(number);
    return texts.join(QStringLiteral(", "));
}

} // namespace

bool PolyEditFlow::hasAdvancedConfig() const {
    return edit_.channelRemovalFilter.value() || !edit_.channelRemovalRenameMap.value().empty() ||
           edit_.channelReorderMap.value();
}

bool PolyEditFlow::canRun() const {
    return hasAdvancedConfig() && selection_.hasContent() &&
           (edit_.editsInPlace() || !source_.splitOutputFolder.value().isEmpty());
}

QString PolyEditFlow::editPolyHelperText() const {
    const qsizetype polys = static_cast<qsizetype>(source_.batchPolyMetadata.size());
    if (polys == 0) return {};
    QStringList parts;
    if (edit_.channelRemovalFilter.value()) parts << QStringLiteral("channel removal");
    if (edit_.channelReorderMap.value()) parts << QStringLiteral("channel reorder");
    if (!edit_.channelRemovalRenameMap.value().empty()) parts << QStringLiteral("track rename");
    if (parts.isEmpty()) return {};
    const QString edits = parts.join(QStringLiteral(" + "));
    if (edit_.editsInPlace())
        return QStringLiteral("%1 on %2 %3 (in place)").arg(edits).arg(polys).arg(plural("poly", polys));
    return QStringLiteral("%1 → %2 new %3").arg(edits).arg(polys).arg(plural("poly", polys));
}

void PolyEditFlow::initializeReorderFromChannelItems() {
    const int channels = source_.batchPolyMetadata.empty() ? static_cast<int>(source_.channelItems.size())
                                                           : source_.batchPolyMetadata[0].channelCount;
    std::vector<int> order(static_cast<std::size_t>(channels));
    std::iota(order.begin(), order.end(), 1);
    edit_.channelReorderMap = order;
}

void PolyEditFlow::swapChannels(int row, int other) {
    ReorderList order = edit_.channelReorderMap.value();
    if (!order || row < 0 || other < 0) return;
    const int count = static_cast<int>(order->size());
    if (row >= count || other >= count) return;
    std::swap((*order)[static_cast<std::size_t>(row)], (*order)[static_cast<std::size_t>(other)]);
    edit_.channelReorderMap = order;
}

void PolyEditFlow::moveChannelUp(int row) { swapChannels(row, row - 1); }
void PolyEditFlow::moveChannelDown(int row) { swapChannels(row, row + 1); }

bool PolyEditFlow::mayRun(const QString& missingEdits, const QString& missingFolder) {
    if (!hasAdvancedConfig()) {
        services_.error(kProcess, missingEdits);
        return false;
    }
    if (edit_.editsInPlace() || !source_.splitOutputFolder.value().isEmpty()) return true;
    services_.error(kProcess, missingFolder);
    return false;
}

void PolyEditFlow::run() {
    if (!mayRun(QStringLiteral("No edits configured — enable channel removal, rename, or reorder first"),
                QStringLiteral("Output folder required for this operation"))) {
        return;
    }
    services_.info(kProcess, edit_.editsInPlace() ? QStringLiteral("━━━ EDIT POLY (IN PLACE) ━━━")
                                                  : QStringLiteral("━━━ EDIT POLY (SAVE TO OUTPUT) ━━━"));
    startBatchChannelRemoval();
}

void PolyEditFlow::startBatchChannelRemoval() {
    if (!mayRun(QStringLiteral("No edits configured — enable channel removal or rename first"),
                QStringLiteral("Output folder required"))) {
        return;
    }
    if (edit_.editsInPlace() && edit_.channelRemovalFilter.value()) {
        services_.warning(
            kProcess, QStringLiteral("Channel removal requires rebuild — switch to \"Save to output folder\" mode"));
        if (edit_.channelRemovalRenameMap.value().empty()) return; // nothing that may be done in place
    }
    BatchEditOptions options = makeOptions();
    if (options.files.isEmpty() && source_.sourceFolder.value().isEmpty()) {
        return services_.error(kProcess, QStringLiteral("Select files or folder to process"));
    }
    const QString folder = source_.selectedFiles.value() ? QString() : source_.sourceFolder.value();
    const ReportSource source{folder, options.files};
    services_.run(runOver(
        {std::move(options), source, {0, state_.generateCSV.value()}, services_.begin(Task::channelFilter), {}}));
}

void PolyEditFlow::retry(const QStringList& urls) {
    const auto& before = source_.batchResults.value();
    if (urls.isEmpty() || !before || state_.isProcessing.value()) return;
    if (!mayRun(QStringLiteral("No edits configured — enable channel removal or rename first"),
                QStringLiteral("Output folder required"))) {
        return;
    }
    BatchEditOptions options = makeOptions();
    options.files = urls;
    if (before->fileResults.size() > 1) options.customName.clear(); // the name of one is no name in a batch
    const ReportSource source{{}, urls};
    services_.run(runOver(
        {std::move(options), source, {0, state_.generateCSV.value()}, services_.begin(Task::channelFilter), before}));
}

BatchEditOptions PolyEditFlow::makeOptions() const {
    BatchEditOptions options;
    options.files = services_.eachOnce(source_.selectedFiles.value().value_or(QStringList()));
    const auto& poly = source_.polyFile.value();
    if (options.files.isEmpty() && source_.sourceFolder.value().isEmpty() && poly) options.files = {poly->url};
    options.inPlace = edit_.editsInPlace();
    options.filter = edit_.channelRemovalFilter.value().value_or(ChannelFilterOptions());
    options.renames = edit_.channelRemovalRenameMap.value();
    options.reorder = edit_.channelReorderMap.value();
    options.outputFolder = edit_.channelRemovalOutputSameFolder.value() ? QString() : source_.splitOutputFolder.value();
    options.customName = safeFileName(edit_.channelRemovalCustomName.value());
    options.skipIfExists = state_.skipIfExists.value();
    options.overwriteExisting = state_.overwriteExisting.value();
    options.proves = state_.proves.value();
    options.conforms = state_.conforms();
    return options;
}

QCoro::Task<> PolyEditFlow::runOver(Run run) {
    if (run.options.files.isEmpty()) run.options.files = co_await findFiles(source_.sourceFolder.value(), run.handle);
    if (run.options.files.isEmpty() || run.handle.isCancelled()) co_return;
    if (!state_.hasEngine()) {
        services_.error(LogCategory::system, QStringLiteral("ffmpeg/ffprobe not available"));
        co_return;
    }
    run.run.number = state_.beginRun().number;
    source_.isBatchProcessing = true;
    state_.isProcessing = true;
    source_.batchProgress = std::nullopt;
    if (!run.before) source_.batchResults = std::nullopt;
    logRun(run.options);
    co_await edit(run);
}

QCoro::Task<QStringList> PolyEditFlow::findFiles(QString folder, TaskHandle handle) {
    services_.info(LogCategory::scan, QStringLiteral("Scanning folder for WAV files..."));
    const auto work = [folder, recursive = source_.recursiveScan.value()] {
        return collectRecordings({folder}, recursive, {QStringLiteral("wav")});
    };
    const CollectedRecordings found = co_await inBackground(services_.owner(), work);
    if (handle.isCancelled()) co_return QStringList();
    if (!found.unopened.isEmpty()) {
        services_.error(LogCategory::scan, QStringLiteral("Failed to scan folder: Failed to enumerate folder"));
        co_return QStringList();
    }
    for (const QString& sentence : found.remarks) services_.warning(LogCategory::scan, sentence);
    if (found.files.isEmpty()) {
        services_.error(LogCategory::scan, QStringLiteral("No WAV files found in folder"));
    } else {
        services_.info(LogCategory::scan, QStringLiteral("Found %1 WAV files").arg(found.files.size()));
    }
    co_return found.files;
}

void PolyEditFlow::logRun(const BatchEditOptions& options) {
    services_.info(kProcess, options.inPlace ? QStringLiteral("━━━ IN-PLACE PROCESSING ━━━")
                                             : QStringLiteral("━━━ EDIT POLY PROCESSING ━━━"));
    services_.info(kProcess, QStringLiteral("Files: %1").arg(options.files.size()));
    const bool besideSources = options.inPlace || options.outputFolder.isEmpty();
    services_.info(kProcess, besideSources ? QStringLiteral("Output: In place (source folder)")
                                           : QStringLiteral("Output: ") + paths::lastComponent(options.outputFolder));
    if (!options.inPlace && !options.filter.selectedChannelIndices.empty()) {
        services_.info(kProcess, QStringLiteral("Filter: Remove channel numbers: ") +
                                     joinedNumbers(options.filter.selectedChannelIndices));
    } else if (!options.inPlace && !options.filter.nameContainsFilter.isEmpty()) {
        services_.info(kProcess,
                       QStringLiteral("Filter: Remove tracks containing '%1'").arg(options.filter.nameContainsFilter));
    }
    if (!options.renames.empty()) {
        services_.info(kProcess, QStringLiteral("Rename: %1 channel(s) will be renamed").arg(options.renames.size()));
    }
    if (options.reorder) services_.info(kProcess, QStringLiteral("Reorder: ") + joined(*options.reorder));
}

QCoro::Task<> PolyEditFlow::edit(Run run) {
    const auto progress = services_.follow(run.handle, [state = &state_, source = &source_](const BatchProgress& step) {
        source->batchProgress = step;
        state->currentProcessingItem = step.currentFile;
    });
    const auto work = [options = run.options, progress, tools = services_.engineTools(),
                       hooks = services_.hooks(run.handle)] { return batchEdit(options, tools, hooks, progress); };
    const BatchSplitResult result = co_await inBackground(services_.owner(), work);
    if (run.handle.isCancelled()) {
        if (state_.isLast(run.run)) countResults(result, run); // what was made until the stop
        co_return;
    }
    source_.isBatchProcessing = false;
    state_.isProcessing = false;
    showResults(result, run);
}

void PolyEditFlow::showResults(const BatchSplitResult& result, const Run& run) {
    services_.info(kProcess, QStringLiteral("━━━ BATCH COMPLETE ━━━"));
    services_.success(kProcess, QStringLiteral("%1 files").arg(result.successCount));
    countResults(result, run);
}

void PolyEditFlow::countResults(const BatchSplitResult& result, const Run& run) {
    const BatchSplitResult whole = run.before ? withRetried(*run.before, result) : result;
    source_.batchResults = whole;
    state_.count(whole, whole.fileResults);
    if (!run.run.writesReport) return;
    const BatchEditOptions& options = run.options;
    const QString folder =
        options.inPlace || options.outputFolder.isEmpty() ? paths::parent(options.files.first()) : options.outputFolder;
    services_.noteReport(writeEditReport(run.source, options, whole, folder));
}

void PolyEditFlow::clear() {
    services_.cancel(Task::listing);
    source_.isScanningBatchFiles = false;
    source_.sourceFolder = QString();
    source_.selectedFiles = std::nullopt;
    source_.batchResults = std::nullopt;
    source_.batchProgress = std::nullopt;
    edit_.channelRemovalFilter = std::nullopt;
    edit_.channelRemovalRenameMap = RenameMap();
    edit_.channelReorderMap = std::nullopt;
    source_.splitOutputFolder = QString();
    preview_.deck().clear();
    preview_.batch().cleanupBatchPreviewTempFiles();
    source_.batchPolyMetadata.clear();
    preview_.batch().selectNoPoly();
    source_.expandedBatchPolyIndices = std::set<int>();
    source_.refreshSplitSections();
    services_.info(LogCategory::system, QStringLiteral("Cleared edit poly data - ready for new files"));
}

} // namespace ostrel
