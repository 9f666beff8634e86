// stitch: one file of the parts that a recorder wrote.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/job_format.h"
#include "custody/run_document.h"
#include "foundation/run/recording_list.h"
#include "platform/files/unique_files.h"
#include "platform/processes/stop_signals.h"
#include "stitch/stitch_file.h"

#include <algorithm>
#include <array>

namespace ostrel::cli {
namespace {

struct StitchCommandOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string output;
    std::string gap = "refuse";
    std::string overlap = "refuse";
    bool dryRun = false;
    bool proves = false;
};

constexpr std::array kStitchStatuses{StitchStatus::single, StitchStatus::stitched, StitchStatus::skipped,
                                     StitchStatus::refused};

nlohmann::json documentOf(const StitchItem& item) {
    nlohmann::json document{{"sources", jsonList(item.sources)},     {"status", jsonText(rawText(item.status))},
                            {"output", jsonTextOrNull(item.output)}, {"reason", jsonTextOrNull(item.reason)},
                            {"findings", jsonList(item.findings)},   {"warnings", jsonList(item.warnings)}};
    if (item.frames == 0) return document;
    document["exact"] = item.isExact;
    document["frames"] = item.frames;
    document["duration"] = static_cast<double>(item.frames) / item.format.sampleRate;
    document["sampleRate"] = item.format.sampleRate;
    document["channels"] = item.format.channels;
    document["bits"] = item.format.bits;
    if (item.proof) {
        ItemOutcome outcome;
        outcome.proof = item.proof;
        document["proof"] = itemDocument(item.output, outcome)["proof"];
    }
    return document;
}

class StitchRun {
public:
    explicit StitchRun(const StitchCommandOptions& options) : options_(options), terminal_(options.terminal) {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths) return badUsage;
        stitch_ = {.outputFolder =
                       options_.output.empty() ? QString() : paths::absolute(QString::fromStdString(options_.output)),
                   .fillsGaps = options_.gap == "silence",
                   .trimsOverlaps = options_.overlap == "trim-if-identical",
                   .dryRun = options_.dryRun,
                   .proves = options_.proves};
        if (!collect(*paths)) return someItemFailed;
        const QString& output = stitch_.outputFolder;
        if (!stitch_.dryRun) {
            tellSealNotices(terminal_, output.isEmpty() ? *paths : QStringList(output), SealTouch::adds);
        }
        const std::vector<Series> series = findSeries();
        RunLedger ledger(selection_);
        for (const std::vector<std::size_t>& set : parallelSets(series)) stitch(series, set, ledger);
        if (terminal_.isJson()) terminal_.document(document());
        if (signals_.happened()) return signals_.exitStatus();
        return count(StitchStatus::refused) > 0 || hasFailed_ ? someItemFailed : allDone;
    }

private:
    bool collect(const QStringList& paths) {
        const Leftovers leftovers = options_.dryRun ? Leftovers::left : Leftovers::cleared;
        const CollectedRecordings found =
            collectRecordings(paths, true, waveFileExtensions(), files::HiddenEntries::leftOut, leftovers);
        for (const QString& sentence : found.remarks + found.unopened) terminal_.error(sentence);
        hasFailed_ = !found.unopened.isEmpty();
        selection_ = uniqueFiles(found.files).files;
        if (selection_.isEmpty()) terminal_.error(QStringLiteral("no recordings found"));
        return !selection_.isEmpty();
    }

    std::vector<Series> findSeries() {
        std::vector<Part> parts;
        for (const QString& path : selection_) {
            if (signals_.happened()) return {};
            parts.push_back(readPart(path));
        }
        return seriesOf(parts);
    }

    // Those that ran side by side.
    void stitch(const std::vector<Series>& series, const std::vector<std::size_t>& set, RunLedger& ledger) {
        const std::size_t parts = series[set.front()].parts.size();
        if (set.size() > 1 && parts > 1 && !signals_.happened()) terminal_.line(partsText(set.size(), parts));
        int number = 0;
        for (const std::size_t each : set) {
            if (signals_.happened()) return;
            const StitchedPlace place{++number, static_cast<int>(set.size())};
            items_.push_back(stitchSeries(series[each], place, stitch_, ledger, [&](quint64 done, quint64 total) {
                terminal_.progress(static_cast<double>(done) / static_cast<double>(std::max<quint64>(1, total)),
                                   series[each].parts.front().path);
                return !signals_.happened();
            }));
            tell(items_.back());
        }
    }

    void tell(const StitchItem& item) {
        for (const QString& line : linesOf(item, stitch_.dryRun)) {
            item.status == StitchStatus::refused ? terminal_.error(line) : terminal_.line(line);
        }
    }

    std::size_t count(StitchStatus status) const {
        return static_cast<std::size_t>(std::count_if(
            items_.begin(), items_.end(), [status](const StitchItem& item) { return item.status == status; }));
    }

    nlohmann::json document() const {
        nlohmann::json items = nlohmann::json::array();
        for (const StitchItem& item : items_) items.push_back(documentOf(item));
        nlohmann::json summary;
        for (const StitchStatus status : kStitchStatuses) summary[rawText(status).toStdString()] = count(status);
        nlohmann::json result{{"job", "stitch"},
                              {"dryRun", stitch_.dryRun},
                              {"items", std::move(items)},
                              {"summary", std::move(summary)}};
        if (signals_.happened()) result["stopped"] = true;
        return result;
    }

    // Asked between blocks; nothing here has an event loop.
    const StopSignals signals_{[] {}};
    const StitchCommandOptions& options_;
    Terminal terminal_;
    StitchOptions stitch_;
    QStringList selection_;
    std::vector<StitchItem> items_;
    bool hasFailed_ = false;
};

} // namespace

void addStitchCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "stitch",
        "Make one file of the parts that a recorder wrote: of one originator, format and track list, each beginning at "
        "the sample where the one before it ends, midnight included. The parts stay as they are, and so do files that "
        "are there already. Exit status 1 where something is refused",
        "  ostrel-cli stitch --dry-run /media/card           (tells what belongs together, writes nothing)\n"
        "  ostrel-cli stitch /media/card --output ~/Stitched\n"
        "  ostrel-cli stitch --gap silence T05*.WAV          (what is missing becomes silence)");
    const auto options = std::make_shared<StitchCommandOptions>();
    addPaths(*command, options->paths, "Recordings, and folders of them");
    command->add_option("--gap", options->gap, "What becomes of samples that are missing between two parts")
        ->check(CLI::IsMember({"refuse", "silence"}));
    command
        ->add_option("--overlap", options->overlap,
                     "What becomes of samples that stand in two parts; those that differ are always refused")
        ->check(CLI::IsMember({"refuse", "trim-if-identical"}));
    command->add_option("--output", options->output,
                        "Folder for the files; without it they come beside their first parts");
    command->add_flag("--dry-run", options->dryRun, "Tell what would be done, and write nothing");
    command->add_flag("--proof", options->proves,
                      "Tell the XXH128 of every channel, as it was read of the parts and back from the file");
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return StitchRun(*options).run(); }; });
}

} // namespace ostrel::cli
