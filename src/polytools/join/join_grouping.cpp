#include "polytools/join/join_grouping.h"

#include "foundation/domain_error.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "polytools/grouping/iso_grouping_engine.h"

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

// What is to be grouped: a folder, folders, or files.
struct Pile {
    QString folder;
    QStringList selection;
    bool recursive = true;

    bool holdsFolders() const { return !selection.isEmpty() && paths::isFolder(selection.first()); }
};

GroupingResult groupPile(const ISOGroupingEngine& engine, const Pile& pile) {
    if (!pile.folder.isEmpty()) return engine.groupISOFilesInFolder(pile.folder, pile.recursive);
    if (pile.selection.isEmpty()) {
        throw DomainError(QStringLiteral("Grouping"), 1, QStringLiteral("No source folder or files selected"));
    }
    if (!pile.holdsFolders()) return engine.groupISOFiles(pile.selection);
    return engine.groupISOFilesInFolders(pile.selection, pile.recursive);
}

} // namespace

void JoinGrouping::scan() {
    const auto& selected = join_.selectedJoinFiles.value();
    if (join_.joinSourceFolder.value().isEmpty() && !selected) {
        return services_.error(kScan, QStringLiteral("Select files or folder to process"));
    }
    if (!state_.hasEngine()) {
        return services_.error(LogCategory::system, QStringLiteral("ffmpeg/ffprobe not available"));
    }
    join_.isScanningJoinISOs = true;
    if (!selected) {
        services_.info(kScan, QStringLiteral("🔍 Scanning folder for ISO groups..."));
    } else if (!selected->isEmpty() && paths::isFolder(selected->first())) {
        services_.info(kScan, QStringLiteral("Scanning %1 folder(s) for ISO groups...").arg(selected->size()));
    } else {
        services_.info(kScan, QStringLiteral("Scanning %1 ISO file(s)...").arg(selected->size()));
    }
    services_.run(group(services_.begin(Task::grouping)));
}

QCoro::Task<> JoinGrouping::group(TaskHandle handle) {
    GroupingHooks hooks;
    hooks.isStopped = [handle] { return handle.isCancelled(); };
    hooks.onFile = services_.follow(
        handle, [join = &join_](int done, int total) { join->groupingProgress = std::pair(done, total); });
    const PolyEngineTools tools = services_.engineTools();
    const ISOGroupingEngine engine(tools.ffprobePath, tools.bwfmetaeditPath, hooks, tools.answers);
    const Pile pile{join_.joinSourceFolder.value(), join_.selectedJoinFiles.value().value_or(QStringList()),
                    join_.joinRecursiveScan.value()};
    const auto work = [engine, pile] { return groupPile(engine, pile); };
    const auto [result, failure] = co_await services_.attempt(work);
    if (handle.isCancelled()) co_return;
    join_.isScanningJoinISOs = false;
    join_.groupingProgress = std::nullopt;
    if (result) {
        showGroups(*result);
    } else {
        services_.error(kScan, QStringLiteral("Grouping failed: ") + failure);
    }
}

void JoinGrouping::showGroups(const GroupingResult& result) {
    for (const QString& sentence : result.remarks) services_.warning(kScan, sentence);
    join_.groupingResult = result;
    join_.reviewedGroups.assign(result.groups);
    join_.ungroupedFiles.assign(result.ungroupedFiles);
    const bool isClear = result.groups.size() == 1 && result.ungroupedFiles.empty() &&
                         result.groups.front().isoFiles.size() >= 2 &&
                         result.groups.front().confidence == GroupConfidence::high;
    join_.usedSmartShortcut = isClear;
    join_.showGroupReview = !isClear;
    join_.batchJoinMode = !isClear;
    if (isClear) return onOneTake_(result.groups.front());
    services_.success(kScan, result.summary());
    for (const ISOGroupCandidate& group : result.groups) {
        const QString parts = group.partsText();
        if (!parts.isEmpty()) services_.info(kScan, QStringLiteral("%1: %2").arg(group.suggestedOutputName(), parts));
    }
    if (result.lowConfidenceCount > 0) {
        services_.warning(
            kScan, QStringLiteral("%1 groups have low confidence - please review").arg(result.lowConfidenceCount));
    }
}

} // namespace ostrel
