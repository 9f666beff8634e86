// rescue: whole copies of recordings that were never closed.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/job_format.h"
#include "foundation/run/recording_list.h"
#include "foundation/run/run_ledger.h"
#include "platform/files/unique_files.h"
#include "platform/processes/stop_signals.h"
#include "rescue/rescue_file.h"

#include <algorithm>
#include <array>

namespace ostrel::cli {
namespace {

struct RescueCommandOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string output;
    std::string like;
    bool dryRun = false;
};

constexpr std::array kRescueStatuses{RescueStatus::healthy, RescueStatus::rescued, RescueStatus::skipped,
                                     RescueStatus::refused};

nlohmann::json documentOf(const RescueItem& item) {
    nlohmann::json document{{"source", jsonText(item.source)},       {"status", jsonText(rawText(item.status))},
                            {"output", jsonTextOrNull(item.output)}, {"reason", jsonTextOrNull(item.reason)},
                            {"badge", jsonTextOrNull(item.badge)},   {"findings", jsonList(item.findings)}};
    if (!item.remarks.isEmpty()) document["remarks"] = jsonList(item.remarks);
    const Diagnosis& diagnosis = item.diagnosis;
    document["frames"] = diagnosis.format ? nlohmann::json(diagnosis.frames()) : nlohmann::json();
    if (!diagnosis.format) return document;
    document["duration"] = static_cast<double>(diagnosis.frames()) / diagnosis.format->sampleRate;
    document["declaredFrames"] = diagnosis.declared / diagnosis.format->blockAlign;
    document["sampleRate"] = diagnosis.format->sampleRate;
    document["channels"] = diagnosis.format->channels;
    document["bits"] = diagnosis.format->bits;
    if (diagnosis.kind != Diagnosis::Kind::unclosed) return document;
    document["cutBytes"] = diagnosis.cutBytes;
    document["silentFrames"] = diagnosis.silentFrames;
    if (!item.peaks.empty()) document["waveform"] = item.peaks;
    return document;
}

class RescueRun {
public:
    explicit RescueRun(const RescueCommandOptions& options) : options_(options), terminal_(options.terminal) {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths || !setOptions()) return badUsage;
        if (!collect(*paths)) return someItemFailed;
        const QString& output = rescue_.outputFolder;
        if (!rescue_.dryRun) {
            tellSealNotices(terminal_, output.isEmpty() ? *paths : QStringList(output), SealTouch::adds);
        }
        RunLedger ledger(selection_);
        for (const QString& path : selection_) {
            if (signals_.happened()) break;
            items_.push_back(rescueFile(path, rescue_, ledger, [&](quint64 done, quint64 total) {
                if (total > 0) terminal_.progress(static_cast<double>(done) / static_cast<double>(total), path);
                return !signals_.happened();
            }));
            tell(items_.back());
        }
        if (terminal_.isJson()) terminal_.document(document());
        if (signals_.happened()) return signals_.exitStatus();
        return count(RescueStatus::refused) > 0 || hasFailed_ ? someItemFailed : allDone;
    }

private:
    bool setOptions() {
        rescue_.dryRun = options_.dryRun;
        if (!options_.output.empty()) rescue_.outputFolder = paths::absolute(QString::fromStdString(options_.output));
        if (options_.like.empty()) return true;
        const std::optional<QStringList> like = existingPaths({options_.like}, terminal_);
        if (!like) return false;
        rescue_.like = readLikeFile(like->first().toStdString());
        const bool isHealthy = diagnose(like->first().toStdString()).kind == Diagnosis::Kind::healthy;
        if (rescue_.like && isHealthy) return true;
        terminal_.error(QStringLiteral("--like wants a healthy WAV file: %1").arg(like->first()));
        return false;
    }

    bool collect(const QStringList& paths) {
        const Leftovers leftovers = options_.dryRun ? Leftovers::left : Leftovers::cleared;
        const CollectedRecordings found =
            collectRecordings(paths, true, waveFileExtensions() + QStringList{QStringLiteral("sda")},
                              files::HiddenEntries::leftOut, leftovers);
        for (const QString& sentence : found.remarks + found.unopened) terminal_.error(sentence);
        hasFailed_ = !found.unopened.isEmpty();
        selection_ = found.files;
        for (const QString& path : paths) { // one that is named is taken whatever it is called
            if (!paths::isFolder(path)) selection_ << path;
        }
        selection_ = uniqueFiles(selection_).files;
        selection_.removeDuplicates();
        if (selection_.isEmpty()) terminal_.error(QStringLiteral("no recordings found"));
        return !selection_.isEmpty();
    }

    void tell(const RescueItem& item) {
        const QStringList lines = linesOf(item, rescue_.dryRun);
        for (const QString& line : lines) {
            item.status == RescueStatus::refused ? terminal_.error(line) : terminal_.line(line);
        }
    }

    std::size_t count(RescueStatus status) const {
        return static_cast<std::size_t>(std::count_if(
            items_.begin(), items_.end(), [status](const RescueItem& item) { return item.status == status; }));
    }

    nlohmann::json document() const {
        nlohmann::json items = nlohmann::json::array();
        for (const RescueItem& item : items_) items.push_back(documentOf(item));
        nlohmann::json summary;
        for (const RescueStatus status : kRescueStatuses) summary[rawText(status).toStdString()] = count(status);
        nlohmann::json result{{"job", "rescue"},
                              {"dryRun", rescue_.dryRun},
                              {"items", std::move(items)},
                              {"summary", std::move(summary)}};
        if (signals_.happened()) result["stopped"] = true;
        return result;
    }

    // Asked between blocks; nothing here has an event loop.
    const StopSignals signals_{[] {}};
    const RescueCommandOptions& options_;
    Terminal terminal_;
    RescueOptions rescue_;
    QStringList selection_;
    std::vector<RescueItem> items_;
    bool hasFailed_ = false;
};

} // namespace

void addRescueCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "rescue",
        "Make whole copies of recordings that were never closed: sizes that are 0, stale or wrong, and missing "
        "headers. The "
        "recordings stay as they are, and so do files that are there already. Exit status 1 where one is refused",
        "  ostrel-cli rescue --dry-run /media/card          (tells what is unclosed, writes nothing)\n"
        "  ostrel-cli rescue /media/card --output ~/Rescued\n"
        "  ostrel-cli rescue T05.WAV --like T04.WAV         (its head tells no format)");
    const auto options = std::make_shared<RescueCommandOptions>();
    addPaths(*command, options->paths, "Recordings, and folders of them");
    command->add_option("--output", options->output,
                        "Folder for the copies; without it they come beside the recordings");
    command->add_option("--like", options->like,
                        "A healthy take of the same card, for the format of recordings that tell none");
    command->add_flag("--dry-run", options->dryRun, "Tell what would be done, and write nothing");
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return RescueRun(*options).run(); }; });
}

} // namespace ostrel::cli
