// group and join: loose ISOs to takes, and takes to polys.
#include "cli/commands.h"
#include "cli/poly_run.h"
#include "polytools/records/poly_names.h"

#include <map>

namespace ostrel::cli {
namespace {

struct JoinCommandOptions : JobOptions {
    std::string layout = "auto";
    std::string name;
    bool keepOriginalName = false;
    bool autoOrder = false;
    bool single = false;
    bool strict = false;
    bool downmix = false;
    bool dryRun = false;
};

JoinChannelLayout layoutOf(const std::string& word) {
    for (const JoinChannelLayout layout : kAllJoinChannelLayouts) {
        if (caseName(layout).toStdString() == word) return layout;
    }
    return JoinChannelLayout::automatic;
}

std::vector<std::string> layoutWords() {
    std::vector<std::string> words;
    for (const JoinChannelLayout layout : kAllJoinChannelLayouts) words.push_back(caseName(layout).toStdString());
    return words;
}

nlohmann::json numberOrNull(const std::optional<int>& number) {
    return number ? nlohmann::json(*number) : nlohmann::json();
}

nlohmann::json isoDocument(const ISOFile& iso) {
    return {{"file", jsonText(iso.url)},
            {"parts", jsonList(iso.files())},
            {"sampleRate", iso.sampleRate},
            {"bitDepth", iso.bitDepth},
            {"duration", iso.duration},
            {"interleaveIndex", numberOrNull(iso.metadataInterleaveIndex)},
            {"channelIndex", numberOrNull(iso.metadataChannelIndex)},
            {"trackName", jsonTextOrNull(iso.metadataTrackName)}};
}

nlohmann::json isoDocuments(const std::vector<ISOFile>& isos) {
    nlohmann::json result = nlohmann::json::array();
    for (const ISOFile& iso : isos) result.push_back(isoDocument(iso));
    return result;
}

nlohmann::json groupDocument(const ISOGroupCandidate& group) {
    return {{"name", jsonText(group.suggestedOutputName())},
            {"confidence", jsonText(rawText(group.confidence))},
            {"method", jsonText(rawText(group.groupingMethod))},
            {"scene", jsonTextOrNull(group.scene)},
            {"take", jsonTextOrNull(group.take)},
            {"timecode", jsonTextOrNull(group.timecode)},
            {"duration", group.duration ? nlohmann::json(*group.duration) : nlohmann::json()},
            {"parts", jsonTextOrNull(group.partsText())},
            {"isos", isoDocuments(group.sortedISOs())}};
}

QStringList urlsOf(const std::vector<ISOFile>& isos) {
    QStringList urls;
    for (const ISOFile& iso : isos) urls << iso.files();
    return urls;
}

// Both commands: `group` shows, `join` goes on.
class JoinRun : public PolyRun {
public:
    JoinRun(const JoinCommandOptions& options, bool onlyGroups)
        : PolyRun(options, PolyMode::join, onlyGroups ? "group" : "join"), join_(options), onlyGroups_(onlyGroups) {}

protected:
    QString problem(const QStringList& paths) override {
        if (join_.single && std::ranges::any_of(paths, &paths::isFolder)) {
            return QStringLiteral("--single takes files, not folders");
        }
        if (join_.single && paths.size() < 2) return QStringLiteral("--single needs at least two files");
        return PolyRun::problem(paths);
    }

    void work(const QStringList& paths) override {
        controller_.joinKeepOriginalName = join_.keepOriginalName;
        controller_.joinChannelLayout = layoutOf(join_.layout);
        controller_.autoOrderChannels = join_.autoOrder;
        controller_.joinStrict = join_.strict;
        controller_.joinDownmix = join_.downmix;
        if (!options_.output.empty()) controller_.joinOutputFolder = output();
        if (join_.single) {
            controller_.join().analyzeISOFiles(paths);
        } else if (onlyGroups_ && paths.size() == 1 && !paths::isFolder(paths.first())) {
            controller_.selectedJoinFiles = paths; // a single file would be loaded instead of grouped
            controller_.join().scanAndGroupISOs();
        } else {
            controller_.applyIntelligentModeDetection(paths, PolyMode::join);
        }
        wait();
        if (isStopped() || onlyGroups_) return;
        if (controller_.joinOutputFolder.value().isEmpty()) controller_.joinOutputFolder = defaultFolder(paths);
        if (join_.dryRun) return controller_.foresight().foresee();
        start();
        wait();
    }

    void start() {
        if (controller_.batchJoinMode.value()) {
            if (!join_.name.empty()) {
                controller_.addLog(QStringLiteral("--name is for a single poly and was not used"), LogLevel::warning,
                                   LogCategory::process);
            }
            return controller_.join().runBatch();
        }
        if (!join_.name.empty()) controller_.joinOutputName = QString::fromStdString(join_.name);
        controller_.join().run();
    }

    nlohmann::json items() const {
        nlohmann::json result = nlohmann::json::array();
        if (onlyGroups_ || join_.dryRun) return result;
        if (!controller_.batchJoinMode.value()) {
            const auto& outcome = controller_.lastOutcome.value();
            const QString name = controller_.joinOutputName.value();
            result.push_back(outcome ? itemDocument(name, *outcome)
                                     : jobItem(name, urlsOf(controller_.isoFiles.rows()), ProcessingStatus::pending()));
            return result;
        }
        for (const ISOGroupCandidate& group : controller_.reviewedGroups) result.push_back(groupItem(group));
        return result;
    }

    void fill(nlohmann::json& document) const override {
        document["items"] = items();
        const auto& grouping = controller_.groupingResult.value();
        if (!grouping) return;
        nlohmann::json groups = nlohmann::json::array();
        for (const ISOGroupCandidate& group : grouping->groups) {
            groups.push_back(groupDocument(group));
            const QString why = controller_.foreseenRefusals.value().value(group.id);
            if (!why.isEmpty()) groups.back()["foreseen"] = jsonText(why);
        }
        document["groups"] = groups;
        document["ungrouped"] = isoDocuments(grouping->ungroupedFiles);
        document["summary"]["grouping"] = jsonText(grouping->summary());
        document["summary"]["files"] = grouping->totalFiles;
    }

    void printResult() override {
        const auto& grouping = controller_.groupingResult.value();
        if (!grouping || !(onlyGroups_ || join_.dryRun)) return;
        for (const ISOGroupCandidate& group : grouping->groups) printGroup(group);
        for (const ISOFile& file : grouping->ungroupedFiles) terminal_.line(QStringLiteral("ungrouped  ") + file.url);
    }

private:
    nlohmann::json groupItem(const ISOGroupCandidate& group) const {
        const QString name = groupOutputName(group, join_.keepOriginalName);
        const auto& results = controller_.batchJoinResults.value();
        if (results) {
            const auto row = std::ranges::find(results->groupResults, group.id, &GroupJoinResult::groupId);
            if (row != results->groupResults.end()) return itemDocument(row->outputName, row->outcome);
        }
        return jobItem(name, urlsOf(group.sortedISOs()), ProcessingStatus::pending());
    }

    void printGroup(const ISOGroupCandidate& group) {
        terminal_.line(QStringLiteral("%1  [%2, %3]")
                           .arg(group.suggestedOutputName(), rawText(group.confidence), rawText(group.groupingMethod)));
        const QString why = controller_.foreseenRefusals.value().value(group.id);
        if (!why.isEmpty()) terminal_.line(QStringLiteral("  will be refused: ") + why);
        if (!group.partsText().isEmpty()) terminal_.line(QStringLiteral("  ") + group.partsText());
        int position = 0;
        for (const ISOFile& iso : group.sortedISOs()) {
            QString line = QStringLiteral("  %1  %2").arg(++position, 3).arg(iso.url);
            if (iso.metadataChannelIndex)
                line += QStringLiteral("  (channel %1, %2)").arg(*iso.metadataChannelIndex).arg(iso.metadataTrackName);
            terminal_.line(line);
            for (const QString& part : iso.laterParts) terminal_.line(QStringLiteral("    +  ") + part);
        }
    }

    const JoinCommandOptions& join_;
    const bool onlyGroups_;
};

} // namespace

void addGroupCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "group", "Show which loose mono files belong to one take, and why",
                      "  ostrel-cli group ~/Day1\n  ostrel-cli group --json ~/Day1 | jq '.groups[].name'");
    const auto options = std::make_shared<JoinCommandOptions>();
    addPaths(*command, options->paths, "Mono files and folders");
    addSubfoldersOption(*command, *options);
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return JoinRun(*options, true).run(); }; });
}

void addJoinCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "join", "Make one poly file of the mono files of each take",
                                      "  ostrel-cli join ~/Day1 --output ~/Polys\n"
                                      "  ostrel-cli join --dry-run ~/Day1\n"
                                      "  ostrel-cli join --single --name Kitchen Boom.wav Lav1.wav Lav2.wav");
    const auto options = std::make_shared<JoinCommandOptions>();
    addPolyOptions(*command, *options, "Mono files and folders; they are grouped into takes first");
    command->add_option("--layout", options->layout, "Channel layout, for the report; the number of files decides")
        ->check(CLI::IsMember(layoutWords()))
        ->capture_default_str();
    command->add_option("--name", options->name, "File name of a single poly (default: from the files)");
    command->add_flag("--keep-original-name", options->keepOriginalName, "Names without \"_poly\" at their end");
    command->add_flag("--auto-order", options->autoOrder,
                      "With --single and no metadata: order by track name, mixes first");
    command->add_flag("--single", options->single, "Join exactly these files into one poly, without grouping");
    command->add_flag("--strict", options->strict,
                      "Refuse files of unequal length or start time (default: warn of them)");
    command->add_flag("--downmix", options->downmix, "With --single: mix files of several channels to one");
    command->add_flag("--dry-run", options->dryRun, "Group and show; make nothing");
    command->callback([options, &chosen] { chosen.run = [options] { return JoinRun(*options, false).run(); }; });
}

} // namespace ostrel::cli
