#include "polytools/edit/poly_edit_flow.h"

#include "foundation/run/recording_list.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "polytools/preview/poly_preview.h"
#include "polytools/records/poly_names.h"
#include "polytools/services/poly_tools_reports.h"

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
    return state_.channelRemovalFilter.value() || !state_.channelRemovalRenameMap.value().empty() ||
           state_.channelReorderMap.value();
}

bool PolyEditFlow::editsInPlace() const {
    return state_.editPolyEditInPlace.value() && !state_.channelReorderMap.value();
}

bool PolyEditFlow::canRunEditPoly() const {
    return hasAdvancedConfig() && selection_.hasSplitSourceContent() &&
           (editsInPlace() || !state_.splitOutputFolder.value().isEmpty());
}

QString PolyEditFlow::editPolyHelperText() const {
    const qsizetype polys = static_cast<qsizetype>(state_.batchPolyMetadata.size());
    if (polys == 0) return {};
    QStringList parts;
    if (state_.channelRemovalFilter.value()) parts << QStringLiteral("channel removal");
    if (state_.channelReorderMap.value()) parts << QStringLiteral("channel reorder");
    if (!state_.channelRemovalRenameMap.value().empty()) parts << QStringLiteral("track rename");
    if (parts.isEmpty()) return {};
    const QString edits = parts.join(QStringLiteral(" + "));
    if (editsInPlace())
        return QStringLiteral("%1 on %2 %3 (in place)").arg(edits).arg(polys).arg(plural("poly", polys));
    return QStringLiteral("%1 → %2 new %3").arg(edits).arg(polys).arg(plural("poly", polys));
}

void PolyEditFlow::initializeReorderFromChannelItems() {
    const int channels = state_.batchPolyMetadata.empty() ? static_cast<int>(state_.channelItems.size())
                                                          : state_.batchPolyMetadata[0].channelCount;
    std::vector<int> order(static_cast<std::size_t>(channels));
    std::iota(order.begin(), order.end(), 1);
    state_.channelReorderMap = order;
}

void PolyEditFlow::swapChannels(int row, int other) {
    ReorderList order = state_.channelReorderMap.value();
    if (!order || row < 0 || other < 0) return;
    const int count = static_cast<int>(order->size());
    if (row >= count || other >= count) return;
    std::swap((*order)[static_cast<std::size_t>(row)], (*order)[static_cast<std::size_t>(other)]);
    state_.channelReorderMap = order;
}

void PolyEditFlow::moveChannelUp(int row) { swapChannels(row, row - 1); }
void PolyEditFlow::moveChannelDown(int row) { swapChannels(row, row + 1); }

bool PolyEditFlow::mayRun(const QString& missingEdits, const QString& missingFolder) {
    if (!hasAdvancedConfig()) {
        services_.error(kProcess, missingEdits);
        return false;
    }
    if (editsInPlace() || !state_.splitOutputFolder.value().isEmpty()) return true;
    services_.error(kProcess, missingFolder);
    return false;
}

void PolyEditFlow::startEditPolyProcessing() {
    if (!mayRun(QStringLiteral("No edits configured — enable channel removal, rename, or reorder first"),
                QStringLiteral("Output folder required for this operation"))) {
        return;
    }
    services_.info(kProcess, editsInPlace() ? QStringLiteral("━━━ EDIT POLY (IN PLACE) ━━━")
                                            : QStringLiteral("━━━ EDIT POLY (SAVE TO OUTPUT) ━━━"));
    startBatchChannelRemoval();
}

void PolyEditFlow::startBatchChannelRemoval() {
    if (!mayRun(QStringLiteral("No edits configured — enable channel removal or rename first"),
                QStringLiteral("Output folder required"))) {
        return;
    }
    if (editsInPlace() && state_.channelRemovalFilter.value()) {
        services_.warning(
            kProcess, QStringLiteral("Channel removal requires rebuild — switch to \"Save to output folder\" mode"));
        if (state_.channelRemovalRenameMap.value().empty()) return; // nothing that may be done in place
    }
    BatchEditOptions options = makeOptions();
    if (options.files.isEmpty() && state_.sourceFolder.value().isEmpty()) {
        return services_.error(kProcess, QStringLiteral("Select files or folder to process"));
    }
    services_.run(run(std::move(options), state_.sourceFolder.value(), services_.begin(Task::channelFilter)));
}

BatchEditOptions PolyEditFlow::makeOptions() const {
    BatchEditOptions options;
    options.files = services_.eachOnce(state_.selectedFiles.value().value_or(QStringList()));
    const auto& poly = state_.polyFile.value();
    if (options.files.isEmpty() && state_.sourceFolder.value().isEmpty() && poly) options.files = {poly->url};
    options.inPlace = editsInPlace();
    options.filter = state_.channelRemovalFilter.value().value_or(ChannelFilterOptions());
    options.renames = state_.channelRemovalRenameMap.value();
    options.reorder = state_.channelReorderMap.value();
    options.outputFolder = state_.channelRemovalOutputSameFolder.value() ? QString() : state_.splitOutputFolder.value();
    options.customName = safeFileName(state_.channelRemovalCustomName.value());
    options.skipIfExists = state_.skipIfExists.value();
    options.overwriteExisting = state_.overwriteExisting.value();
    return options;
}

QCoro::Task<> PolyEditFlow::run(BatchEditOptions options, QString folder, TaskHandle handle) {
    if (options.files.isEmpty()) options.files = co_await findFiles(folder, handle);
    if (options.files.isEmpty() || handle.isCancelled()) co_return;
    if (!state_.ffmpegAvailable.value()) {
        services_.error(LogCategory::system, QStringLiteral("ffmpeg/ffprobe not available"));
        co_return;
    }
    state_.resetTotals();
    state_.isBatchProcessing = true;
    state_.isProcessing = true;
    state_.batchProgress = std::nullopt;
    state_.batchResults = std::nullopt;
    logRun(options);
    co_await edit(options, handle);
}

QCoro::Task<QStringList> PolyEditFlow::findFiles(QString folder, TaskHandle handle) {
    services_.info(LogCategory::scan, QStringLiteral("Scanning folder for WAV files..."));
    const auto work = [folder, recursive = state_.recursiveScan.value()] {
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

QCoro::Task<> PolyEditFlow::edit(BatchEditOptions options, TaskHandle handle) {
    const auto progress =
        services_.follow(handle, [state = &state_](const BatchProgress& step) { state->showBatchProgress(step); });
    const auto work = [options, progress, tools = services_.engineTools(), hooks = services_.hooks(handle)] {
        return batchEdit(options, tools, hooks, progress);
    };
    const BatchSplitResult result = co_await inBackground(services_.owner(), work);
    if (handle.isCancelled()) {
        if (state_.isCancelled.value()) countResults(result, options); // what was made until the stop
        co_return;
    }
    state_.isBatchProcessing = false;
    state_.isProcessing = false;
    showResults(result, options);
}

void PolyEditFlow::showResults(const BatchSplitResult& result, const BatchEditOptions& options) {
    services_.info(kProcess, QStringLiteral("━━━ BATCH COMPLETE ━━━"));
    services_.success(kProcess, QStringLiteral("%1 files").arg(result.successCount));
    countResults(result, options);
}

void PolyEditFlow::countResults(const BatchSplitResult& result, const BatchEditOptions& options) {
    state_.count(result);
    if (!state_.generateCSV.value()) return;
    const QString folder =
        options.inPlace || options.outputFolder.isEmpty() ? paths::parent(options.files.first()) : options.outputFolder;
    services_.noteReport(writeEditReport(state_, options.files, result, folder));
}

void PolyEditFlow::clearEditPolyData() {
    services_.cancel(Task::listing);
    state_.isScanningBatchFiles = false;
    state_.sourceFolder = QString();
    state_.selectedFiles = std::nullopt;
    state_.batchResults = std::nullopt;
    state_.batchProgress = std::nullopt;
    state_.channelRemovalFilter = std::nullopt;
    state_.channelRemovalRenameMap = RenameMap();
    state_.channelReorderMap = std::nullopt;
    state_.splitOutputFolder = QString();
    preview_.deck().clear();
    preview_.batch().cleanupBatchPreviewTempFiles();
    state_.batchPolyMetadata.clear();
    state_.selectedBatchPreviewIndex = std::nullopt;
    state_.expandedBatchPolyIndices = std::set<int>();
    state_.refreshSplitSections();
    services_.info(LogCategory::system, QStringLiteral("Cleared edit poly data - ready for new files"));
}

} // namespace ostrel
