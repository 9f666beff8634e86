// interleave and deinterleave: the Interleaver's controller on a terminal.
#include "cli/commands.h"
#include "cli/job_run.h"
#include "cli/wait_for_tasks.h"
#include "interleaver/app_view_model.h"
#include "interleaver/interleave_command.h"
#include "platform/audio/audio_output.h"

#include <map>

namespace ostrel::cli {
namespace {

struct InterleaverOptions : JobOptions {
    std::string layout;
    std::string format = "smart";
    std::string lrCleanup = "none";
    std::string originals = "keep";
    std::string separator = "dot";
    std::vector<std::string> channels;
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

ProcessingOptions processingOptions(const InterleaverOptions& job, AppMode mode) {
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

class InterleaverRun : public JobRun {
public:
    InterleaverRun(const InterleaverOptions& job, AppMode mode)
        : JobRun(job, mode == AppMode::interleave ? "interleave" : "deinterleave"), job_(job), mode_(mode),
          controller_(desktop_, audio_) {}

protected:
    void stop() override { controller_.stopProcessing(); }
    const ExternalToolDetector& toolDetector() const override { return controller_.toolDetector(); }
    RecordList<ProcessingLogEntry>& log() override { return controller_.logEntries; }
    QString reportPath() const override { return controller_.reportPath(); }
    JobCounts counts() const override {
        return {controller_.successCount(), controller_.skippedCount(), controller_.errorCount()};
    }
    // A scan that fails, or finds files it can't use, leaves no item to tell it by. Nor does a report that could not be
    // written.
    bool isFailure(LogCategory category) const override {
        return category == LogCategory::scan || category == LogCategory::system;
    }

    QString take(const QStringList& paths) override {
        watch(controller_.statusMessage, [this] { showProgress(); });
        watch(controller_.progress, [this] { showProgress(); });
        controller_.currentMode = mode_;
        controller_.options = processingOptions(job_, mode_);
        controller_.engine = engineOf(job_);
        controller_.proves = job_.proof;
        controller_.generateCSV = job_.csv;
        controller_.select(paths);
        waitForTasks(controller_); // a single file may choose its layout
        if (const auto layout = ChannelLayout::withId(QString::fromStdString(job_.layout))) {
            controller_.selectedLayout = *layout;
        }
        if (!job_.output.empty()) controller_.setOutputFolder(output());
        const QString idle = idleCleanup();
        return idle.isEmpty() ? unknownChannel() : idle;
    }

    void work(const QStringList&) override {
        if (!isStopped()) controller_.scan();
        waitForTasks(controller_);
        if (!job_.channels.empty()) selectChannels();
        tellAllForeseen();
        if (job_.dryRun || isStopped()) return;
        controller_.startProcessing();
        waitForTasks(controller_);
    }

    std::vector<ItemOutcome> outcomes() const override {
        std::vector<ItemOutcome> result;
        const auto add = [&](const auto& record) {
            if (record.outcome) result.push_back(*record.outcome);
        };
        for (const InterleaveGroup& group : controller_.interleaveGroups) add(group);
        for (const MultiChannelSource& source : controller_.deinterleaveSources) add(source);
        return result;
    }

    bool takesSourcesAway() const override {
        return !job_.dryRun && (job_.originals != "keep" || job_.lrCleanup != "none");
    }

    void fill(nlohmann::json& document) const override {
        nlohmann::json& items = document["items"] = nlohmann::json::array();
        const auto add = [&](const QString& name, const QStringList& sources, const auto& record) {
            items.push_back(record.outcome ? itemDocument(name, *record.outcome)
                                           : jobItem(name, sources, record.status, record.foreseen));
        };
        for (const InterleaveGroup& group : controller_.interleaveGroups) {
            add(group.baseName, group.channelFiles.values(), group);
        }
        for (const MultiChannelSource& source : controller_.deinterleaveSources) {
            add(paths::lastComponent(source.sourceURL), {source.sourceURL}, source);
        }
    }

private:
    // Who asks for a clean-up counts on it.
    QString idleCleanup() const {
        const ChannelLayout layout = controller_.selectedLayout.value();
        if (mode_ != AppMode::interleave || job_.lrCleanup == "none" || layout == ChannelLayout::stereo) return {};
        return QStringLiteral("--lr-cleanup is for layout stereo; with %1 --originals says what becomes of the sources")
            .arg(layout.displayName);
    }

    // A channel that the layout has not would be written nowhere, and nobody would miss it.
    QString unknownChannel() const {
        const QStringList known = controller_.selectedLayout.value().channelTags;
        for (const std::string& tag : job_.channels) {
            if (known.contains(QString::fromStdString(tag))) continue;
            return QStringLiteral("--channels: %1 has no channel %2; it has %3")
                .arg(controller_.selectedLayout.value().displayName, QString::fromStdString(tag),
                     known.join(QStringLiteral(", ")));
        }
        return {};
    }

    // What a run would refuse; a dry run ends with it.
    void tellAllForeseen() {
        controller_.foreseeCollisions();
        if (!job_.dryRun) return;
        for (const InterleaveGroup& group : controller_.interleaveGroups) {
            tellForeseen(terminal_, group.baseName, group.foreseen);
        }
        for (const MultiChannelSource& source : controller_.deinterleaveSources) {
            tellForeseen(terminal_, paths::lastComponent(source.sourceURL), source.foreseen);
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

    const InterleaverOptions& job_;
    AppMode mode_;
    AudioOutput audio_;
    AppViewModel controller_;
};

// The options that both directions have.
void addInterleaverOptions(CLI::App& command, InterleaverOptions& job) {
    addPaths(command, job.paths, "Files and folders");
    command.add_option("--layout", job.layout, "Channel layout; a single file with 2, 6 or 8 channels chooses its own")
        ->check(CLI::IsMember(layoutIds()));
    command.add_option("--output", job.output, "Folder for the new files (default: a folder beside the sources)");
    command.add_option("--format", job.format, "Container of the new files")
        ->check(CLI::IsMember(keysOf(kFormats)))
        ->capture_default_str();
    addSubfoldersOption(command, job);
    addOverwriteOption(command, job);
    addEngineOption(command, job);
    addProofOption(command, job);
    addSealOption(command, job);
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
    const auto job = std::make_shared<InterleaverOptions>();
    addInterleaverOptions(*command, *job);
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
    const auto job = std::make_shared<InterleaverOptions>();
    addInterleaverOptions(*command, *job);
    command->add_option("--separator", job->separator, "Between name and channel tag: Take.L.wav or Take_L.wav")
        ->check(CLI::IsMember({"dot", "underscore"}))
        ->capture_default_str();
    command->add_option("--channels", job->channels, "Only these channels, by tag")->delimiter(',');
    command->callback(
        [job, &chosen] { chosen.run = [job] { return InterleaverRun(*job, AppMode::deinterleave).run(); }; });
}

} // namespace ostrel::cli
