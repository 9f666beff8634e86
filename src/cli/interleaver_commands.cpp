// interleave and deinterleave: the Interleaver's controller on a terminal.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/terminal_desktop_services.h"
#include "cli/wait_for_tasks.h"
#include "interleaver/app_view_model.h"
#include "interleaver/interleave_command.h"
#include "platform/audio/audio_output.h"
#include "platform/processes/stop_signals.h"

#include <map>

namespace ostrel::cli {
namespace {

struct JobOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string layout;
    std::string output;
    std::string format = "smart";
    std::string lrCleanup = "none";
    std::string originals = "keep";
    std::string separator = "dot";
    std::vector<std::string> channels;
    bool noSubfolders = false;
    bool overwrite = false;
    bool csv = false;
    bool dryRun = false;
};

template <class Value>
using Words = std::map<std::string, Value>;

const Words<OutputFormatPolicy> kFormats{{"smart", OutputFormatPolicy::smart},
                                         {"alwaysWAV", OutputFormatPolicy::alwaysWAV},
                                         {"preserveFormat", OutputFormatPolicy::preserveFormat}};
const Words<LRCleanupMode> kCleanups{{"none", LRCleanupMode::none},
                                     {"verifiedConsolidation", LRCleanupMode::verifiedConsolidation},
                                     {"hardDelete", LRCleanupMode::hardDelete}};

std::vector<std::string> layoutIds() {
    std::vector<std::string> result;
    for (const ChannelLayout& layout : ChannelLayout::allLayouts()) result.push_back(layout.id.toStdString());
    return result;
}

ProcessingOptions processingOptions(const JobOptions& job, AppMode mode) {
    ProcessingOptions options;
    options.outputFormatPolicy = kFormats.at(job.format);
    options.lrCleanupMode = kCleanups.at(job.lrCleanup);
    options.channelSeparator = job.separator == "underscore" ? ChannelSeparator::underscore : ChannelSeparator::dot;
    options.includeSubfolders = !job.noSubfolders;
    options.skipIfExists = !job.overwrite;
    options.overwriteExisting = job.overwrite;
    const bool interleaving = mode == AppMode::interleave;
    (interleaving ? options.moveOriginalsInterleave : options.moveOriginalsDeinterleave) = job.originals == "move";
    (interleaving ? options.deleteOriginalsInterleave : options.deleteOriginalsDeinterleave) =
        job.originals == "delete";
    return options;
}

class InterleaverRun {
public:
    InterleaverRun(const JobOptions& job, AppMode mode)
        : signals_([this] { controller_.stopProcessing(); }), job_(job), mode_(mode), terminal_(job.terminal),
          controller_(desktop_, audio_) {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(job_.paths, terminal_);
        if (!paths) return badUsage;
        if (!job_.output.empty() && paths::exists(output()) && !paths::isFolder(output())) {
            terminal_.error(QStringLiteral("not a folder: %1").arg(output()));
            return badUsage;
        }
        if (!requireFFmpeg(controller_.toolDetector(), terminal_)) return toolMissing;
        prepare(*paths);
        if (!knowsChannels()) return badUsage;
        if (!signals_.happened()) controller_.scan();
        waitForTasks(controller_);
        if (!job_.channels.empty()) selectChannels();
        tellForeseen();
        if (!job_.dryRun && !signals_.happened()) process();
        if (terminal_.isJson()) terminal_.document(document());
        if (signals_.happened()) return signals_.exitStatus();
        return failed_ || controller_.errorCount() > 0 ? someItemFailed : allDone;
    }

private:
    QString output() const { return paths::absolute(QString::fromStdString(job_.output)); }

    void prepare(const QStringList& paths) {
        terminal_.follow(controller_.logEntries);
        QObject::connect(&controller_.logEntries, &RecordListSignals::rowsAppended, &controller_,
                         [this](int, int last) {
                             const ProcessingLogEntry& entry = controller_.logEntries[static_cast<std::size_t>(last)];
                             // A scan that fails, or finds files it can't use, leaves no item to tell it by.
                             // Nor does a report that could not be written.
                             const bool ofScan = entry.category == LogCategory::scan;
                             const bool ofReport = entry.category == LogCategory::system;
                             if ((ofScan || ofReport) && entry.level == LogLevel::error) failed_ = true;
                         });
        statusWatch_ = controller_.statusMessage.addNotifier([this] { showProgress(); });
        progressWatch_ = controller_.progress.addNotifier([this] { showProgress(); });
        controller_.currentMode = mode_;
        controller_.options = processingOptions(job_, mode_);
        controller_.generateCSV = job_.csv;
        controller_.select(paths);
        waitForTasks(controller_); // a single file may choose its layout
        if (const auto layout = ChannelLayout::withId(QString::fromStdString(job_.layout))) {
            controller_.selectedLayout = *layout;
        }
        if (!job_.output.empty()) controller_.setOutputFolder(output());
    }

    void process() {
        controller_.startProcessing();
        waitForTasks(controller_);
    }

    // A channel that the layout has not would be written nowhere, and nobody would miss it.
    bool knowsChannels() {
        const QStringList known = controller_.selectedLayout.value().channelTags;
        for (const std::string& tag : job_.channels) {
            if (known.contains(QString::fromStdString(tag))) continue;
            terminal_.error(QStringLiteral("--channels: %1 has no channel %2; it has %3")
                                .arg(controller_.selectedLayout.value().displayName, QString::fromStdString(tag),
                                     known.join(QStringLiteral(", "))));
            return false;
        }
        return true;
    }

    // What a run would refuse; a dry run ends with it.
    void tellForeseen() {
        controller_.foreseeCollisions();
        if (!job_.dryRun) return;
        const auto tell = [this](const QString& name, const QString& foreseen) {
            if (!foreseen.isEmpty()) terminal_.line(QStringLiteral("%1: %2").arg(name, foreseen));
        };
        for (const InterleaveGroup& group : controller_.interleaveGroups) tell(group.baseName, group.foreseen);
        for (const MultiChannelSource& source : controller_.deinterleaveSources) {
            tell(paths::lastComponent(source.sourceURL), source.foreseen);
        }
    }

    void selectChannels() {
        QSet<QString> tags;
        for (const std::string& tag : job_.channels) tags.insert(QString::fromStdString(tag));
        controller_.deinterleaveSources.updateAll([&](MultiChannelSource& source) { source.selectedChannels = tags; });
    }

    void showProgress() {
        const bool known = controller_.isProcessing.value();
        terminal_.progress(known ? controller_.progress.value() : -1, controller_.statusMessage.value());
    }

    nlohmann::json items() const {
        nlohmann::json result = nlohmann::json::array();
        const auto add = [&](const QString& name, const QStringList& sources, const auto& record) {
            result.push_back(record.outcome ? jobItem(name, *record.outcome)
                                            : foreseenItem(name, sources, record.status, record.foreseen));
        };
        for (const InterleaveGroup& group : controller_.interleaveGroups) {
            add(group.baseName, group.channelFiles.values(), group);
        }
        for (const MultiChannelSource& source : controller_.deinterleaveSources) {
            add(paths::lastComponent(source.sourceURL), {source.sourceURL}, source);
        }
        return result;
    }

    static nlohmann::json foreseenItem(const QString& name, const QStringList& sources, const ProcessingStatus& status,
                                       const QString& foreseen) {
        nlohmann::json item = jobItem(name, sources, status);
        item["message"] = jsonText(foreseen);
        return item;
    }

    nlohmann::json document() const {
        return {{"job", mode_ == AppMode::interleave ? "interleave" : "deinterleave"},
                {"tools", toolsDocument(controller_.toolDetector())},
                {"items", items()},
                {"summary", jobSummary(controller_.successCount(), controller_.skippedCount(), controller_.errorCount(),
                                       signals_.happened())},
                {"csv", jsonTextOrNull(controller_.reportPath())}};
    }

    StopSignals signals_; // first: the tools are looked for below
    const JobOptions& job_;
    AppMode mode_;
    Terminal terminal_;
    TerminalDesktopServices desktop_;
    AudioOutput audio_;
    AppViewModel controller_;
    QPropertyNotifier statusWatch_;
    QPropertyNotifier progressWatch_;
    bool failed_ = false;
};

// The options that both directions have.
void addJobOptions(CLI::App& command, JobOptions& job) {
    addPaths(command, job.paths, "Files and folders");
    command.add_option("--layout", job.layout, "Channel layout; a single file with 2, 6 or 8 channels chooses its own")
        ->check(CLI::IsMember(layoutIds()));
    command.add_option("--output", job.output, "Folder for the new files (default: a folder beside the sources)");
    command.add_option("--format", job.format, "Container of the new files")
        ->check(CLI::IsMember(keysOf(kFormats)))
        ->capture_default_str();
    command.add_flag("--no-subfolders", job.noSubfolders, "Stay out of the folders' subfolders");
    command.add_flag("--overwrite", job.overwrite, "Replace outputs that are there already (default: skip them)");
    command.add_option("--originals", job.originals, "What becomes of the sources after a success")
        ->check(CLI::IsMember({"keep", "move", "delete"}))
        ->capture_default_str();
    command.add_flag("--csv", job.csv, "Write a CSV report into the output or source folder");
    command.add_flag("--dry-run", job.dryRun, "Scan and report; make and change nothing");
    addTerminalOptions(command, job.terminal);
}

} // namespace

void addInterleaveCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "interleave", "Make one multichannel file of each set of mono files",
                                      "  ostrel-cli interleave ~/Library/Rain\n"
                                      "  ostrel-cli interleave --layout 5.1-film --output out take1.*.wav\n"
                                      "  ostrel-cli interleave --dry-run --json ~/Library");
    const auto job = std::make_shared<JobOptions>();
    addJobOptions(*command, *job);
    command
        ->add_option("--lr-cleanup", job->lrCleanup,
                     "With layout stereo: move the two sources to a backup folder, or delete them, once the merge is "
                     "verified")
        ->check(CLI::IsMember(keysOf(kCleanups)))
        ->capture_default_str();
    command->callback(
        [job, &chosen] { chosen.run = [job] { return InterleaverRun(*job, AppMode::interleave).run(); }; });
}

void addDeinterleaveCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "deinterleave", "Split multichannel files into one mono file a channel",
                                      "  ostrel-cli deinterleave take1.wav\n"
                                      "  ostrel-cli deinterleave --layout 5.1-smpte --channels L,R ~/Surround");
    const auto job = std::make_shared<JobOptions>();
    addJobOptions(*command, *job);
    command->add_option("--separator", job->separator, "Between name and channel tag: Take.L.wav or Take_L.wav")
        ->check(CLI::IsMember({"dot", "underscore"}))
        ->capture_default_str();
    command->add_option("--channels", job->channels, "Only these channels, by tag")->delimiter(',');
    command->callback(
        [job, &chosen] { chosen.run = [job] { return InterleaverRun(*job, AppMode::deinterleave).run(); }; });
}

} // namespace ostrel::cli
