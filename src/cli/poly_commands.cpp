// split and edit: polys to ISOs, and polys to other polys.
#include "cli/commands.h"
#include "cli/poly_run.h"

#include <map>

namespace ostrel::cli {
namespace {

struct SplitCommandOptions : JobOptions {
    std::string naming;
    std::string folders = "scene-take";
    bool keepOriginalName = false;
};

const std::map<std::string, SplitNamingPattern> kPatterns{{"number", SplitNamingPattern::channelNumber},
                                                          {"letter", SplitNamingPattern::channelLetter},
                                                          {"track", SplitNamingPattern::trackName},
                                                          {"take-number", SplitNamingPattern::takeNumber}};
const std::map<std::string, FolderOrganization> kOrganizations{{"flat", FolderOrganization::flat},
                                                               {"scene-take", FolderOrganization::bySceneTake},
                                                               {"scene", FolderOrganization::byScene}};

class SplitRun : public PolyRun {
public:
    explicit SplitRun(const SplitCommandOptions& options)
        : PolyRun(options, PolyMode::split, "split"), split_(options) {}

protected:
    void work(const QStringList& paths) override {
        select(paths);
        if (isStopped()) return;
        // Loading a poly sets these, so they are set behind it.
        if (!options_.output.empty()) controller_.splitOutputFolder = output();
        if (controller_.splitOutputFolder.value().isEmpty()) controller_.splitOutputFolder = defaultFolder(paths);
        if (!split_.naming.empty()) controller_.splitNamingPattern = kPatterns.at(split_.naming);
        controller_.folderOrganization = kOrganizations.at(split_.folders);
        controller_.splitKeepOriginalName = split_.keepOriginalName;
        if (controller_.batchMode.value()) {
            controller_.split().runBatch();
        } else if (controller_.polyFile.value()) {
            splitOne();
        }
        wait();
    }

    void splitOne() {
        if (controller_.polyFile.value()->channelCount >= 2) return controller_.split().run();
        controller_.addLog(QStringLiteral("Not a poly file: ") + controller_.polyFile.value()->fileName,
                           LogLevel::error, LogCategory::process);
    }

    void fill(nlohmann::json& document) const override { document["items"] = items(); }

private:
    nlohmann::json items() const {
        const auto& poly = controller_.polyFile.value();
        if (controller_.batchMode.value() || !poly) return batchItems();
        const auto& outcome = controller_.lastOutcome.value();
        return nlohmann::json::array({outcome ? itemDocument(poly->fileName, *outcome)
                                              : jobItem(poly->fileName, {poly->url}, ProcessingStatus::pending())});
    }

    const SplitCommandOptions& split_;
};

struct EditCommandOptions : JobOptions {
    std::string remove;
    std::string removeNames;
    std::vector<std::string> renames;
    std::string reorder;
    std::string name;
    bool inPlace = false;
};

// "3,1,2"; nothing if a piece is no channel number.
std::optional<std::vector<int>> parseOrder(const std::string& text) {
    std::vector<int> order;
    for (const QString& piece : QString::fromStdString(text).split(u',')) {
        bool isNumber = false;
        const int number = piece.trimmed().toInt(&isNumber);
        if (!isNumber || number < 1) return std::nullopt;
        order.push_back(number);
    }
    return order;
}

// "2=Boom"; nothing if it is not of that form.
std::optional<std::pair<int, QString>> parseRename(const std::string& text) {
    const QString pair = QString::fromStdString(text);
    const qsizetype equals = pair.indexOf(u'=');
    bool isNumber = false;
    const int number = pair.left(equals).trimmed().toInt(&isNumber);
    const QString name = pair.mid(equals + 1).trimmed();
    if (equals < 0 || !isNumber || number < 1 || name.isEmpty()) return std::nullopt;
    return std::pair(number, name);
}

class EditRun : public PolyRun {
public:
    explicit EditRun(const EditCommandOptions& options)
        : PolyRun(options, PolyMode::editPoly, "edit"), edit_(options) {}

protected:
    QString problem(const QStringList& paths) override {
        const bool removes = !edit_.remove.empty() || !edit_.removeNames.empty();
        if (!removes && edit_.renames.empty() && edit_.reorder.empty()) {
            return QStringLiteral("nothing to change: give --remove, --remove-names, --rename or --reorder");
        }
        if (edit_.inPlace && (removes || !edit_.reorder.empty() || !edit_.output.empty() || !edit_.name.empty())) {
            return QStringLiteral("--in-place changes track names only: it goes with --rename alone");
        }
        if (edit_.inPlace && edit_.conformsHeaders) {
            return QStringLiteral("--conform-headers goes with new files, not with --in-place");
        }
        if (!edit_.remove.empty() && parseChannelNumbers(QString::fromStdString(edit_.remove)).empty()) {
            return QStringLiteral("--remove names no channel: ") + QString::fromStdString(edit_.remove);
        }
        if (!edit_.removeNames.empty() && nameFilterTerms(QString::fromStdString(edit_.removeNames)).isEmpty()) {
            return QStringLiteral("--remove-names holds no name");
        }
        if (!edit_.reorder.empty() && !parseOrder(edit_.reorder)) {
            return QStringLiteral("--reorder takes channel numbers, such as 3,1,2");
        }
        for (const std::string& rename : edit_.renames) {
            if (!parseRename(rename)) return QStringLiteral("--rename takes NUMBER=NAME, such as 2=Boom");
        }
        const bool severalFiles = paths.size() > 1 || paths::isFolder(paths.first());
        if (!edit_.name.empty() && severalFiles) return QStringLiteral("--name goes with a single file");
        return PolyRun::problem(paths);
    }

    bool requireTools() override {
        if (!JobRun::requireTools()) return false;
        if (!edit_.inPlace || controller_.bwfmetaeditAvailable.value()) return true;
        terminal_.error(QStringLiteral("bwfmetaedit was not found; \"ostrel-cli tools\" shows what was found where."));
        return false;
    }

    void work(const QStringList& paths) override {
        if (!options_.output.empty()) controller_.splitOutputFolder = output();
        select(paths);
        if (isStopped()) return;
        if (controller_.splitOutputFolder.value().isEmpty()) controller_.splitOutputFolder = defaultFolder(paths);
        configure();
        controller_.edit().run();
        wait();
    }

    void fill(nlohmann::json& document) const override { document["items"] = batchItems(); }

    bool changesRecordings() const override { return edit_.inPlace || PolyRun::changesRecordings(); }

private:
    void configure() {
        if (!edit_.remove.empty() || !edit_.removeNames.empty()) {
            ChannelFilterOptions filter;
            filter.selectedChannelIndices = parseChannelNumbers(QString::fromStdString(edit_.remove));
            filter.nameContainsFilter = QString::fromStdString(edit_.removeNames);
            controller_.channelRemovalFilter = filter;
        }
        RenameMap renames;
        for (const std::string& rename : edit_.renames) renames.insert(*parseRename(rename));
        controller_.channelRemovalRenameMap = renames;
        if (!edit_.reorder.empty()) controller_.channelReorderMap = parseOrder(edit_.reorder);
        controller_.channelRemovalCustomName = QString::fromStdString(edit_.name);
        controller_.editPolyEditInPlace = edit_.inPlace;
    }

    const EditCommandOptions& edit_;
};

} // namespace

void addSplitCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "split", "Make one mono file of every channel of poly files",
                                      "  ostrel-cli split 12AT3.wav\n"
                                      "  ostrel-cli split --folders scene --output ~/ISOs ~/Day1\n"
                                      "  ostrel-cli split --naming letter --folders flat --json take1.wav take2.wav");
    const auto options = std::make_shared<SplitCommandOptions>();
    addPolyOptions(*command, *options, "Poly files and folders; one file is split by itself, anything more as a batch");
    command
        ->add_option(
            "--naming", options->naming,
            "How the files are named (default: by track where the poly names its tracks); take-number ends them "
            "with _1, _2, which Avid's import takes for the track")
        ->check(CLI::IsMember(keysOf(kPatterns)));
    command->add_option("--folders", options->folders, "Folders below the output folder")
        ->check(CLI::IsMember(keysOf(kOrganizations)))
        ->capture_default_str();
    command->add_flag("--keep-original-name", options->keepOriginalName,
                      "Name the files after the poly alone, numbered where they clash");
    command->callback([options, &chosen] { chosen.run = [options] { return SplitRun(*options).run(); }; });
}

void addEditCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "edit", "Write poly files anew without some channels, in another order or under other names",
        "  ostrel-cli edit --remove 1,2-4 --output ~/Edited 12AT3.wav\n"
        "  ostrel-cli edit --remove-names \"Mix, Lav\" --rename 2=Boom ~/Day1\n"
        "  ostrel-cli edit --reorder 3,1,2 12AT3.wav\n"
        "  ostrel-cli edit --in-place --rename 1=Boom --rename 2=Radio 12AT3.wav");
    const auto options = std::make_shared<EditCommandOptions>();
    addPolyOptions(*command, *options, "Poly files and folders");
    command->add_option("--remove", options->remove, "Channels to leave out, such as 1,2-4");
    command->add_option("--remove-names", options->removeNames,
                        "Leave out tracks whose names contain one of these, such as \"Mix, Lav\"");
    command
        ->add_option("--rename", options->renames,
                     "NUMBER=NAME: the track name of a channel of the new file; may be repeated")
        ->allow_extra_args(false);
    command->add_option("--reorder", options->reorder,
                        "The source's channels in their new order; those left out follow");
    command->add_option("--name", options->name, "File name of a single output, without its extension");
    command->add_flag("--in-place", options->inPlace,
                      "Change the track names in the files themselves; nothing else is touched");
    command->callback([options, &chosen] { chosen.run = [options] { return EditRun(*options).run(); }; });
}

} // namespace ostrel::cli
