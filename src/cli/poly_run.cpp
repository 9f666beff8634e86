#include "cli/poly_run.h"

#include "cli/wait_for_tasks.h"

namespace ostrel::cli {

PolyRun::PolyRun(const JobOptions& options, PolyMode mode, const char* job)
    : JobRun(options, job), controller_(desktop_), mode_(mode) {}

QString PolyRun::problem(const QStringList& paths) {
    if (options_.conformsHeaders && engineOf(options_) != EngineChoice::direct) {
        return QStringLiteral("--conform-headers goes with --engine direct");
    }
    return JobRun::problem(paths);
}

QString PolyRun::take(const QStringList&) {
    controller_.mode = mode_;
    controller_.skipIfExists = !options_.overwrite;
    controller_.overwriteExisting = options_.overwrite;
    controller_.generateCSV = options_.csv;
    controller_.engine = engineOf(options_);
    controller_.proves = options_.proof;
    controller_.conformsHeaders = options_.conformsHeaders;
    controller_.recursiveScan = !options_.noSubfolders;
    controller_.joinRecursiveScan = !options_.noSubfolders;
    followProgress();
    return {};
}

void PolyRun::followProgress() {
    const auto share = [](int index, int total) { return total > 0 ? (index - 1.0) / total : -1.0; };
    const auto show = [this](double fraction) {
        terminal_.progress(fraction, controller_.currentProcessingItem.value());
    };
    watch(controller_.splitProgress, [this, show] { show(controller_.splitProgress.value()); });
    watch(controller_.joinProgress, [this, show] { show(controller_.joinProgress.value()); });
    watch(controller_.batchProgress, [this, share] {
        const auto& step = controller_.batchProgress.value();
        if (step) terminal_.progress(share(step->currentIndex, step->totalFiles), step->currentFile);
    });
    watch(controller_.batchJoinProgress, [this, share] {
        const auto& step = controller_.batchJoinProgress.value();
        if (step) terminal_.progress(share(step->currentIndex, step->totalGroups), step->currentGroup);
    });
    watch(controller_.groupingProgress, [this] {
        const auto& step = controller_.groupingProgress.value();
        if (step)
            terminal_.progress(static_cast<double>(step->first) / step->second,
                               QStringLiteral("Reading %1 of %2").arg(step->first).arg(step->second));
    });
}

void PolyRun::select(const QStringList& paths) {
    controller_.applyIntelligentModeDetection(paths, mode_);
    wait();
}

void PolyRun::wait() { waitForTasks(controller_); }

QString PolyRun::defaultFolder(const QStringList& paths) const {
    return paths::isFolder(paths.first()) ? paths.first() : paths::parent(paths.first());
}

nlohmann::json PolyRun::batchItems() const {
    nlohmann::json result = nlohmann::json::array();
    const auto& results = controller_.batchResults.value();
    if (!results) return result;
    for (const PolyFileResult& row : results->fileResults) {
        result.push_back(itemDocument(row.fileName, row.outcome));
    }
    return result;
}

JobCounts PolyRun::counts() const {
    return {controller_.successCount.value(), controller_.skipCount.value(), controller_.errorCount.value()};
}

std::vector<ItemOutcome> PolyRun::outcomes() const {
    std::vector<ItemOutcome> result;
    if (const auto& batch = controller_.batchResults.value()) {
        for (const PolyFileResult& row : batch->fileResults) result.push_back(row.outcome);
    } else if (const auto& joins = controller_.batchJoinResults.value()) {
        for (const GroupJoinResult& row : joins->groupResults) result.push_back(row.outcome);
    } else if (const auto& single = controller_.lastOutcome.value()) {
        result.push_back(*single);
    }
    return result;
}

void addPolyOptions(CLI::App& command, JobOptions& options, const std::string& pathsDescription) {
    addPaths(command, options.paths, pathsDescription);
    command.add_option("--output", options.output, "Folder for the new files (default: that of the sources)");
    addSubfoldersOption(command, options);
    addOverwriteOption(command, options);
    addEngineOption(command, options);
    addProofOption(command, options);
    addSealOption(command, options);
    command.add_flag("--conform-headers", options.conformsHeaders,
                     "With --engine direct: heads as editing systems read them: Description lines ended by CR LF, of "
                     "the file's own tracks alone, and FILE_SET_INDEX a number");
    command.add_flag("--csv", options.csv, "Write a CSV report into the output folder");
    addTerminalOptions(command, options.terminal);
}

} // namespace ostrel::cli
