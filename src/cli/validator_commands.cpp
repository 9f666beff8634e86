// validate and clean: the Stereo Validator's controller on a terminal.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/terminal_desktop_services.h"
#include "cli/validator_table.h"
#include "foundation/records/item_outcome.h"
#include "platform/processes/stop_signals.h"
#include "platform/text/text.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_report.h"

#include <QEventLoop>
#include <algorithm>
#include <map>

namespace ostrel::cli {
namespace {

struct ValidatorOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string preset = "recommended";
    bool skipMono = false;
    bool noSubfolders = false;
    bool csv = false;
};

struct CleanOptions : ValidatorOptions {
    std::string output;
    std::string side = "auto";
    bool noSuffix = false;
    bool overwrite = false;
    bool dryRun = false;
};

const std::map<std::string, AnalysisPreset> kPresets{{"recommended", AnalysisPreset::recommended},
                                                     {"strict", AnalysisPreset::strict},
                                                     {"relaxed", AnalysisPreset::relaxed}};
const std::map<std::string, DualMonoSideSelection> kSides{{"auto", DualMonoSideSelection::automatic},
                                                          {"left", DualMonoSideSelection::left},
                                                          {"right", DualMonoSideSelection::right}};

// What both commands do: analyse and show.
class ValidatorRun {
public:
    explicit ValidatorRun(const ValidatorOptions& options)
        : signals_([this] {
              controller_.stopAnalysis();
              controller_.stopExport();
          }),
          terminal_(options.terminal), controller_(desktop_, audio_), options_(options) {}

    int validate() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths) return badUsage;
        analyze(*paths);
        if (options_.csv && !controller_.analysisResults.empty()) controller_.saveReport();
        if (terminal_.isJson()) {
            terminal_.document(document("validate"));
        } else {
            showTable();
        }
        return exitStatus();
    }

protected:
    void analyze(const QStringList& paths) {
        terminal_.follow(controller_.logEntries);
        progressWatch_ = controller_.analysisProgress.addNotifier([this] { showProgress(); });
        nameWatch_ = controller_.currentAnalysisFile.addNotifier([this] { showProgress(); });
        controller_.applyPreset(kPresets.at(options_.preset));
        controller_.skipMonoFiles = options_.skipMono;
        controller_.recursiveScan = !options_.noSubfolders;
        controller_.generateCSV = options_.csv;
        select(paths);
        if (signals_.happened()) return terminal_.error(QStringLiteral("stopped ahead of the analysis"));
        QEventLoop loop;
        QObject::connect(&controller_, &StereoValidatorViewModel::analysisEnded, &loop, &QEventLoop::quit);
        controller_.startAnalysis();
        loop.exec();
    }

    void showTable() {
        if (controller_.analysisResults.empty()) return;
        for (const QString& line : validatorTable(controller_.analysisResults.rows())) terminal_.line(line);
        terminal_.line(controller_.summary());
    }

    nlohmann::json document(const char* job) const {
        nlohmann::json results = nlohmann::json::array();
        int errors = 0, skipped = 0;
        for (const StereoValidatorResult& result : controller_.analysisResults) {
            results.push_back(result);
            errors += result.error.isEmpty() ? 0 : 1;
            skipped += result.classification == StereoClassification::trueMono ? 1 : 0;
        }
        const int total = static_cast<int>(controller_.analysisResults.size());
        return {{"job", job},
                {"tools", toolsDocument(controller_.toolDetector())},
                {"results", results},
                {"summary", jobSummary(total - errors - skipped, skipped, errors, signals_.happened())},
                {"csv", jsonTextOrNull(controller_.reportPath())}};
    }

    int exitStatus() const {
        if (signals_.happened()) return signals_.exitStatus();
        const auto& results = controller_.analysisResults;
        const bool failed = results.empty() || controller_.reportFailed() ||
                            std::any_of(results.begin(), results.end(), [](const StereoValidatorResult& result) {
                                return !result.error.isEmpty() || (result.outcome && result.outcome->failed());
                            });
        return failed ? someItemFailed : allDone;
    }

    StopSignals signals_; // first: the tools are looked for below
    Terminal terminal_;
    TerminalDesktopServices desktop_;
    AudioOutput audio_;
    StereoValidatorViewModel controller_;

private:
    // One folder is the tab's own kind of selection; several paths are taken together as the files that they hold.
    void select(const QStringList& paths) {
        if (paths.size() == 1) {
            controller_.select(paths);
        } else {
            controller_.selectedFiles = paths;
        }
    }

    void showProgress() {
        if (!controller_.isAnalyzing.value()) return;
        terminal_.progress(controller_.analysisProgress.value(), controller_.currentAnalysisFile.value());
    }

    const ValidatorOptions& options_;
    QPropertyNotifier progressWatch_;
    QPropertyNotifier nameWatch_;
};

class CleanRun : private ValidatorRun {
public:
    explicit CleanRun(const CleanOptions& options) : ValidatorRun(options), options_(options) {}

    int clean() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths || !prepareOutput()) return badUsage;
        controller_.dualMonoSideSelection = kSides.at(options_.side);
        controller_.addMonoSuffix = !options_.noSuffix;
        controller_.allowOverwrite = options_.overwrite;
        analyze(*paths);
        if (!terminal_.isJson()) showTable();
        options_.dryRun ? tellForeseen() : convert();
        if (terminal_.isJson()) terminal_.document(jobDocument());
        return exitStatus();
    }

private:
    bool prepareOutput() {
        if (options_.output.empty()) return true;
        const QString folder = paths::absolute(QString::fromStdString(options_.output));
        try {
            if (!options_.dryRun) files::createFolder(folder);
        } catch (const FileError& error) {
            terminal_.error(error.description);
            return false;
        }
        controller_.outputFolder = folder;
        return true;
    }

    void convert() {
        if (signals_.happened()) {
            if (options_.csv && !controller_.analysisResults.empty()) controller_.saveReport();
            return;
        }
        QObject::connect(&controller_, &StereoValidatorViewModel::fileConverted, &controller_, [this] {
            if (signals_.happened()) controller_.stopExport(); // the loop holds the main thread
        });
        controller_.cleanAndExport({});
    }

    // What a run would refuse; a dry run ends with it.
    void tellForeseen() {
        foreseen_ = controller_.foreseenRefusals({});
        for (const StereoValidatorResult& result : controller_.analysisResults) {
            const QString why = foreseen_.value(result.id);
            if (!why.isEmpty()) {
                terminal_.line(QStringLiteral("%1: %2").arg(paths::lastComponent(result.filepath), why));
            }
        }
    }

    // Of a file that no run took: what it is, and why it would be refused.
    ItemOutcome asFound(const StereoValidatorResult& result) const {
        ItemOutcome outcome{.message = foreseen_.value(result.id), .sources = ItemOutcome::allKept({result.filepath})};
        if (!result.error.isEmpty()) {
            outcome.status = ProcessingStatus::failed(result.error);
        } else if (isConverted(result.classification, {})) {
            outcome.status = ProcessingStatus::ready(); // a dry run, or stopped before it
        } else {
            outcome.status = ProcessingStatus::skipped(displayName(result.classification));
        }
        if (outcome.message.isEmpty()) outcome.message = outcome.status.displayText();
        return outcome;
    }

    nlohmann::json jobDocument() const {
        nlohmann::json result = document("clean");
        nlohmann::json items = nlohmann::json::array();
        int successes = 0, errors = 0;
        for (const StereoValidatorResult& each : controller_.analysisResults) {
            const ItemOutcome outcome = each.outcome.value_or(asFound(each));
            items.push_back(jobItem(paths::lastComponent(each.filepath), outcome));
            successes += outcome.succeeded() ? 1 : 0;
            errors += outcome.failed() ? 1 : 0;
        }
        const int skipped = static_cast<int>(controller_.analysisResults.size()) - successes - errors;
        result["items"] = items;
        result["summary"] = jobSummary(successes, skipped, errors, signals_.happened());
        return result;
    }

    const CleanOptions& options_;
    QHash<QUuid, QString> foreseen_;
};

void addValidatorOptions(CLI::App& command, ValidatorOptions& options) {
    std::vector<std::string> presets;
    for (const auto& entry : kPresets) presets.push_back(entry.first);
    addPaths(command, options.paths, "Files and folders");
    command.add_option("--preset", options.preset, "Thresholds of the classification")
        ->check(CLI::IsMember(presets))
        ->capture_default_str();
    command.add_flag("--skip-mono", options.skipMono, "Leave out files with fewer than two channels");
    command.add_flag("--no-subfolders", options.noSubfolders, "Stay out of the folders' subfolders");
    command.add_flag("--csv", options.csv, "Write a CSV report into the output folder or that of the first file");
    addTerminalOptions(command, options.terminal);
}

} // namespace

void addValidateCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "validate", "Say what stereo files really are: dual mono, broken, ...",
                                      "  ostrel-cli validate ~/Library/Rain\n"
                                      "  ostrel-cli validate --preset strict --json take1.wav take2.wav");
    const auto options = std::make_shared<ValidatorOptions>();
    addValidatorOptions(*command, *options);
    command->callback([=, &chosen] { chosen.run = [=] { return ValidatorRun(*options).validate(); }; });
}

void addCleanCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "clean", "Turn dual mono, one-sided and broken stereo files into mono files",
                      "  ostrel-cli clean --output mono ~/Library/Rain\n"
                      "  ostrel-cli clean --dry-run ~/Library\n"
                      "  ostrel-cli clean --no-suffix --overwrite take1.wav   (replaces take1.wav)");
    const auto options = std::make_shared<CleanOptions>();
    addValidatorOptions(*command, *options);
    command->add_option("--output", options->output, "Folder for the new files (default: beside each source)");
    command->add_option("--side", options->side, "The channel to keep of dual mono and broken files")
        ->check(CLI::IsMember({"auto", "left", "right"}))
        ->capture_default_str();
    command->add_flag("--no-suffix", options->noSuffix, "Do not put \"_mono\" behind the names");
    command->add_flag("--overwrite", options->overwrite,
                      "Replace files that are there; with --no-suffix and no --output, the sources themselves");
    command->add_flag("--dry-run", options->dryRun, "Analyse and report; make and change nothing");
    command->callback([=, &chosen] { chosen.run = [=] { return CleanRun(*options).clean(); }; });
}

} // namespace ostrel::cli
