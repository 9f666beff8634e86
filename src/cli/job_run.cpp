#include "cli/job_run.h"

#include <QScopeGuard>

namespace ostrel::cli {

void addSubfoldersOption(CLI::App& command, JobOptions& options) {
    command.add_flag("--no-subfolders", options.noSubfolders, "Stay out of the folders' subfolders");
}

void addEngineOption(CLI::App& command, JobOptions& options) {
    command
        .add_option("--engine", options.engine,
                    "ffmpeg, or direct: this program copies the samples itself, many times faster and without a change "
                    "to any of them (plain WAV files; others go by way of ffmpeg)")
        ->check(CLI::IsMember({"ffmpeg", "direct"}))
        ->envname("OSTREL_ENGINE")
        ->capture_default_str();
}

void addProofOption(CLI::App& command, JobOptions& options) {
    command.add_flag("--proof", options.proof,
                     "Read every new file back from the disk and compare each channel with what was read of its "
                     "source; an item that differs fails, and its sources stay");
}

EngineChoice engineOf(const JobOptions& options) {
    return engineNamed(QString::fromStdString(options.engine)).value_or(EngineChoice::ffmpeg);
}

void addOverwriteOption(CLI::App& command, JobOptions& options) {
    command.add_flag("--overwrite", options.overwrite, "Replace outputs that are there already (default: skip them)");
}

JobRun::JobRun(const JobOptions& options, std::string job)
    : signals_([this] { stop(); }), options_(options), terminal_(options.terminal), job_(std::move(job)) {}

int JobRun::run() {
    const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
    if (!paths) return badUsage;
    const auto isWrong = [this](const QString& sentence) {
        if (!sentence.isEmpty()) terminal_.error(sentence);
        return !sentence.isEmpty();
    };
    if (isWrong(problem(*paths))) return badUsage;
    if (!requireTools()) return toolMissing;
    followLog();
    const auto unwatch = qScopeGuard([this] { watches_.clear(); }); // a controller that goes is watched no more
    if (isWrong(take(*paths))) return badUsage;
    work(*paths);
    if (terminal_.isJson()) {
        nlohmann::json document = jobDocument(job_, toolDetector(), counts(), isStopped(), reportPath());
        fill(document);
        if (options_.proof) document["made"] = madeDocument(usedTools());
        terminal_.document(document);
    } else {
        printResult();
    }
    if (isStopped()) return signals_.exitStatus();
    return hasFailed() ? someItemFailed : allDone;
}

// Where nothing was asked of a tool, none is named.
QStringList JobRun::usedTools() const {
    if (engineOf(options_) == EngineChoice::direct) return {};
    const ExternalToolDetector& found = toolDetector();
    return {found.ffmpegPath.value(), found.ffprobePath.value(), found.bwfmetaeditPath.value()};
}

QString JobRun::problem(const QStringList&) { return outputProblem(); }

// The direct engine needs none for plain WAV files; one that does need ffmpeg says so itself.
bool JobRun::requireTools() {
    return engineOf(options_) == EngineChoice::direct || requireFFmpeg(toolDetector(), terminal_);
}

QString JobRun::outputProblem() const {
    const bool isInTheWay = !options_.output.empty() && paths::exists(output()) && !paths::isFolder(output());
    return isInTheWay ? QStringLiteral("not a folder: ") + output() : QString();
}

void JobRun::followLog() {
    RecordList<ProcessingLogEntry>& entries = log();
    terminal_.follow(entries);
    QObject::connect(&entries, &RecordListSignals::rowsAppended, &entries, [this, &entries](int first, int last) {
        for (int row = first; row <= last; ++row) {
            const ProcessingLogEntry& entry = entries[static_cast<std::size_t>(row)];
            if (entry.level == LogLevel::error && isFailure(entry.category)) logTellsFailure_ = true;
        }
    });
}

} // namespace ostrel::cli
