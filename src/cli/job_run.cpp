#include "cli/job_run.h"

#include "custody/lists/chain.h"
#include "custody/seal_notices.h"
#include "custody/seal_renewal.h"

#include <QScopeGuard>
#include <algorithm>

namespace ostrel::cli {

void addSubfoldersOption(CLI::App& command, JobOptions& options) { addSubfoldersOption(command, options.noSubfolders); }

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

void addSealOption(CLI::App& command, JobOptions& options) {
    options.makesFiles = true;
    command.add_flag("--seal", options.seal,
                     "Seal the folders of the new files when all is done: a generation of hashes (ASC MHL) in the "
                     "nearest sealed folder at or above, else in the output folder; of the whole folder, also of "
                     "sources that lie in it");
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
    tellSealedFolders(*paths);
    work(*paths);
    seal();
    if (terminal_.isJson()) {
        nlohmann::json document = jobDocument(job_, toolDetector(), counts(), isStopped(), reportPath());
        fill(document);
        if (options_.proof) document["made"] = madeDocument(usedTools());
        if (options_.seal || !seals_.empty()) document["seals"] = sealsDocument(seals_);
        terminal_.document(document);
    } else {
        printResult();
        tellSeals(terminal_, seals_);
    }
    if (isStopped()) return signals_.exitStatus();
    const bool isSealed = std::all_of(seals_.begin(), seals_.end(), [](const RunSeal& each) { return each.isWhole(); });
    return hasFailed() || !isSealed ? someItemFailed : allDone;
}

// What replaces a recording makes it another than its seal tells, for good: a list can only write that down as failed.
void JobRun::tellSealedFolders(const QStringList& paths) {
    if (!options_.makesFiles) return;
    const bool changes = changesRecordings();
    QStringList notices = sealNotices(options_.output.empty() ? paths : QStringList{output()},
                                      changes ? SealTouch::changes : SealTouch::adds);
    for (QString& notice : notices) {
        if (!options_.seal && !changes) notice += QStringLiteral("; --seal adds a generation");
    }
    if (takesSourcesAway()) notices += sealNotices(paths, SealTouch::takesAway);
    for (const QString& notice : notices) terminal_.error(notice);
}

CustodyWatch JobRun::sealWatch(bool heedsStop) {
    return {[this](const CustodyProgress& state) {
                if (state.bytesTotal == 0) return;
                terminal_.progress(static_cast<double>(state.bytesDone) / static_cast<double>(state.bytesTotal),
                                   QStringLiteral("Sealing  ") + state.file);
            },
            [this, heedsStop] { return heedsStop && isStopped(); }};
}

// What was renamed or edited where it stands gets its generation also where nobody asked, and where the run was stopped
// behind it. A folder that was sealed as a whole, or refused, has had its turn.
void JobRun::seal() {
    const QString job = QString::fromStdString(job_);
    if (options_.seal && !isStopped()) {
        const QString folder = options_.output.empty() ? QString() : output();
        seals_ = sealRun({job, folder, outcomes()}, sealWatch(true));
    }
    QStringList touched = touchedRecordings(outcomes());
    for (const RunSeal& seal : seals_) {
        touched.removeIf([&](const QString& path) { return sealedFolderOf(path).value_or(QString()) == seal.folder; });
    }
    std::vector<RunSeal> renewed = renewSeals(job, touched, sealWatch(false));
    seals_.insert(seals_.end(), renewed.begin(), renewed.end());
    for (const RunSeal& each : seals_) tellSealFaults(terminal_, each);
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
