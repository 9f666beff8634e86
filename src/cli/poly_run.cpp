#include "cli/poly_run.h"

#include "cli/wait_for_tasks.h"

namespace ostrel::cli {

PolyRun::PolyRun(const PolyOptions& options, PolyMode mode, const char* job)
    : signals_([this] { controller_.stopProcessing(); }), options_(options), terminal_(options.terminal),
      controller_(desktop_), mode_(mode), job_(job) {}

int PolyRun::run() {
    const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
    if (!paths) return badUsage;
    QString wrong = problem(*paths);
    if (wrong.isEmpty() && !options_.output.empty() && paths::exists(output()) && !paths::isFolder(output())) {
        wrong = QStringLiteral("not a folder: ") + output();
    }
    if (!wrong.isEmpty()) {
        terminal_.error(wrong);
        return badUsage;
    }
    if (!requireFFmpeg(controller_.toolDetector(), terminal_)) return toolMissing;
    if (needsBwfmetaedit() && !controller_.bwfmetaeditAvailable.value()) {
        terminal_.error(QStringLiteral("bwfmetaedit was not found; \"ostrel-cli tools\" shows what was found where."));
        return toolMissing;
    }
    controller_.mode = mode_;
    controller_.skipIfExists = !options_.overwrite;
    controller_.overwriteExisting = options_.overwrite;
    controller_.generateCSV = options_.csv;
    controller_.recursiveScan = !options_.noSubfolders;
    controller_.joinRecursiveScan = !options_.noSubfolders;
    followController();
    work(*paths);
    if (terminal_.isJson()) {
        terminal_.document(document());
    } else {
        printResult();
    }
    if (isStopped()) return signals_.exitStatus();
    return failed_ || controller_.errorCount.value() > 0 ? someItemFailed : allDone;
}

void PolyRun::followController() {
    terminal_.follow(controller_.logEntries);
    QObject::connect(&controller_.logEntries, &RecordListSignals::rowsAppended, &controller_, [this](int, int last) {
        const ProcessingLogEntry& entry = controller_.logEntries[static_cast<std::size_t>(last)];
        // Lost metadata never fails an item.
        if (entry.level == LogLevel::error && entry.category != LogCategory::metadata) failed_ = true;
    });
    const auto share = [](int index, int total) { return total > 0 ? (index - 1.0) / total : -1.0; };
    watches_.push_back(controller_.splitProgress.addNotifier(
        [this] { terminal_.progress(controller_.splitProgress.value(), controller_.currentProcessingItem.value()); }));
    watches_.push_back(controller_.joinProgress.addNotifier(
        [this] { terminal_.progress(controller_.joinProgress.value(), controller_.currentProcessingItem.value()); }));
    watches_.push_back(controller_.batchProgress.addNotifier([this, share] {
        const auto& step = controller_.batchProgress.value();
        if (step) terminal_.progress(share(step->currentIndex, step->totalFiles), step->currentFile);
    }));
    watches_.push_back(controller_.batchJoinProgress.addNotifier([this, share] {
        const auto& step = controller_.batchJoinProgress.value();
        if (step) terminal_.progress(share(step->currentIndex, step->totalGroups), step->currentGroup);
    }));
    watches_.push_back(controller_.groupingProgress.addNotifier([this] {
        const auto& step = controller_.groupingProgress.value();
        if (step)
            terminal_.progress(static_cast<double>(step->first) / step->second,
                               QStringLiteral("Reading %1 of %2").arg(step->first).arg(step->second));
    }));
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
        result.push_back(jobItem(row.fileName, row.outcome));
    }
    return result;
}

nlohmann::json PolyRun::document() const {
    nlohmann::json result{{"job", job_},
                          {"tools", toolsDocument(controller_.toolDetector())},
                          {"items", items()},
                          {"summary", jobSummary(controller_.successCount.value(), controller_.skipCount.value(),
                                                 controller_.errorCount.value(), isStopped())},
                          {"csv", jsonTextOrNull(controller_.reportPath.value())}};
    addToDocument(result);
    return result;
}

void addPolyOptions(CLI::App& command, PolyOptions& options, const std::string& pathsDescription) {
    addPaths(command, options.paths, pathsDescription);
    command.add_option("--output", options.output, "Folder for the new files (default: that of the sources)");
    command.add_flag("--no-subfolders", options.noSubfolders, "Stay out of the folders' subfolders");
    command.add_flag("--overwrite", options.overwrite, "Replace outputs that are there already (default: skip them)");
    command.add_flag("--csv", options.csv, "Write a CSV report into the output folder");
    addTerminalOptions(command, options.terminal);
}

} // namespace ostrel::cli
