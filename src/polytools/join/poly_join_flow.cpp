#include "polytools/join/poly_join_flow.h"

#include "foundation/run/run_ledger.h"
#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "polytools/join/batch_join.h"
#include "polytools/join/poly_join_engine.h"
#include "polytools/preview/poly_preview.h"
#include "polytools/records/iso_ordering.h"
#include "polytools/records/poly_names.h"

#include <algorithm>

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

QStringList urlsOf(const RecordList<ISOFile>& files) {
    QStringList urls;
    for (const ISOFile& file : files) urls << file.url;
    return urls;
}

// With all parts of each.
QStringList filesOf(const RecordList<ISOFile>& isos) {
    QStringList files;
    for (const ISOFile& iso : isos) files << iso.files();
    return files;
}

} // namespace

void PolyJoinFlow::selectISOFiles() {
    if (state_.mode.value() != PolyMode::join) {
        return services_.error(
            kScan,
            QStringLiteral("selectISOFiles() called in wrong mode (current: %1)").arg(rawText(state_.mode.value())));
    }
    OpenPanelRequest request;
    request.allowsMultipleSelection = true;
    request.message = QStringLiteral("Select mono WAV files to join into a poly file");
    request.allowedExtensions = {QStringLiteral("wav")};
    const QStringList chosen = services_.desktop().showOpenPanel(request);
    if (chosen.isEmpty()) return;
    loading_.start(urlsOf(join_.isoFiles) + chosen, join_.isoFiles.rows());
}

void PolyJoinFlow::applyJoinModeDetection(const QStringList& folders, const QStringList& files) {
    if (folders.size() == 1) {
        join_.joinSourceFolder = folders.first();
        join_.selectedJoinFiles = std::nullopt;
        services_.info(kScan, QStringLiteral("Join source folder selected: ") + paths::lastComponent(folders.first()));
    } else if (!folders.isEmpty()) {
        join_.selectedJoinFiles = folders;
        join_.joinSourceFolder = QString();
        services_.info(kScan, QStringLiteral("Selected %1 folder(s) for joining").arg(folders.size()));
    } else if (files.size() == 1) {
        join_.selectedJoinFiles = files;
        join_.joinSourceFolder = QString();
        return analyzeISOFiles(files);
    } else if (!files.isEmpty()) {
        join_.selectedJoinFiles = files;
        join_.joinSourceFolder = QString();
        services_.info(kScan, QStringLiteral("Selected %1 ISO file(s)").arg(files.size()));
    } else {
        return;
    }
    scanAndGroupISOs();
}

// The ISOs of a selection are published; what follows from them is this flow's.
void PolyJoinFlow::takeLoaded() {
    join_.joinOutputName = suggestedName();
    preview_.join().updatePreviewMix();
}

void PolyJoinFlow::moveISO(int row, int to) {
    const int count = static_cast<int>(join_.isoFiles.size());
    if (row < 0 || to < 0 || row >= count || to >= count || row == to) return;
    std::vector<ISOFile> files = join_.isoFiles.rows();
    const auto from = files.begin() + row;
    row < to ? std::rotate(from, from + 1, files.begin() + to + 1) : std::rotate(files.begin() + to, from, from + 1);
    numberChannels(files);
    // The metadata goes on coming from the same file.
    const int reference = join_.referenceISOIndex.value();
    if (reference == row) {
        join_.referenceISOIndex = to;
    } else if (row < reference && reference <= to) {
        join_.referenceISOIndex = reference - 1;
    } else if (to <= reference && reference < row) {
        join_.referenceISOIndex = reference + 1;
    }
    join_.isoFiles.assign(std::move(files));
    preview_.join().updatePreviewMix();
}

void PolyJoinFlow::moveISOUp(int row) { moveISO(row, row - 1); }
void PolyJoinFlow::moveISODown(int row) { moveISO(row, row + 1); }

void PolyJoinFlow::updateChannelIndices() {
    int number = 0;
    join_.isoFiles.updateAll([&](ISOFile& file) { file.channelIndex = ++number; });
}

void PolyJoinFlow::setAllSelected(bool isSelected) {
    join_.isoFiles.updateAll([&](ISOFile& file) { file.isSelected = isSelected; });
    preview_.join().updatePreviewMix();
}

void PolyJoinFlow::setSelected(int row, bool isSelected) {
    join_.isoFiles.update(static_cast<std::size_t>(row), [&](ISOFile& file) { file.isSelected = isSelected; });
    preview_.join().updatePreviewMix();
}

void PolyJoinFlow::selectOutputFolder() {
    const QString folder = services_.chooseFolder(QStringLiteral("Select folder where poly files will be created"));
    if (!folder.isEmpty()) join_.joinOutputFolder = folder;
}

void PolyJoinFlow::clearOutputFolder() {
    const auto& isos = join_.isoFiles;
    join_.joinOutputFolder = isos.empty() ? QString() : paths::parent(isos[0].url);
}

QString PolyJoinFlow::suggestedName() const {
    const bool keep = join_.joinKeepOriginalName.value();
    if (join_.usedSmartShortcut.value() && join_.groupingResult.value()) {
        return groupOutputName(join_.groupingResult.value()->groups.front(), keep);
    }
    return derivePolyName(urlsOf(join_.isoFiles), keep);
}

// A name that was suggested follows; one that a person typed stays.
void PolyJoinFlow::setKeepOriginalName(bool keep) {
    const bool isSuggested = join_.joinOutputName.value() == suggestedName();
    join_.joinKeepOriginalName = keep;
    if (isSuggested) join_.joinOutputName = suggestedName();
}

void PolyJoinFlow::setReviewsGroups(bool isOn) {
    if (isOn == join_.showGroupReview.value() || !join_.usedSmartShortcut.value()) return;
    join_.showGroupReview = isOn;
    join_.batchJoinMode = isOn;
    preview_.deck().clear(); // it held the other list
}

bool PolyJoinFlow::canRun() const {
    const auto selected = std::ranges::count_if(join_.isoFiles.rows(), &ISOFile::isSelected);
    return state_.hasEngine() && selected >= 2 && !join_.joinOutputName.value().isEmpty() &&
           !state_.isProcessing.value();
}

bool PolyJoinFlow::canRunBatch() const {
    return state_.hasEngine() && !join_.reviewedGroups.empty() && !join_.joinOutputFolder.value().isEmpty() &&
           !join_.isBatchJoining.value();
}

bool PolyJoinFlow::hasContent() const {
    const auto& selected = join_.selectedJoinFiles.value();
    return !join_.joinSourceFolder.value().isEmpty() || (selected && !selected->isEmpty()) || !join_.isoFiles.empty();
}

JoinOptions PolyJoinFlow::joinOptions() const {
    JoinOptions options;
    options.channelLayout = join_.joinChannelLayout.value();
    options.skipIfExists = state_.skipIfExists.value();
    options.overwriteExisting = state_.overwriteExisting.value();
    options.keepOriginalName = join_.joinKeepOriginalName.value();
    options.strict = join_.joinStrict.value();
    options.downmix = join_.joinDownmix.value();
    options.proves = state_.proves.value();
    options.conforms = state_.conforms();
    return options;
}

PolyJoinFlow::Run PolyJoinFlow::makeRun(const PolyRun& run, const TaskHandle& handle) const {
    const ReportSource source{join_.joinSourceFolder.value(), join_.selectedJoinFiles.value().value_or(QStringList())};
    return {joinOptions(), join_.joinOutputFolder.value(), source, run, handle};
}

void PolyJoinFlow::run() {
    std::vector<ISOFile> isos;
    for (const ISOFile& file : join_.isoFiles) {
        if (file.isSelected) isos.push_back(file);
    }
    QString name = safeFileName(join_.joinOutputName.value());
    const QString folder = join_.joinOutputFolder.value();
    if (isos.size() < 2) return services_.error(kProcess, QStringLiteral("Need at least 2 files to join"));
    if (name.isEmpty()) return services_.error(kProcess, QStringLiteral("Output name required"));
    if (folder.isEmpty()) return services_.error(kProcess, QStringLiteral("Output folder required"));
    if (!services_.requireFFmpeg()) return;
    const PolyRun begun = state_.beginRun();
    if (!mayMix(isos)) return;
    state_.isProcessing = true;
    join_.isJoining = true;
    join_.joinProgress = 0;
    const bool isWav = name.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive);
    name = isWav ? fittedFileName(name.chopped(4), name.last(4)) : fittedFileName(name, QStringLiteral(".wav"));
    services_.info(kProcess, QStringLiteral("Starting join: %1 files → %2").arg(isos.size()).arg(name));

    std::ranges::stable_sort(isos, {}, &ISOFile::channelIndex);
    Run run = makeRun(begun, services_.begin(Task::join));
    run.options.downmix = true; // asked above
    const int reference = join_.referenceISOIndex.value();
    if (reference >= 0 && reference < static_cast<int>(join_.isoFiles.size())) {
        run.options.referenceISO = join_.isoFiles[static_cast<std::size_t>(reference)];
    }
    services_.run(join(isos, paths::append(folder, name), run));
}

// Everything in the selection is protected, joined or not.
PolyEngineHooks PolyJoinFlow::hooksOfRun(const TaskHandle& handle) const {
    QStringList sources = filesOf(join_.isoFiles) + filesOf(join_.ungroupedFiles);
    for (const ISOGroupCandidate& group : join_.reviewedGroups) sources << group.files();
    PolyEngineHooks hooks = services_.hooks(handle);
    hooks.ledger = std::make_shared<RunLedger>(sources);
    return hooks;
}

// Whether files of several channels may be mixed to one: on the terminal an option says so, in the window a person.
bool PolyJoinFlow::mayMix(const std::vector<ISOFile>& isos) {
    QStringList names;
    for (const ISOFile& iso : isos) {
        if (iso.channelCount > 1) names << QStringLiteral("%1 (%2 channels)").arg(iso.fileName).arg(iso.channelCount);
    }
    if (names.isEmpty() || join_.joinDownmix.value()) return true;
    AlertRequest alert;
    alert.style = AlertRequest::Style::warning;
    alert.title = QStringLiteral("Not all files are mono");
    alert.text = QStringLiteral("%1 would be mixed to one channel each, which can't be undone in the poly.")
                     .arg(names.join(QStringLiteral(", ")));
    alert.buttons = {QStringLiteral("Mix to One Channel"), QStringLiteral("Cancel")};
    alert.defaultButton = 1;
    if (services_.desktop().showAlert(alert) == 0) return true;
    const QString why = QStringLiteral("A join takes mono files: ") + names.join(QStringLiteral(", "));
    services_.error(kProcess, why);
    state_.errorCount = 1;
    state_.lastOutcome = ItemOutcome::failure(why, filesOf(join_.isoFiles));
    return false;
}

QCoro::Task<> PolyJoinFlow::join(std::vector<ISOFile> isos, QString outputURL, Run run) {
    const PolyJoinEngine engine(services_.engineTools(), hooksOfRun(run.handle));
    const auto progress =
        services_.follow(run.handle, [state = &state_, join = &join_](double fraction, const QString& step) {
            join->joinProgress = fraction;
            state->currentProcessingItem = step;
        });
    const auto work = [engine, isos, outputURL, options = run.options, progress] {
        files::createFolder(paths::parent(outputURL));
        return engine.join(isos, outputURL, options, progress);
    };
    const auto [result, failure] = co_await services_.attempt(work);
    // A stopped join was finished all the same; a run that began meanwhile has the totals.
    if (run.handle.isCancelled() && !state_.isLast(run.run)) co_return;
    if (!failure.isEmpty()) services_.error(kProcess, failure);
    showJoin(result ? result->outcome : ItemOutcome::failure(failure, {}), isos, outputURL, run);
    if (run.handle.isCancelled()) co_return;
    state_.isProcessing = false;
    join_.isJoining = false;
}

void PolyJoinFlow::showJoin(ItemOutcome outcome, const std::vector<ISOFile>& isos, const QString& outputURL,
                            const Run& run) {
    if (outcome.succeeded()) {
        state_.successCount = 1;
        services_.success(kProcess, QStringLiteral("Join complete: ") + paths::lastComponent(outputURL));
    } else if (outcome.skipped()) {
        state_.skipCount = 1;
    } else {
        state_.errorCount = 1;
        outcome.status = ProcessingStatus::failed(QStringLiteral("Join operation failed"));
        services_.error(kProcess, QStringLiteral("Join failed"));
    }
    state_.createdFiles = outcome.outputs;
    state_.lastOutcome = outcome;
    if (!run.run.writesReport) return;
    services_.noteReport(writeJoinReport(run.source, run.options, isos, outputURL, outcome, paths::parent(outputURL)));
}

void PolyJoinFlow::runBatch() {
    const std::vector<ISOGroupCandidate> groups = join_.reviewedGroups.rows();
    if (groups.empty()) return services_.error(kProcess, QStringLiteral("No groups to process"));
    if (join_.joinOutputFolder.value().isEmpty())
        return services_.error(kProcess, QStringLiteral("Output folder required"));
    if (!services_.requireFFmpeg()) return;
    const PolyRun begun = state_.beginRun();
    state_.isProcessing = true;
    join_.isBatchJoining = true;
    join_.batchJoinProgress = std::nullopt;
    join_.batchJoinResults = std::nullopt;
    services_.info(kProcess, QStringLiteral("Starting batch join: %1 groups").arg(groups.size()));
    services_.run(batchJoin(groups, makeRun(begun, services_.begin(Task::batchJoin))));
}

QCoro::Task<> PolyJoinFlow::batchJoin(std::vector<ISOGroupCandidate> groups, Run run) {
    const auto progress = services_.follow(run.handle, [state = &state_, join = &join_](const BatchJoinProgress& step) {
        join->batchJoinProgress = step;
        state->currentProcessingItem = step.currentGroup;
    });
    const auto work = [tools = services_.engineTools(), hooks = hooksOfRun(run.handle), groups, folder = run.folder,
                       options = run.options, progress] {
        files::createFolder(folder);
        return ostrel::batchJoin(groups, folder, options, tools, hooks, progress);
    };
    const auto [result, failure] = co_await services_.attempt(work);
    if (run.handle.isCancelled()) {
        if (result && state_.isLast(run.run)) countBatchJoin(*result, groups, run); // what was made until the stop
        co_return;
    }
    if (result) {
        showBatchJoin(*result, groups, run);
    } else {
        services_.error(kProcess, QStringLiteral("Batch join failed: ") + failure);
        state_.errorCount = 1;
    }
    join_.isBatchJoining = false;
    state_.isProcessing = false;
}

void PolyJoinFlow::countBatchJoin(const BatchJoinResult& result, const std::vector<ISOGroupCandidate>& groups,
                                  const Run& run) {
    join_.batchJoinResults = result;
    state_.count(result, result.groupResults);
    if (run.run.writesReport) {
        services_.noteReport(writeBatchJoinReport(run.source, run.options, groups, result, run.folder));
    }
}

void PolyJoinFlow::showBatchJoin(const BatchJoinResult& result, const std::vector<ISOGroupCandidate>& groups,
                                 const Run& run) {
    services_.success(kProcess, QStringLiteral("Batch join complete: %1 groups → %2 polys")
                                    .arg(result.processedGroups)
                                    .arg(result.totalPolysCreated));
    if (result.errorCount > 0)
        services_.warning(kProcess, QStringLiteral("%1 groups had errors").arg(result.errorCount));
    countBatchJoin(result, groups, run);
}

void PolyJoinFlow::clear() {
    services_.cancel(Task::isoAnalysis);
    services_.cancel(Task::grouping);
    join_.isScanningJoinISOs = false;
    join_.isoFiles.clear();
    join_.joinOutputName = QString();
    join_.referenceISOIndex = 0;
    join_.isoOrderingMethod = IsoOrdering::none;
    join_.joinSourceFolder = QString();
    join_.selectedJoinFiles = std::nullopt;
    join_.groupingResult = std::nullopt;
    join_.reviewedGroups.clear();
    join_.ungroupedFiles.clear();
    join_.batchJoinResults = std::nullopt;
    join_.batchJoinProgress = std::nullopt;
    join_.usedSmartShortcut = false;
    join_.showGroupReview = false;
    preview_.deck().clear();
    services_.info(LogCategory::system, QStringLiteral("Cleared join data - ready for new files"));
}

// One take beyond doubt: nothing to review, so it goes the way of a single join.
void PolyJoinFlow::takeShortcut(const ISOGroupCandidate& group) {
    loading_.publish(group.sortedISOs());
    join_.joinOutputName = suggestedName();
    const QString take = !group.scene.isEmpty() && !group.take.isEmpty()
                             ? QStringLiteral("%1-T%2").arg(group.scene, group.take)
                             : group.suggestedOutputName();
    services_.success(kScan, QStringLiteral("✅ Detected 1 group: %1 (%2 ISOs)").arg(take).arg(group.isoFiles.size()));
    if (!group.partsText().isEmpty()) services_.info(kScan, group.partsText());
    services_.info(kScan,
                   QStringLiteral("Tip: Click 'Show details' or enable 'Review groups before joining' to see full "
                                  "grouping info"));
    preview_.join().updatePreviewMix();
}

} // namespace ostrel
