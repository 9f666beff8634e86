// interleave and deinterleave: the Interleaver's controller on a terminal.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/terminal_desktop_services.h"
#include "cli/wait_for_tasks.h"
#include "interleaver/app_view_model.h"
#include "interleaver/interleave_command.h"
#include "platform/audio_output.h"

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

template <class Value>
std::vector<std::string> keys(const Words<Value>& words) {
    std::vector<std::string> result;
    for (const auto& entry : words) result.push_back(entry.first);
    return result;
}

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

// What the log last said of each item.
std::map<QString, QString> lastMessages(const AppViewModel& controller) {
    std::map<QString, QString> result;
    for (const ProcessingLogEntry& entry : controller.logEntries) {
        if (!entry.baseName.isEmpty()) result[entry.baseName] = entry.message;
    }
    return result;
}

class InterleaverRun {
public:
    InterleaverRun(const JobOptions& job, AppMode mode)
        : job_(job), mode_(mode), terminal_(job.terminal), controller_(desktop_, audio_),
          interrupt_([this] { controller_.stopProcessing(); }) {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(job_.paths, terminal_);
        if (!paths) return badUsage;
        if (!job_.output.empty() && paths::exists(output()) && !paths::isFolder(output())) {
            terminal_.error(QStringLiteral("not a folder: %1").arg(output()));
            return badUsage;
        }
        if (!requireFFmpeg(controller_.toolDetector(), terminal_)) return toolMissing;
        prepare(*paths);
        controller_.scan();
        waitForTasks(controller_);
        if (!job_.dryRun && !interrupt_.happened()) process();
        if (terminal_.isJson()) terminal_.document(document());
        if (interrupt_.happened()) return interrupted;
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
                             if (entry.category == LogCategory::scan && entry.level == LogLevel::error) failed_ = true;
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
        if (!job_.channels.empty()) selectChannels();
        controller_.startProcessing();
        waitForTasks(controller_);
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
        const auto messages = lastMessages(controller_);
        const auto message = [&](const QString& name) {
            const auto found = messages.find(name);
            return found == messages.end() ? QString() : found->second;
        };
        nlohmann::json result = nlohmann::json::array();
        for (const InterleaveGroup& group : controller_.interleaveGroups) {
            const QStringList outputs = group.outputURL.isEmpty() ? QStringList() : QStringList{group.outputURL};
            result.push_back(
                jobItem(group.baseName, group.channelFiles.values(), outputs, group.status, message(group.baseName)));
        }
        for (const MultiChannelSource& source : controller_.deinterleaveSources) {
            const QString name = paths::lastComponent(source.sourceURL);
            const ProcessingOptions& options = controller_.options.value();
            const QString folder = job_.output.empty() ? QString() : output();
            const auto outputs = source.outputURLs(rawText(options.channelSeparator), folder,
                                                   source.outputFormat(options.outputFormatPolicy));
            result.push_back(jobItem(name, {source.sourceURL}, outputs.values(), source.status, message(name)));
        }
        return result;
    }

    nlohmann::json document() const {
        return {{"job", mode_ == AppMode::interleave ? "interleave" : "deinterleave"},
                {"tools", toolsDocument(controller_.toolDetector())},
                {"items", items()},
                {"summary",
                 {{"success", controller_.successCount()},
                  {"skipped", controller_.skippedCount()},
                  {"errors", controller_.errorCount()}}},
                {"csv", jsonTextOrNull(controller_.reportPath())}};
    }

    const JobOptions& job_;
    AppMode mode_;
    Terminal terminal_;
    TerminalDesktopServices desktop_;
    AudioOutput audio_;
    AppViewModel controller_;
    Interrupt interrupt_;
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
        ->check(CLI::IsMember(keys(kFormats)))
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
        ->check(CLI::IsMember(keys(kCleanups)))
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
