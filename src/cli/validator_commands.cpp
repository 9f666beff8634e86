// validate and clean: the Stereo Validator's controller on a terminal.
#include "cli/commands.h"
#include "cli/job_run.h"
#include "cli/validator_table.h"
#include "platform/text/text.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_report.h"

#include <QEventLoop>
#include <algorithm>
#include <map>

namespace ostrel::cli {
namespace {

struct ValidatorOptions : JobOptions {
    std::string preset = "recommended";
    bool skipMono = false;
    bool evidence = false;
};

struct CleanOptions : ValidatorOptions {
    std::string side = "auto";
    bool noSuffix = false;
    bool dryRun = false;
    bool sureOnly = false;
};

const std::map<std::string, AnalysisPreset> kPresets{{"recommended", AnalysisPreset::recommended},
                                                     {"strict", AnalysisPreset::strict},
                                                     {"relaxed", AnalysisPreset::relaxed}};
const std::map<std::string, DualMonoSideSelection> kSides{{"auto", DualMonoSideSelection::automatic},
                                                          {"left", DualMonoSideSelection::left},
                                                          {"right", DualMonoSideSelection::right}};

// What both commands do: analyse and show.
class ValidatorRun : public JobRun {
public:
    explicit ValidatorRun(const ValidatorOptions& options, const char* job = "validate")
        : JobRun(options, job), controller_(desktop_, audio_), options_(options) {}

protected:
    void stop() override {
        controller_.stopAnalysis();
        controller_.stopExport();
    }
    const ExternalToolDetector& toolDetector() const override { return controller_.toolDetector(); }
    RecordList<ProcessingLogEntry>& log() override { return controller_.logEntries; }
    QString reportPath() const override { return controller_.reportPath(); }
    bool requireTools() override { return true; } // most files are read without them

    QString take(const QStringList& paths) override {
        watch(controller_.analysisProgress, [this] { showProgress(); });
        watch(controller_.currentAnalysisFile, [this] { showProgress(); });
        controller_.applyPreset(kPresets.at(options_.preset));
        controller_.skipMonoFiles = options_.skipMono;
        controller_.recursiveScan = !options_.noSubfolders;
        controller_.generateCSV = options_.csv;
        controller_.gathersEvidence = needsEvidence();
        // One folder is the tab's own kind of selection; several paths are taken together as the files that they hold.
        if (paths.size() == 1) {
            controller_.select(paths);
        } else {
            controller_.selectedFiles = paths;
        }
        return {};
    }

    virtual bool needsEvidence() const { return options_.evidence; }

    void work(const QStringList&) override {
        analyze();
        saveReport();
    }

    void printResult() override { showTable(); }

    void fill(nlohmann::json& document) const override {
        nlohmann::json& results = document["results"] = nlohmann::json::array();
        for (const StereoValidatorResult& result : controller_.analysisResults) {
            results.push_back(result);
            if (!options_.evidence) results.back().erase("evidence"); // was gathered for the conversion
        }
    }

    JobCounts counts() const override {
        JobCounts counts;
        for (const StereoValidatorResult& result : controller_.analysisResults) {
            counts.errors += result.error.isEmpty() ? 0 : 1;
            counts.skipped += result.classification == StereoClassification::trueMono ? 1 : 0;
        }
        counts.success = static_cast<int>(controller_.analysisResults.size()) - counts.errors - counts.skipped;
        return counts;
    }

    bool hasFailed() const override {
        const auto& results = controller_.analysisResults;
        return results.empty() || controller_.reportFailed() ||
               std::any_of(results.begin(), results.end(), [](const StereoValidatorResult& result) {
                   return !result.error.isEmpty() || (result.outcome && result.outcome->failed());
               });
    }

    void analyze() {
        if (isStopped()) return terminal_.error(QStringLiteral("stopped ahead of the analysis"));
        QEventLoop loop;
        QObject::connect(&controller_, &StereoValidatorViewModel::analysisEnded, &loop, &QEventLoop::quit);
        controller_.startAnalysis();
        loop.exec();
    }

    void saveReport() {
        if (options_.csv && !controller_.analysisResults.empty()) controller_.saveReport();
    }

    void showTable() {
        if (controller_.analysisResults.empty()) return;
        for (const QString& line : validatorTable(controller_.analysisResults.rows())) terminal_.line(line);
        terminal_.line(controller_.summary());
    }

    AudioOutput audio_;
    StereoValidatorViewModel controller_;

private:
    void showProgress() {
        if (!controller_.isAnalyzing.value()) return;
        terminal_.progress(controller_.analysisProgress.value(), controller_.currentAnalysisFile.value());
    }

    const ValidatorOptions& options_;
};

class CleanRun : public ValidatorRun {
public:
    explicit CleanRun(const CleanOptions& options) : ValidatorRun(options, "clean"), options_(options) {}

protected:
    // Makes the folder, but for a dry run.
    QString problem(const QStringList&) override {
        if (options_.output.empty() || options_.dryRun) return {};
        try {
            files::createFolder(output());
        } catch (const FileError& error) {
            return error.description;
        }
        return {};
    }

    QString take(const QStringList& paths) override {
        if (!options_.output.empty()) controller_.outputFolder = output();
        controller_.dualMonoSideSelection = kSides.at(options_.side);
        controller_.addMonoSuffix = !options_.noSuffix;
        controller_.engine = engineOf(options_);
        controller_.proves = options_.proof;
        controller_.sureOnly = options_.sureOnly;
        controller_.allowOverwrite = options_.overwrite;
        return ValidatorRun::take(paths);
    }

    void work(const QStringList&) override {
        analyze();
        if (!terminal_.isJson()) showTable();
        options_.dryRun ? tellAllForeseen() : convert();
    }

    bool needsEvidence() const override { return true; } // which channel is clean, and what may be replaced

    void printResult() override {} // the table stands above the log of the conversion

    JobCounts counts() const override {
        JobCounts counts;
        for (const StereoValidatorResult& each : controller_.analysisResults) {
            const ItemOutcome outcome = outcomeOf(each);
            counts.success += outcome.succeeded() ? 1 : 0;
            counts.errors += outcome.failed() ? 1 : 0;
        }
        counts.skipped = static_cast<int>(controller_.analysisResults.size()) - counts.success - counts.errors;
        return counts;
    }

    std::vector<ItemOutcome> outcomes() const override {
        std::vector<ItemOutcome> result;
        for (const StereoValidatorResult& each : controller_.analysisResults) {
            if (each.outcome) result.push_back(*each.outcome);
        }
        return result;
    }

    void fill(nlohmann::json& document) const override {
        ValidatorRun::fill(document);
        nlohmann::json& items = document["items"] = nlohmann::json::array();
        for (const StereoValidatorResult& each : controller_.analysisResults) {
            items.push_back(itemDocument(paths::lastComponent(each.filepath), outcomeOf(each)));
        }
    }

private:
    void convert() {
        if (isStopped()) return saveReport();
        QObject::connect(&controller_, &StereoValidatorViewModel::fileConverted, &controller_, [this] {
            if (isStopped()) controller_.stopExport(); // the loop holds the main thread
        });
        controller_.cleanAndExport({});
    }

    // What a run would refuse; a dry run ends with it.
    void tellAllForeseen() {
        foreseen_ = controller_.foreseenRefusals({});
        for (const StereoValidatorResult& result : controller_.analysisResults) {
            tellForeseen(terminal_, paths::lastComponent(result.filepath), foreseen_.value(result.id));
        }
    }

    ItemOutcome outcomeOf(const StereoValidatorResult& result) const {
        return result.outcome.value_or(asFound(result));
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
    command.add_flag("--evidence", options.evidence,
                     "Say how far each verdict can be trusted, and why; in JSON with the measures");
    addSubfoldersOption(command, options);
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
    command->callback([=, &chosen] { chosen.run = [=] { return ValidatorRun(*options).run(); }; });
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
    addEngineOption(*command, *options);
    addProofOption(*command, *options);
    addSealOption(*command, *options);
    command->add_flag("--no-suffix", options->noSuffix, "Do not put \"_mono\" behind the names");
    command->add_flag("--overwrite", options->overwrite,
                      "Replace files that are there; with --no-suffix and no --output, the sources themselves");
    command->add_flag("--sure-only", options->sureOnly,
                      "Leave out files whose verdict is not sure; always so for the sources themselves");
    command->add_flag("--dry-run", options->dryRun, "Analyse and report; make and change nothing");
    command->callback([=, &chosen] { chosen.run = [=] { return CleanRun(*options).run(); }; });
}

} // namespace ostrel::cli
